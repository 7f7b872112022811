#include "tests/updates/update_fixture.h"
#include "updates/update_detail.h"
#include "updates/update_panel_window.h"
#include "updates/update_view.h"

#include <QAccessible>
#include <QApplication>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

#include <gmock/gmock.h>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// What the panel shows now, as its manager would publish it.
Shown seenIn(const UpdateView& view) {
    Shown seen;
    seen.heading = view.findChild<UpdateHeading*>()->text().toStdString();
    seen.detail = view.findChild<UpdateDetail*>()->findChild<QLabel*>()->text().toStdString();
    const QProgressBar& bar = *view.findChild<QProgressBar*>();
    seen.showsProgress = bar.isVisibleTo(&view);
    if (bar.maximum() > bar.minimum()) {
        seen.progress = static_cast<double>(bar.value() - bar.minimum()) / (bar.maximum() - bar.minimum());
    }
    for (const QPushButton* const button : view.findChildren<QPushButton*>()) {
        if (button->isVisibleTo(&view)) {
            seen.titles.push_back(button->text().toStdString());
        }
    }
    return seen;
}

class UpdateViewTest : public testing::TestWithParam<AppLanguage> {
protected:
    Shown seen() { return seenIn(view); }

    /// Presses a button as a user would.
    void click(const std::string& title) {
        for (QPushButton* const button : view.findChildren<QPushButton*>()) {
            if (button->isVisibleTo(&view) && button->text().toStdString() == title) {
                QTest::mouseClick(button, Qt::LeftButton);
                return;
            }
        }
        ADD_FAILURE() << "no button \"" << title << "\" in " << seen();
    }

    std::string in(const Wording& wording) const { return wording.in(fixture.language); }

    /// Whatever waits is dropped first, so that only what follows is recorded.
    void forget() {
        fixture.manager().dismissUpdateInstallation();
        fixture.takeCalls();
    }

    UpdateFixture fixture{GetParam()};
    UpdateView view{fixture.manager()};
};

INSTANTIATE_TEST_SUITE_P(, UpdateViewTest, testing::Values(AppLanguage::russian, AppLanguage::english),
                         [](const testing::TestParamInfo<AppLanguage>& language) {
                             return language.param == AppLanguage::english ? "InEnglish" : "InRussian";
                         });

const Wording cancel{"Отмена", "Cancel"};
const Wording later{"Позже", "Later"};
const Wording install{"Установить обновление", "Install Update"};
const Wording skip{"Пропустить эту версию", "Skip This Version"};

SUAppcastItem itemWithNotes() {
    SUAppcastItem item = installableItem();
    item.itemDescription = QStringLiteral("Новое <b>\nЕщё\n---en---\nNew <b>\nMore");
    return item;
}

