#include "tests/ui/controls.h"
#include "tests/ui/looks.h"
#include "tests/ui/window_fixture.h"
#include "ui/queue_delegate.h"
#include "ui/theme.h"

#include <QAction>
#include <QApplication>
#include <QHelpEvent>
#include <QImage>
#include <QListView>
#include <QMenu>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QToolTip>

#include <gmock/gmock.h>

namespace ovrel::test {

namespace {

using testing::ElementsAre;

/// The window's texts in one language.
struct Texts {
    AppLanguage language;
    QString section, add, addFiles, addFolder, remove, clear, hint, selected;
};

const std::vector<Texts>& texts() {
    static const std::vector<Texts> both{
        {AppLanguage::russian, QStringLiteral("Изображения"), QStringLiteral("Добавить"),
         QStringLiteral("Добавить файлы…"), QStringLiteral("Добавить папку…"), QStringLiteral("Удалить выбранные"),
         QStringLiteral("Очистить список"), QStringLiteral("Выделить несколько: ⌘ или ⇧ + клик"),
         QStringLiteral("Выбрано файлов: ")},
        {AppLanguage::english, QStringLiteral("Images"), QStringLiteral("Add"), QStringLiteral("Add Files…"),
         QStringLiteral("Add Folder…"), QStringLiteral("Remove Selected"), QStringLiteral("Clear List"),
         QStringLiteral("Select multiple files with ⌘-click or ⇧-click"), QStringLiteral("Selected: ")},
    };
    return both;
}

class QueuePanelTest : public testing::Test {
protected:
    void fill(const std::vector<std::string>& names) {
        fixture.list(names);
        fixture.show();
        settle();
    }
    QListView& list() { return *fixture.window().findChild<QListView*>(); }
    QPushButton& button(const char* name) { return control<QPushButton>(fixture.window(), QString::fromUtf8(name)); }
    std::string dataOf(int row, int role) { return list().model()->index(row, 0).data(role).toString().toStdString(); }
    std::string secondLineOf(int row) { return QueueDelegate::secondLine(list().model()->index(row, 0)).toStdString(); }
    std::string spokenAt(int row) { return dataOf(row, Qt::AccessibleTextRole); }

    WindowFixture fixture;
};

TEST_F(QueuePanelTest, ShowsTheListWithItsTextsInBothLanguages) {
    fill({"a.png", "b.gif"});
    for (const Texts& of : texts()) {
        fixture.model().setLanguage(of.language);
        EXPECT_TRUE(shows(fixture.window(), of.section));
        EXPECT_TRUE(shows(fixture.window(), QStringLiteral("2")));
        EXPECT_TRUE(shows(fixture.window(), of.hint));
        EXPECT_TRUE(shows(fixture.window(), of.selected + QStringLiteral("0")));
        EXPECT_EQ(nameOf(list()), of.section);
        EXPECT_EQ(roleOf(list()), QAccessible::List);
        for (const QString& name : {of.add, of.remove, of.clear}) {
            EXPECT_NE(findControl<QPushButton>(fixture.window(), name), nullptr) << name.toStdString();
        }
        EXPECT_EQ(control(fixture.window(), of.remove).toolTip(), of.remove + QStringLiteral(" (Del)"));
        const QMenu& menu = *control<QPushButton>(fixture.window(), of.add).menu();
        ASSERT_EQ(menu.actions().size(), 2);
        EXPECT_EQ(menu.actions()[0]->text(), of.addFiles);
        EXPECT_EQ(menu.actions()[1]->text(), of.addFolder);
        EXPECT_FALSE(menu.actions()[0]->icon().isNull());
        EXPECT_FALSE(menu.actions()[1]->icon().isNull());
    }
}

TEST_F(QueuePanelTest, CountsTheImages) {
    fill({"a.png", "b.png", "c.png"});
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("3")));
    fixture.model().setSelection({"/in/b.png"});
    fixture.model().removeSelected();
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("2")));
    EXPECT_FALSE(shows(fixture.window(), QStringLiteral("3")));
}

