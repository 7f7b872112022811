#include "tests/model/model_fixture.h"
#include "ui/about_window.h"
#include "ui/help_window.h"
#include "ui/side_window.h"

#include <QAccessible>
#include <QApplication>
#include <QScreen>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

namespace ovrel::test {

namespace {

QPoint offCentre(const QWidget& window) {
    return window.geometry().center() - window.screen()->availableGeometry().center();
}

TEST(SideWindow, OpensInTheMiddleOfTheScreenAndStaysWhereTheUserPutsIt) {
    const FakePreferences preferences;
    const std::unique_ptr<SideWindow> windows[] = {std::make_unique<HelpWindow>(preferences),
                                                   std::make_unique<AboutWindow>(preferences)};
    for (const std::unique_ptr<SideWindow>& window : windows) {
        EXPECT_FALSE(window->isVisible());
        window->open();
        EXPECT_TRUE(window->isVisible());
        EXPECT_LE(offCentre(*window).manhattanLength(), 4); // a frame is not known before

        window->move(3, 5);
        window->close();
        window->open();
        EXPECT_EQ(window->pos(), QPoint(3, 5));
    }
}

TEST(SideWindow, HasItsTitleInBothLanguagesAtOnce) {
    FakePreferences preferences;
    const HelpWindow help(preferences);
    const AboutWindow about(preferences);
    for (const AppLanguage language : AppLanguage::allCases) {
        saveLanguage(preferences, language);
        EXPECT_EQ(help.windowTitle(), QStringLiteral("Ovrel Help / Справка Ovrel"));
        EXPECT_EQ(about.windowTitle(), QStringLiteral("Ovrel"));
    }
}

TEST(SideWindow, HasTheSizeThatItsTextIsMadeFor) {
    const FakePreferences preferences;
    HelpWindow help(preferences);
    help.open();
    EXPECT_EQ(help.size(), QSize(680, 720).boundedTo(help.screen()->availableSize()));
    EXPECT_EQ(help.minimumSizeHint(), QSize(520, 420));
    EXPECT_EQ(help.screen()->availableSize(), QSize(800, 800));
}

TEST(SideWindow, ComesForwardWhenItIsOpenedAgain) {
    const FakePreferences preferences;
    HelpWindow help(preferences);
    AboutWindow about(preferences);
    help.open();
    about.open();
    const qsizetype windows = QApplication::topLevelWidgets().size();

    help.open();
    EXPECT_EQ(QApplication::topLevelWidgets().size(), windows);
    QApplication::processEvents();
    EXPECT_EQ(QApplication::activeWindow(), &help);

    help.showMinimized();
    help.open();
    EXPECT_FALSE(help.isMinimized());
}

TEST(SideWindow, IsClosedByTheKeyboard) {
    const FakePreferences preferences;
    HelpWindow help(preferences);
    AboutWindow about(preferences);
    for (SideWindow* const window : {static_cast<SideWindow*>(&help), static_cast<SideWindow*>(&about)}) {
        window->open();
        QTest::keyClick(window->focusWidget(), Qt::Key_Escape);
        EXPECT_FALSE(window->isVisible());
        window->open();
        QTest::keyClick(window->focusWidget(), Qt::Key_W, Qt::ControlModifier);
        EXPECT_FALSE(window->isVisible());
        window->open();
        QTest::keyClick(window->focusWidget(), Qt::Key_W);
        EXPECT_TRUE(window->isVisible());
    }
}

TEST(SideWindow, IsAWindowToScreenReaders) {
    SideWindow window(QStringLiteral("Side"));
    QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(&window);
    ASSERT_NE(accessible, nullptr);
    EXPECT_EQ(accessible->role(), QAccessible::Window);
    EXPECT_EQ(accessible->text(QAccessible::Name), QStringLiteral("Side"));
}

TEST(SideWindow, DoesNotKeepTheProgramAlive) {
    EXPECT_FALSE(SideWindow(QStringLiteral("Side")).testAttribute(Qt::WA_QuitOnClose));
}

} // namespace

} // namespace ovrel::test