TEST_P(UpdateViewTest, ShowsEachStateOfAnUpdateAndItsButtons) {
    struct Row {
        const char* what;
        std::function<void(UpdateFixture&)> enter;
        Wording heading;
        Wording detail;
        bool showsProgress;
        std::optional<double> progress;
        std::vector<Wording> titles;
        std::vector<std::string> replies; ///< to each button, in order
    };
    const Row rows[] = {
        {"checking",
         [](UpdateFixture& to) { to.manager().showUserInitiatedUpdateCheckWithCancellation(to.block("cancellation")); },
         {"Проверяем обновления…", "Checking for updates…"},
         {},
         true,
         std::nullopt,
         {cancel},
         {"cancellation: called"}},
        {"nothing found",
         [](UpdateFixture& to) { to.manager().showUpdateNotFoundWithError(someError(), to.block("acknowledgement")); },
         {"Новых обновлений нет", "No updates available"},
         {"У вас установлена последняя актуальная версия приложения.",
          "You have the latest version of the app installed."},
         false,
         std::nullopt,
         {{"OK", "OK"}},
         {"acknowledgement: called"}},
        {"an offer",
         [](UpdateFixture& to) { to.manager().showUpdateFoundWithAppcastItem(itemWithNotes(), {}, to.reply()); },
         {"Доступна новая версия Ovrel — 2.4", "A new version of Ovrel is available — 2.4"},
         {"Новое <b>\nЕщё\n\nОбновление будет загружено и проверено. Затем Ovrel установит его и перезапустится. "
          "Исходные "
          "изображения останутся на месте.",
          "New <b>\nMore\n\nThe update will be downloaded and verified. Ovrel will then install it and restart. Your "
          "original images will remain untouched."},
         false,
         std::nullopt,
         {install, later, skip},
         {"reply: install", "reply: dismiss", "reply: skip"}},
        {"a download of unknown length",
         [](UpdateFixture& to) {
             to.manager().showDownloadInitiatedWithCancellation(to.block("cancellation"));
             to.manager().showDownloadDidReceiveDataOfLength(50);
         },
         {"Загружаем обновление…", "Downloading update…"},
         {},
         true,
         std::nullopt,
         {cancel},
         {"cancellation: called"}},
        {"a download",
         [](UpdateFixture& to) {
             to.manager().showDownloadInitiatedWithCancellation(to.block("cancellation"));
             to.manager().showDownloadDidReceiveExpectedContentLength(200);
             to.manager().showDownloadDidReceiveDataOfLength(50);
         },
         {"Загружаем обновление…", "Downloading update…"},
         {},
         true,
         0.25,
         {cancel},
         {"cancellation: called"}},
        {"preparing",
         [](UpdateFixture& to) { to.manager().showDownloadDidStartExtractingUpdate(); },
         {"Проверяем и подготавливаем обновление…", "Verifying and preparing update…"},
         {},
         true,
         std::nullopt,
         {},
         {}},
        {"unpacking",
         [](UpdateFixture& to) {
             to.manager().showDownloadDidStartExtractingUpdate();
             to.manager().showExtractionReceivedProgress(1.0);
         },
         {"Проверяем и подготавливаем обновление…", "Verifying and preparing update…"},
         {},
         true,
         1.0,
         {},
         {}},
        {"installing",
         [](UpdateFixture& to) {
             to.manager().showInstallingUpdateWithApplicationTerminated(false, to.block("retry"));
         },
         {"Устанавливаем обновление…", "Installing update…"},
         {"Ovrel сейчас перезапустится.", "Ovrel will restart shortly."},
         true,
         std::nullopt,
         {},
         {}},
        {"a failure",
         [](UpdateFixture& to) { to.manager().showUpdaterError(someError(), to.block("acknowledgement")); },
         {"Не удалось обновить Ovrel", "Unable to update Ovrel"},
         {"Обновление не было установлено. Повторите попытку позже. Если Ovrel открыта из DMG, сначала перенесите её в "
          "«Программы».\n\nНет сети.",
          "The update was not installed. Please try again later. If Ovrel is running from a DMG, move it to "
          "Applications "
          "first.\n\nNo network."},
         false,
         std::nullopt,
         {{"OK", "OK"}},
         {"acknowledgement: called"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        std::vector<std::string> titles;
        for (const Wording& title : row.titles) {
            titles.push_back(in(title));
        }
        const Shown expected{in(row.heading), in(row.detail), row.showsProgress, row.progress, titles};

        row.enter(fixture);
        EXPECT_EQ(seen(), expected);
        forget();

        ASSERT_EQ(row.replies.size(), titles.size());
        for (std::size_t i = 0; i < titles.size(); ++i) {
            row.enter(fixture);
            fixture.takeCalls();
            click(titles[i]);
            EXPECT_THAT(fixture.takeCalls(), testing::Contains(row.replies[i]));
            forget();
            EXPECT_THAT(seen().titles, IsEmpty());
        }
    }
}

TEST_P(UpdateViewTest, GoesOnWhereAButtonReplacesTheButtons) {
    fixture.manager().setProcessing(true);
    fixture.manager().setProcessing(false);
    fixture.manager().showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.reply());
    fixture.manager().setProcessing(true);
    fixture.takeCalls();

    click(in(install));
    EXPECT_EQ(seen().heading, in({"Ожидаем завершения обработки…", "Waiting for processing to finish…"}));
    EXPECT_THAT(seen().titles, ElementsAre(in(later)));

    runEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(view.findChildren<QPushButton*>().size(), 1);

    fixture.manager().setProcessing(false);
    EXPECT_THAT(seen().titles, ElementsAre(in(install), in(later), in(skip)));
    click(in(later));
    EXPECT_THAT(fixture.takeCalls(), testing::Contains("reply: dismiss"));
}

TEST_P(UpdateViewTest, TurnsTheIndicatorIntoABarWithTheFirstData) {
    UpdateManager& manager = fixture.manager();
    manager.showDownloadInitiatedWithCancellation(fixture.block("cancellation"));
    manager.showDownloadDidReceiveExpectedContentLength(1000);
    EXPECT_EQ(seen().progress, std::nullopt);
    manager.showDownloadDidReceiveDataOfLength(1);
    EXPECT_EQ(seen().progress, 0.001);
    manager.showDownloadDidReceiveDataOfLength(999);
    EXPECT_EQ(seen().progress, 1.0);
    manager.showDownloadDidStartExtractingUpdate();
    EXPECT_EQ(seen().progress, std::nullopt);
}

TEST_P(UpdateViewTest, ShowsWhatWasPublishedBeforeItWasMade) {
    fixture.manager().showUpdateFoundWithAppcastItem(itemWithNotes(), {}, fixture.reply());
    const UpdateView made(fixture.manager());
    EXPECT_EQ(seenIn(made), fixture.shown());
}

TEST_P(UpdateViewTest, HasItsMeasures) {
    fixture.manager().showUpdateFoundWithAppcastItem(itemWithNotes(), {}, fixture.reply());
    fixture.manager().showDownloadInitiatedWithCancellation(fixture.block("cancellation"));
    view.resize(510, view.heightForWidth(510));
    view.show();
    const QRect heading = view.findChild<UpdateHeading*>()->geometry();
    const QRect detail = view.findChild<UpdateDetail*>()->geometry();
    const QRect progress = view.findChild<QProgressBar*>()->geometry();
    const QRect button = view.findChildren<QPushButton*>().back()->rect();
    const QPoint at = view.findChildren<QPushButton*>().back()->mapTo(&view, QPoint());

    EXPECT_EQ(view.width(), 510);
    EXPECT_EQ(heading.topLeft(), QPoint(24, 24));
    EXPECT_EQ(heading.width(), 462);
    EXPECT_EQ(detail.topLeft(), QPoint(24, heading.bottom() + 1 + 18));
    EXPECT_EQ(detail.width(), 462);
    EXPECT_EQ(progress.topLeft(), QPoint(24, detail.bottom() + 1 + 18));
    EXPECT_EQ(progress.width(), 462);
    EXPECT_EQ(progress.height(), view.findChild<QProgressBar*>()->sizeHint().height());
    EXPECT_EQ(at, QPoint(24, progress.bottom() + 1 + 18));
    EXPECT_EQ(view.height(), at.y() + button.height() + 24);
}

TEST_P(UpdateViewTest, PutsItsButtonsInARowFromTheLeadingEdge) {
    fixture.manager().show(QStringLiteral("Heading"), {}, false,
                           {UpdateManager::Action(QStringLiteral("A"), [] {}),
                            UpdateManager::Action(QStringLiteral("B"), [] {}),
                            UpdateManager::Action(QStringLiteral("C"), [] {})});
    view.resize(510, view.heightForWidth(510));
    view.show();
    int left = 24 - 8;
    for (const QPushButton* const button : view.findChildren<QPushButton*>()) {
        const QPoint at = button->mapTo(&view, QPoint());
        EXPECT_EQ(at.x(), left + 8);
        EXPECT_EQ(at.y() + button->height(), view.height() - 24);
        left = at.x() + button->width();
    }
}

TEST_P(UpdateViewTest, RecommendsTheFirstOfSeveralActions) {
    fixture.manager().showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.reply());
    const QList<QPushButton*> choices = view.findChildren<QPushButton*>();
    ASSERT_EQ(choices.size(), 3);
    EXPECT_TRUE(choices[0]->isDefault());
    EXPECT_FALSE(choices[1]->isDefault());
    EXPECT_FALSE(choices[2]->isDefault());

    fixture.manager().showDownloadInitiatedWithCancellation(fixture.block("cancellation"));
    EXPECT_FALSE(view.findChildren<QPushButton*>().back()->isDefault());
}