TEST_F(QueuePanelTest, AddsFilesAndFoldersFromItsMenu) {
    fill({"a.png"});
    const QList<QAction*> entries = button("Add").menu()->actions();
    entries[0]->trigger();
    entries[1]->trigger();
    const auto& asked = fixture.services.chooser->asked;
    ASSERT_EQ(asked.size(), 2U);
    EXPECT_EQ(asked[0].first.kind, FileRequest::Kind::files);
    EXPECT_EQ(asked[1].first.kind, FileRequest::Kind::folder);
    asked[1].second({"/more"});
    EXPECT_THAT(fixture.model().roots(), ElementsAre("/in", "/more"));
    EXPECT_TRUE(fixture.model().scanning());
}

TEST_F(QueuePanelTest, OpensTheMenuUnderItsButton) {
    fill({"a.png"});
    EXPECT_EQ(roleOf(button("Add")), QAccessible::ButtonMenu);
    bool isSeen = false;
    QTimer::singleShot(0, &fixture.window(), [&] {
        QMenu& menu = *button("Add").menu();
        isSeen = true;
        EXPECT_EQ(QApplication::activePopupWidget(), &menu);
        EXPECT_GE(menu.y(), button("Add").mapToGlobal(QPoint()).y());
        QTest::keyClick(&menu, Qt::Key_Escape);
    });
    click(button("Add")); // returns when the menu has gone, or at once in a program that has been asked to quit
    waitUntil([&] { return isSeen; });
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
}

TEST_F(QueuePanelTest, RemovesWhatIsSelected) {
    fill({"a.png", "b.png", "c.png"});
    EXPECT_FALSE(button("Remove Selected").isEnabled());
    fixture.model().setSelection({"/in/a.png", "/in/c.png"});
    EXPECT_TRUE(button("Remove Selected").isEnabled());
    click(button("Remove Selected"));
    EXPECT_EQ(list().model()->rowCount(), 1);
    EXPECT_EQ(dataOf(0, Qt::DisplayRole), "b.png");
    EXPECT_FALSE(button("Remove Selected").isEnabled());
}

TEST_F(QueuePanelTest, ClearsTheListAndInvitesAgain) {
    fill({"a.png"});
    click(button("Clear List"));
    EXPECT_TRUE(fixture.model().items().isEmpty());
    EXPECT_TRUE(fixture.model().roots().empty());
    EXPECT_FALSE(list().isVisible());
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Drop your images here")));
}

TEST_F(QueuePanelTest, CannotBeEditedDuringAScan) {
    fill({"a.png"});
    fixture.model().setSelection({"/in/a.png"});
    fixture.model().rescan();
    const QList<QAction*> entries = button("Add").menu()->actions();
    for (const char* const name : {"Add", "Clear List", "Remove Selected"}) {
        EXPECT_FALSE(button(name).isEnabled()) << name;
    }
    EXPECT_FALSE(entries[0]->isEnabled());
    EXPECT_FALSE(entries[1]->isEnabled());
    fixture.services.scans->succeed({{"/in/a.png", ""}});
    fixture.awaitIdle();
    for (const char* const name : {"Add", "Clear List"}) {
        EXPECT_TRUE(button(name).isEnabled()) << name;
    }
    EXPECT_FALSE(button("Remove Selected").isEnabled()); // a scan forgets the selection
    EXPECT_TRUE(entries[0]->isEnabled());
    EXPECT_TRUE(entries[1]->isEnabled());
}

TEST_F(QueuePanelTest, CannotBeEditedDuringARun) {
    fill({"a.png"});
    fixture.model().setOutput("/out");
    fixture.model().setSelection({"/in/a.png"});
    fixture.start();
    for (const char* const name : {"Add", "Clear List", "Remove Selected"}) {
        EXPECT_FALSE(button(name).isEnabled()) << name;
    }
    EXPECT_TRUE(list().isEnabled()); // to be looked at
    fixture.services.convert();
    fixture.awaitIdle();
    for (const char* const name : {"Add", "Clear List", "Remove Selected"}) {
        EXPECT_TRUE(button(name).isEnabled()) << name;
    }
}

