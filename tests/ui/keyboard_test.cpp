#include "tests/ui/controls.h"
#include "tests/ui/window_fixture.h"
#include "ui/folder_button.h"

#include <QApplication>
#include <QKeyEvent>
#include <QListView>
#include <QTest>

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace ovrel::test {

namespace {

using testing::ElementsAre;

class KeyboardTest : public testing::Test {
protected:
    KeyboardTest() { fixture.show(); }

    QWidget* focused() { return fixture.window().focusWidget(); }
    std::string focusedName() { return focused() == nullptr ? "" : nameOf(*focused()).toStdString(); }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(focused() == nullptr ? &fixture.window() : focused(), key, modifiers);
    }
    QWidget& reachable(const QString& name) {
        for (QWidget* const widget : fixture.window().findChildren<QWidget*>()) {
            if (widget->isVisible() && (widget->focusPolicy() & Qt::TabFocus) != 0 && nameOf(*widget) == name) {
                return *widget;
            }
        }
        throw std::runtime_error("the keyboard does not reach " + name.toStdString());
    }
    /// The names of what Tab comes to, from the beginning once around.
    std::vector<std::string> roundTrip(Qt::Key key = Qt::Key_Tab) {
        std::vector<std::string> names;
        control(fixture.window(), QStringLiteral("Ovrel")).setFocus();
        do {
            names.push_back(focusedName());
            press(key, key == Qt::Key_Backtab ? Qt::ShiftModifier : Qt::NoModifier);
        } while (focusedName() != "Ovrel" && names.size() < 50);
        return names;
    }

    WindowFixture fixture;
};

TEST_F(KeyboardTest, GoesThroughTheWindowInTheOrderOfWork) {
    fixture.prepare({"a.png"});
    fixture.model().setSelection({"/in/a.png"});
    EXPECT_THAT(roundTrip(), ElementsAre("Ovrel", "English", "Clear List", "Add", "Images", "Remove Selected",
                                         "Image quality", "Optimized", "Compression", "out", "Include subfolders",
                                         "Open output folder", "Convert to AVIF"));
    EXPECT_THAT(roundTrip(Qt::Key_Backtab),
                ElementsAre("Ovrel", "Convert to AVIF", "Open output folder", "Include subfolders", "out",
                            "Compression", "Optimized", "Image quality", "Remove Selected", "Images", "Add",
                            "Clear List", "English"));
}

TEST_F(KeyboardTest, GoesThroughAnEmptyWindowToo) {
    EXPECT_THAT(roundTrip(), ElementsAre("Ovrel", "English", "Choose Files…", "Choose Folder…", "Image quality",
                                         "Optimized", "Compression", "Choose a folder", "Include subfolders"));
}

TEST_F(KeyboardTest, PassesOverWhatARunDisables) {
    fixture.prepare({"a.png"});
    fixture.start();
    EXPECT_THAT(roundTrip(), ElementsAre("Ovrel", "English", "Images", "Open output folder", "Stop"));
    fixture.services.convert();
    fixture.awaitIdle();
}

TEST_F(KeyboardTest, AddsFilesAndFoldersFromAnywhere) {
    const auto& asked = fixture.services.chooser->asked;
    press(Qt::Key_O, Qt::ControlModifier);
    press(Qt::Key_O, Qt::ControlModifier | Qt::ShiftModifier);
    ASSERT_EQ(asked.size(), 2U);
    EXPECT_EQ(asked[0].first.kind, FileRequest::Kind::files);
    EXPECT_EQ(asked[1].first.kind, FileRequest::Kind::folder);
    EXPECT_TRUE(asked[1].first.extensions.isEmpty());

    fixture.list({"a.png"});
    press(Qt::Key_O, Qt::ControlModifier);
    EXPECT_EQ(asked.size(), 3U);
    fixture.model().setOutput("/out");
    fixture.start();
    press(Qt::Key_O, Qt::ControlModifier);
    press(Qt::Key_O, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(asked.size(), 3U); // not during a run
    fixture.services.convert();
    fixture.awaitIdle();
}

TEST_F(KeyboardTest, RemovesWhatIsSelectedFromAnywhere) {
    fixture.prepare({"a.png", "b.png", "c.png", "d.png"});
    const auto removeFrom = [this](QWidget& place, const char* item) {
        fixture.model().setSelection({item});
        place.setFocus();
        press(Qt::Key_Delete);
    };
    removeFrom(*fixture.window().findChild<QListView*>(), "/in/a.png");
    EXPECT_EQ(fixture.model().items().size(), 3);
    removeFrom(control(fixture.window(), QStringLiteral("English")), "/in/b.png");
    EXPECT_EQ(fixture.model().items().size(), 2);
    removeFrom(*fixture.window().findChild<FolderButton*>(), "/in/c.png");
    EXPECT_EQ(fixture.model().items().size(), 1);
    fixture.start();
    removeFrom(control(fixture.window(), QStringLiteral("English")), "/in/d.png");
    EXPECT_EQ(fixture.model().items().size(), 1); // not during a run
    fixture.services.convert();
    fixture.awaitIdle();
}

TEST_F(KeyboardTest, ConvertsAndStopsFromAnywhere) {
    fixture.list({"a.png", "b.png"});
    press(Qt::Key_Return, Qt::ControlModifier);
    EXPECT_FALSE(fixture.model().busy()); // no folder
    fixture.model().setOutput("/out");
    press(Qt::Key_Return, Qt::ControlModifier);
    EXPECT_TRUE(fixture.model().busy());
    fixture.services.awaitConversions(1);
    press(Qt::Key_Escape);
    EXPECT_TRUE(fixture.model().cancelled());
    fixture.services.convert();
    fixture.awaitIdle();
    EXPECT_EQ(fixture.model().completed(), 1);
}

TEST_F(KeyboardTest, HasTheSameKeysInRussian) {
    fixture.model().setLanguage(AppLanguage::russian);
    press(Qt::Key_O, Qt::ControlModifier);
    press(Qt::Key_O, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(fixture.services.chooser->asked.size(), 2U);
    fixture.prepare({"a.png", "b.png"});
    press(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(fixture.model().selection().size(), 2U);
    press(Qt::Key_Escape);
    EXPECT_TRUE(fixture.model().selection().empty());
    fixture.model().setSelection({"/in/a.png"});
    press(Qt::Key_Delete);
    EXPECT_EQ(fixture.model().items().size(), 1);
    press(Qt::Key_Return, Qt::ControlModifier);
    EXPECT_TRUE(fixture.model().busy());
    fixture.services.awaitConversions(1);
    press(Qt::Key_Escape);
    EXPECT_TRUE(fixture.model().cancelled());
    fixture.services.convert();
    fixture.awaitIdle();
}

TEST_F(KeyboardTest, StopsTheRunAndKeepsTheSelection) {
    fixture.prepare({"a.png"});
    fixture.model().setSelection({"/in/a.png"});
    fixture.start();
    press(Qt::Key_Escape);
    EXPECT_TRUE(fixture.model().cancelled());
    EXPECT_EQ(fixture.model().selection().size(), 1U);
    fixture.services.convert();
    fixture.awaitIdle();
    press(Qt::Key_Escape);
    EXPECT_EQ(fixture.model().selection().size(), 0U);
}

TEST_F(KeyboardTest, GoesFromConvertToStopAndBack) {
    fixture.prepare({"a.png", "b.png"});
    control(fixture.window(), QStringLiteral("Convert to AVIF")).setFocus();
    press(Qt::Key_Space);
    EXPECT_EQ(focusedName(), "Stop");
    fixture.services.awaitConversions(1);
    fixture.services.convert();
    fixture.services.convert();
    fixture.awaitIdle();
    EXPECT_EQ(focusedName(), "Convert to AVIF");
}

/// Where the keyboard may be when a run begins.
const std::vector<QString> startingPoints{
    QStringLiteral("Ovrel"),           QStringLiteral("English"),
    QStringLiteral("Clear List"),      QStringLiteral("Add"),
    QStringLiteral("Images"),          QStringLiteral("Remove Selected"),
    QStringLiteral("Image quality"),   QStringLiteral("Optimized"),
    QStringLiteral("Compression"),     QStringLiteral("Include subfolders"),
    QStringLiteral("Convert to AVIF"), QStringLiteral("Open output folder"),
};

TEST_F(KeyboardTest, StaysInTheWindowWhateverHasItWhenARunBeginsAndIsStopped) {
    fixture.prepare({"a.png", "b.png"});
    for (const QString& name : startingPoints) {
        fixture.model().setSelection({"/in/a.png"});
        reachable(name).setFocus();
        press(Qt::Key_Return, Qt::ControlModifier);
        ASSERT_TRUE(fixture.model().busy()) << name.toStdString();
        settle();
        ASSERT_NE(focused(), nullptr) << name.toStdString();
        EXPECT_TRUE(focused()->isEnabled() && focused()->isVisible()) << name.toStdString();
        press(Qt::Key_Escape);
        EXPECT_TRUE(fixture.model().cancelled()) << name.toStdString();
        ASSERT_NE(focused(), nullptr) << name.toStdString();
        EXPECT_TRUE(focused()->isEnabled() && focused()->isVisible()) << name.toStdString();
        fixture.services.convert();
        fixture.awaitIdle();
        settle();
        EXPECT_EQ(focused(), &reachable(name)) << name.toStdString(); // where it was before
    }
}

TEST_F(KeyboardTest, StaysInTheWindowWhenTheListIsEmptied) {
    fixture.prepare({"a.png"});
    control(fixture.window(), QStringLiteral("Clear List")).setFocus();
    press(Qt::Key_Space);
    EXPECT_EQ(focusedName(), "Choose Files…");
}

TEST_F(KeyboardTest, UsesTheButtonsThatHaveIt) {
    auto& asked = fixture.services.chooser->asked;
    for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter}) {
        SCOPED_TRACE(key);
        fixture.prepare({"a.png"});
        asked.clear();
        fixture.window().findChild<FolderButton*>()->setFocus();
        press(key);
        EXPECT_EQ(asked.size(), 1U);
        control(fixture.window(), QStringLiteral("Clear List")).setFocus();
        press(key);
        EXPECT_TRUE(fixture.model().items().empty());
    }
}

TEST_F(KeyboardTest, LeavesReturnWithOtherKeysToTheirCommands) {
    fixture.list({"a.png"}); // without a folder for the results Ctrl+Return has nothing to do
    control(fixture.window(), QStringLiteral("Clear List")).setFocus();
    for (const Qt::KeyboardModifier modifier : {Qt::ControlModifier, Qt::AltModifier, Qt::ShiftModifier}) {
        press(Qt::Key_Return, modifier);
        EXPECT_EQ(fixture.model().items().size(), 1) << modifier;
    }
}

// The button that starts a run gives its place to the one that stops it.
TEST_F(KeyboardTest, PressesOnceWhileReturnIsHeld) {
    fixture.prepare({"a.png", "b.png"});
    control(fixture.window(), QStringLiteral("Convert to AVIF")).setFocus();
    press(Qt::Key_Return);
    EXPECT_EQ(focusedName(), "Stop");
    QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QStringLiteral("\r"), true);
    QApplication::sendEvent(focused(), &held);
    EXPECT_FALSE(fixture.model().cancelled());
    fixture.services.awaitConversions(1);
    press(Qt::Key_Return);
    EXPECT_TRUE(fixture.model().cancelled());
    fixture.services.convert();
    fixture.awaitIdle();
}

TEST_F(KeyboardTest, CannotReachWhatIsOnlyLookedAt) {
    fixture.prepare({"a.png"});
    for (const QLabel* const label : fixture.window().findChildren<QLabel*>()) {
        EXPECT_EQ(label->focusPolicy(), Qt::NoFocus) << label->text().toStdString();
    }
}

} // namespace

} // namespace ovrel::test