TEST_P(UpdateViewTest, PutsButtonsBelowEachOtherThatDoNotFitBesideEachOther) {
    fixture.manager().showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.reply());
    QFont huge = view.font();
    huge.setPointSizeF(huge.pointSizeF() * 2);
    view.setFont(huge);
    view.resize(510, view.heightForWidth(510));
    view.show();
    runEvents();
    int bottom = 0;
    for (const QPushButton* const button : view.findChildren<QPushButton*>()) {
        const QPoint at = button->mapTo(&view, QPoint());
        EXPECT_EQ(at.x(), 24);
        EXPECT_GE(at.y(), bottom);
        EXPECT_LE(at.x() + button->width(), 510 - 24);
        EXPECT_GE(button->width(), button->sizeHint().width());
        bottom = at.y() + button->height();
    }
}

TEST_P(UpdateViewTest, ShowsTitlesToTheLetter) {
    bool performed = false;
    fixture.manager().show({}, {}, false, {UpdateManager::Action(QStringLiteral("A & B"), [&] { performed = true; })});
    QPushButton& button = *view.findChild<QPushButton*>();
    EXPECT_EQ(button.text(), QStringLiteral("A && B"));
    EXPECT_TRUE(button.shortcut().isEmpty());
    button.click();
    EXPECT_TRUE(performed);
}