TEST_F(QueuePanelTest, NotesUnderANameWhatIsSpecialAboutAFile) {
    fill({"a.png", "b.gif", "c.avif"});
    EXPECT_EQ(secondLineOf(0), "");
    EXPECT_EQ(secondLineOf(1), "Preserve animation");
    EXPECT_EQ(secondLineOf(2), "Copy without changes");
    fixture.model().setLanguage(AppLanguage::russian);
    EXPECT_EQ(secondLineOf(1), "С сохранением анимации");
    EXPECT_EQ(secondLineOf(2), "Копирование без изменений");
}

TEST_F(QueuePanelTest, ShowsTheStatusInThePlaceOfTheNote) {
    fill({"a.gif", "b.png", "c.avif"});
    fixture.model().setOutput("/out");
    fixture.start();
    EXPECT_EQ(secondLineOf(0), "Converting…");
    EXPECT_EQ(secondLineOf(2), "Copy without changes");
    fixture.services.convert("a.avif", true);
    fixture.services.failToConvert("Первая\nвторая", "First\nsecond");
    fixture.services.awaitConversions(3);
    fixture.awaitCompleted(2);
    EXPECT_EQ(secondLineOf(0), "✓ a.avif · animated");
    EXPECT_EQ(secondLineOf(1), "Error: First second"); // a row has one line for it
    EXPECT_EQ(secondLineOf(2), "Copying…");
    fixture.model().setLanguage(AppLanguage::russian);
    EXPECT_EQ(secondLineOf(0), "✓ a.avif · анимация");
    EXPECT_EQ(secondLineOf(1), "Ошибка: Первая вторая");
    EXPECT_EQ(secondLineOf(2), "Копирование…");
    fixture.services.convert("c.avif");
    fixture.awaitIdle();
    EXPECT_EQ(secondLineOf(2), "✓ c.avif · скопирован");
}

TEST_F(QueuePanelTest, TellsAScreenReaderNameTypeAndState) {
    fill({"a.png", "b.gif", "c.avif"});
    EXPECT_EQ(spokenAt(0), "a.png, PNG");
    EXPECT_EQ(spokenAt(1), "b.gif, GIF, Preserve animation");
    EXPECT_EQ(spokenAt(2), "c.avif, AVIF, Copy without changes");
    fixture.model().setOutput("/out");
    fixture.start();
    EXPECT_EQ(spokenAt(0), "a.png, PNG, Converting…");
    fixture.services.failToConvert();
    fixture.services.awaitConversions(2);
    fixture.awaitCompleted(1);
    EXPECT_EQ(spokenAt(0), "a.png, PNG, Error: Trouble");

    QAccessibleInterface* const rows = QAccessible::queryAccessibleInterface(&list());
    EXPECT_EQ(rows->childCount(), 3);
    EXPECT_EQ(rows->child(1)->text(QAccessible::Name), QStringLiteral("b.gif, GIF, Converting…"));
    EXPECT_EQ(rows->child(1)->role(), QAccessible::ListItem);
    fixture.services.convert();
    fixture.services.convert();
    fixture.awaitIdle();
}

TEST_F(QueuePanelTest, ShowsPathsInToolTipsAsPlainText) {
    fill({"<b>x<b>.png", "a&amp;.png"});
    const std::vector<std::string> paths{"/in/<b>x<b>.png", "/in/a&amp;.png"};
    for (int row = 0; row < 2; ++row) {
        const QPoint where = list().visualRect(list().model()->index(row, 0)).center();
        QHelpEvent help(QEvent::ToolTip, where, list().viewport()->mapToGlobal(where));
        QApplication::sendEvent(list().viewport(), &help);
        EXPECT_EQ(plainTextOf(QToolTip::text()).toStdString(), paths[static_cast<std::size_t>(row)]);
        EXPECT_TRUE(Qt::mightBeRichText(QToolTip::text())); // long paths wrap
        QToolTip::hideText();
    }
}

