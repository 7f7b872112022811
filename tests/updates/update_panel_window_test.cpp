#include "tests/updates/update_fixture.h"
#include "updates/update_detail.h"
#include "updates/update_panel_window.h"
#include "updates/update_view.h"

#include <QApplication>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QTimer>

#include <gmock/gmock.h>

#include <chrono>

namespace ovrel::test {

namespace {

UpdatePanelWindow* windowOfUpdates() {
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        if (auto* const panel = qobject_cast<UpdatePanelWindow*>(widget)) {
            return panel;
        }
    }
    return nullptr;
}

class UpdatePanelWindowTest : public testing::Test {
protected:
    UpdatePanelWindowTest() { fixture.manager().setPanelFactory(updatePanelFactory()); }
    static UpdatePanelWindow* window() { return windowOfUpdates(); }

    void offer(const QString& notes = {}) {
        SUAppcastItem item = installableItem();
        item.itemDescription = notes;
        fixture.manager().showUpdateFoundWithAppcastItem(item, {}, fixture.reply());
        runEvents();
    }

    UpdateFixture fixture;
};

QString notesOf(int lines) {
    return QStringLiteral("A line\n").repeated(lines);
}

TEST_F(UpdatePanelWindowTest, ShowsAllOfATextThatFits) {
    fixture.manager().notice(QStringLiteral("Notice"), QStringLiteral("Some words. ").repeated(20), [] {});
    runEvents();
    const auto& detail = *window()->findChild<UpdateDetail*>();
    EXPECT_EQ(detail.height(), detail.heightForWidth(detail.width()));
    EXPECT_LT(detail.height(), 150);
    EXPECT_EQ(detail.findChild<QScrollArea*>()->verticalScrollBar()->maximum(), 0);
}

TEST_F(UpdatePanelWindowTest, IsMadeWhenSomethingIsShownFirst) {
    EXPECT_EQ(window(), nullptr);
    offer();
    ASSERT_NE(window(), nullptr);
    EXPECT_TRUE(window()->isVisible());
    fixture.destroyManager();
    EXPECT_EQ(window(), nullptr);
}

TEST_F(UpdatePanelWindowTest, HasATitleAndNothingToCloseIt) {
    offer();
    EXPECT_EQ(window()->windowTitle(), QStringLiteral("Ovrel Update"));
    EXPECT_EQ(window()->windowFlags(), Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint);

    QTest::keyClick(window(), Qt::Key_Escape);
    EXPECT_TRUE(window()->isVisible());
    EXPECT_FALSE(window()->close());
    EXPECT_TRUE(window()->isVisible());
}

TEST_F(UpdatePanelWindowTest, KeepsNoProgramFromItsEnd) {
    offer();
    QTimer::singleShot(0, window(), [] { QCoreApplication::quit(); });
    QTimer::singleShot(std::chrono::seconds(20), window(), [] { QCoreApplication::exit(1); });
    EXPECT_EQ(QApplication::exec(), 0);
    EXPECT_FALSE(window()->isVisible());
}

TEST(UpdatePanelWindow, ShowsNothingOfWhatTheProgramsEndBreaksOff) {
    for (const bool wasShown : {false, true}) {
        UpdateFixture fixture;
        fixture.manager().setPanelFactory(updatePanelFactory());
        // As a check or a download that goes on does.
        QObject::connect(qApp, &QCoreApplication::aboutToQuit, &fixture.manager(), [&fixture] {
            fixture.manager().notice(QStringLiteral("Notice"), QStringLiteral("A failure."), [] {});
        });
        if (wasShown) {
            fixture.manager().showDownloadInitiatedWithCancellation(fixture.block("cancellation"));
            EXPECT_TRUE(windowOfUpdates()->isVisible());
        }
        QTimer::singleShot(0, qApp, [] { QCoreApplication::quit(); });
        EXPECT_EQ(QApplication::exec(), 0);
        ASSERT_NE(windowOfUpdates(), nullptr);
        EXPECT_FALSE(windowOfUpdates()->isVisible());
    }
}

TEST_F(UpdatePanelWindowTest, TakesItsTitleInTheLanguageOfWhatItShows) {
    offer();
    fixture.language = AppLanguage::russian;
    offer();
    EXPECT_EQ(window()->windowTitle(), QStringLiteral("Обновление Ovrel"));
}

TEST_F(UpdatePanelWindowTest, IsAsHighAsWhatItShows) {
    offer();
    const int least = window()->height();
    EXPECT_EQ(window()->width(), 510);
    EXPECT_EQ(window()->height(), window()->findChild<UpdateView*>()->heightForWidth(510));
    offer(notesOf(1));
    const int more = window()->height();
    EXPECT_GT(more, least);
    offer(notesOf(100));
    EXPECT_GT(window()->height(), more);
    EXPECT_LT(window()->height(), least + 150);
    fixture.manager().showDownloadDidStartExtractingUpdate();
    runEvents();
    EXPECT_LT(window()->height(), more);
    EXPECT_EQ(window()->width(), 510);
}

TEST_F(UpdatePanelWindowTest, AppearsInTheMiddleOfTheScreenAndStaysWhereTheUserPutsIt) {
    offer();
    const QPoint middle = window()->screen()->availableGeometry().center();
    EXPECT_LE((window()->geometry().center() - middle).manhattanLength(), 4); // a frame is not known before

    window()->move(3, 5);
    fixture.press("Later");
    fixture.manager().dismissUpdateInstallation();
    EXPECT_FALSE(window()->isVisible());
    offer();
    EXPECT_TRUE(window()->isVisible());
    EXPECT_EQ(window()->pos(), QPoint(3, 5));
}

TEST_F(UpdatePanelWindowTest, ComesToTheFrontWhenTheUpdaterAsksForIt) {
    QWidget other;
    offer();
    other.show();
    other.activateWindow();
    runEvents();
    ASSERT_NE(QApplication::activeWindow(), window());
    fixture.manager().showUpdateInFocus();
    runEvents();
    EXPECT_EQ(QApplication::activeWindow(), window());
}

TEST_F(UpdatePanelWindowTest, OffersTheFirstActionForReturnAndTheFocusedOneOtherwise) {
    struct Row {
        const char* what;
        std::vector<Qt::Key> keys;
        const char* answer;
    };
    const Row rows[] = {
        {"return at once", {Qt::Key_Return}, "reply: install"},
        {"return on another button", {Qt::Key_Tab, Qt::Key_Return}, "reply: dismiss"},
        {"space on another button", {Qt::Key_Tab, Qt::Key_Tab, Qt::Key_Space}, "reply: skip"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        offer();
        const QList<QPushButton*> buttons = window()->findChildren<QPushButton*>();
        fixture.takeCalls();
        for (const Qt::Key key : row.keys) {
            EXPECT_EQ(window()->findChildren<QPushButton*>().size(), 3);
            EXPECT_TRUE(buttons[0]->isDefault());
            QTest::keyClick(window()->focusWidget(), key);
        }
        EXPECT_THAT(fixture.takeCalls(), testing::Contains(row.answer));
        fixture.manager().dismissUpdateInstallation();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

TEST_F(UpdatePanelWindowTest, PressesItsOnlyButtonByReturn) {
    fixture.manager().showDownloadInitiatedWithCancellation(fixture.block("cancellation"));
    fixture.takeCalls();
    QTest::keyClick(window()->focusWidget(), Qt::Key_Return);
    EXPECT_THAT(fixture.takeCalls(), testing::Contains("cancellation: called"));
}

TEST_F(UpdatePanelWindowTest, ReachesTheNotesByTheKeyboardWhereTheyScroll) {
    offer(notesOf(100));
    QTest::keyClick(window()->focusWidget(), Qt::Key_Backtab);
    EXPECT_EQ(window()->focusWidget(), window()->findChild<QScrollArea*>());
}

} // namespace

} // namespace ovrel::test