TEST_P(UpdateViewTest, WrapsAHeadingWithoutBlanks) {
    fixture.manager().show(QString(300, u'W'), {}, false, {});
    view.resize(510, view.heightForWidth(510));
    const UpdateHeading& heading = *view.findChild<UpdateHeading*>();
    view.show();
    EXPECT_EQ(heading.width(), 462);
    EXPECT_EQ(heading.height(), heading.heightForWidth(462));
    EXPECT_GT(heading.height(), 5 * heading.fontMetrics().height());
}

TEST_P(UpdateViewTest, IsReadOutWhole) {
    fixture.manager().showUpdateFoundWithAppcastItem(itemWithNotes(), {}, fixture.reply());
    QAccessibleInterface& heading = *QAccessible::queryAccessibleInterface(view.findChild<UpdateHeading*>());
    EXPECT_EQ(heading.role(), QAccessible::Heading);
    EXPECT_EQ(heading.text(QAccessible::Name).toStdString(), fixture.shown().heading);
    QAccessibleInterface& detail =
        *QAccessible::queryAccessibleInterface(view.findChild<UpdateDetail*>()->findChild<QLabel*>());
    EXPECT_EQ(detail.role(), QAccessible::StaticText);
    EXPECT_EQ(detail.text(QAccessible::Name).toStdString(), fixture.shown().detail);

    fixture.manager().showDownloadInitiatedWithCancellation(fixture.block("cancellation"));
    fixture.manager().showDownloadDidReceiveExpectedContentLength(2);
    fixture.manager().showDownloadDidReceiveDataOfLength(1);
    QAccessibleInterface& progress = *QAccessible::queryAccessibleInterface(view.findChild<QProgressBar*>());
    EXPECT_EQ(progress.role(), QAccessible::ProgressBar);
    EXPECT_EQ(progress.text(QAccessible::Name).toStdString(), fixture.shown().heading);
    EXPECT_EQ(progress.valueInterface()->currentValue().toInt() * 2, progress.valueInterface()->maximumValue().toInt());
}

class UpdateDetailTest : public testing::Test {
protected:
    UpdateDetailTest() { detail.show(); }

    void show(const QString& text) {
        detail.setText(text);
        detail.resize(462, detail.heightForWidth(462));
        runEvents();
    }

    UpdateDetail detail;
    QScrollArea& area = *detail.findChild<QScrollArea*>();
};

TEST_F(UpdateDetailTest, IsAnEmptyAreaWithoutAText) {
    show({});
    EXPECT_EQ(detail.height(), 26);
    EXPECT_EQ(area.verticalScrollBar()->maximum(), 0);
    EXPECT_EQ(area.focusPolicy(), Qt::NoFocus);
}