TEST_F(QueuePanelTest, SaysInTheToolTipWhatBecameOfAnImageInFull) {
    fill({"a.png", "b.gif", "c.png"});
    fixture.model().setOutput("/out");
    fixture.services.failToConvert("Беда", "Trouble\nof two lines");
    fixture.services.convert("b.avif", true);
    fixture.model().start();
    fixture.awaitCompleted(2);
    fixture.services.awaitConversions(3);
    const std::vector<std::string> toolTips{"/in/a.png\nError: Trouble\nof two lines", "/in/b.gif\n✓ b.avif · animated",
                                            "/in/c.png\nConverting…"};
    for (int row = 0; row < 3; ++row) {
        const QPoint where = list().visualRect(list().model()->index(row, 0)).center();
        QHelpEvent help(QEvent::ToolTip, where, list().viewport()->mapToGlobal(where));
        QApplication::sendEvent(list().viewport(), &help);
        EXPECT_EQ(plainTextOf(QToolTip::text()).toStdString(), toolTips[static_cast<std::size_t>(row)]);
        QToolTip::hideText();
    }
    fixture.services.convert();
    fixture.awaitIdle();
}

/// The pixels of a row's status, at its trailing edge.
QImage statusOf(QListView& list, int row) {
    const QRect where = list.visualRect(list.model()->index(row, 0));
    return list.viewport()->grab({where.right() - 34, where.top() + 8, 24, 28}).toImage();
}

/// The pixels of a row's type icon.
QImage tileOf(QListView& list, int row) {
    const QRect where = list.visualRect(list.model()->index(row, 0));
    return list.viewport()->grab({where.left() + 8, where.top(), 30, 44}).toImage();
}

TEST_F(QueuePanelTest, ShowsASymbolForEachStateAtTheTrailingEdge) {
    fill({"a.png", "b.png", "c.png", "d.png"});
    fixture.model().setOutput("/out");
    const QImage nothing = statusOf(list(), 0);
    EXPECT_FALSE(holds(nothing, colors().success));
    EXPECT_FALSE(holds(nothing, colors().danger));
    EXPECT_FALSE(holds(nothing, colors().accent));
    fixture.startAndFailTheSecond();
    settle();
    EXPECT_TRUE(holds(statusOf(list(), 0), colors().success));
    EXPECT_TRUE(holds(statusOf(list(), 1), colors().danger));
    EXPECT_NE(statusOf(list(), 2), nothing); // the spinner
    EXPECT_FALSE(holds(statusOf(list(), 2), colors().success));
    EXPECT_FALSE(holds(statusOf(list(), 2), colors().danger));
    EXPECT_EQ(statusOf(list(), 3), nothing);
    fixture.services.convert();
    fixture.services.convert();
    fixture.awaitIdle();
}

TEST_F(QueuePanelTest, ShowsAnIconForEachKindOfFile) {
    fill({"a.png", "b.gif", "c.avif", "d.jpg"});
    QTest::mouseMove(&fixture.window(), QPoint(1, 1)); // the row below the pointer has another ground
    fixture.window().setFocus();                       // and the one with the keyboard an outline
    settle();
    const QImage image = tileOf(list(), 0);
    const QImage animation = tileOf(list(), 1);
    const QImage copy = tileOf(list(), 2);
    EXPECT_NE(image, animation);
    EXPECT_NE(image, copy);
    EXPECT_NE(animation, copy);
    EXPECT_EQ(image, tileOf(list(), 3));
    EXPECT_TRUE(holds(animation, colors().violetTint));
    EXPECT_TRUE(holds(copy, colors().accentTint));
    EXPECT_TRUE(holds(image, colors().photoTile));
}

} // namespace

} // namespace ovrel::test