TEST_F(UpdateDetailTest, IsAsHighAsAShortText) {
    show(QStringLiteral("One\nTwo"));
    EXPECT_GT(detail.height(), 26);
    EXPECT_LT(detail.height(), 150);
    EXPECT_EQ(area.verticalScrollBar()->maximum(), 0);
}

TEST_F(UpdateDetailTest, ScrollsALongTextWithinItsHeight) {
    show(QStringLiteral("A line of the notes\n").repeated(100));
    EXPECT_LE(detail.height(), 150);
    EXPECT_TRUE(area.verticalScrollBar()->isVisible());
    EXPECT_EQ(area.widget()->width(), area.viewport()->width());
    EXPECT_EQ(area.widget()->height(), area.widget()->heightForWidth(area.widget()->width()));
    EXPECT_EQ(area.verticalScrollBar()->maximum(), area.widget()->height() - area.viewport()->height());

    EXPECT_EQ(area.focusPolicy(), Qt::StrongFocus);
    QTest::keyClick(&area, Qt::Key_PageDown);
    EXPECT_EQ(area.verticalScrollBar()->value(), area.verticalScrollBar()->pageStep());
}

// A bar that came with little room would need the room of its own width.
TEST_F(UpdateDetailTest, HasNoBarWhereEverythingHasRoom) {
    QString text;
    for (int letters = 0; letters < 150; ++letters) {
        show({});
        detail.setText(text);
        runEvents(); // as in a panel that is seen: what lies around comes to the new height later
        show(text);
        ASSERT_LT(detail.height(), 150);
        EXPECT_EQ(area.verticalScrollBar()->maximum(), 0) << letters;
        EXPECT_FALSE(area.verticalScrollBar()->isVisible()) << letters;
        text += letters % 8 == 7 ? QChar(u' ') : QChar(u'n');
    }
}

TEST_F(UpdateDetailTest, KeepsWhatScrollsOffItsRoundCorners) {
    show(QStringLiteral("A line\n").repeated(100));
    EXPECT_EQ(area.geometry(), QRect(1, 5, 460, detail.height() - 5 - 13));
    EXPECT_EQ(area.viewport()->height(), area.height());
}

TEST_F(UpdateDetailTest, EndsWithAWholeLineWhereItScrolls) {
    show(QStringLiteral("A line"));
    const int line = detail.height() - 26;
    show(QStringLiteral("A line\n").repeated(100));
    EXPECT_EQ((area.viewport()->height() - 8) % line, 0);
    EXPECT_GT(area.viewport()->height() + line, 150 - 26) << "another line has room";
}

TEST_F(UpdateDetailTest, ShowsThatItHasTheKeyboard) {
    show(QStringLiteral("A line\n").repeated(100));
    area.clearFocus();
    const QImage usual = detail.grab().toImage();
    area.setFocus(Qt::TabFocusReason);
    ASSERT_TRUE(area.hasFocus());
    const QImage focused = detail.grab().toImage();
    EXPECT_EQ(usual.pixel(0, 75), detail.palette().color(QPalette::Dark).rgb());
    EXPECT_EQ(focused.pixel(0, 75), detail.palette().color(QPalette::Highlight).rgb());
    EXPECT_EQ(focused.pixel(1, 75), detail.palette().color(QPalette::Highlight).rgb());
}

TEST_F(UpdateDetailTest, BeginsAtTheTopOfANewText) {
    show(QStringLiteral("A line\n").repeated(100));
    area.verticalScrollBar()->setValue(100);
    show(QStringLiteral("Another line\n").repeated(100));
    EXPECT_EQ(area.verticalScrollBar()->value(), 0);
}

TEST_F(UpdateDetailTest, TakesNothingOfATextForMarkup) {
    show(QStringLiteral("<h1>Big</h1><img src='file:///etc/hostname'>"));
    EXPECT_EQ(static_cast<QLabel*>(area.widget())->textFormat(), Qt::PlainText);
    EXPECT_EQ(detail.height(), 26 + area.widget()->heightForWidth(460) - 16);
}

} // namespace

} // namespace ovrel::test
