#include "tests/desktop/fake_portal.h"
#include "tests/ui/controls.h"
#include "tests/ui/looks.h"
#include "tests/ui/window_fixture.h"
#include "ui/about_window.h"
#include "ui/help_view.h"
#include "ui/help_window.h"
#include "ui/ovrel_app.h"
#include "ui/theme.h"
#include "updates/update_panel_window.h"

#include <QApplication>
#include <QFocusFrame>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const QDBusConnection noBus(QStringLiteral("no such connection"));

/// The windows of a kind that can be seen.
template <typename Window>
std::vector<Window*> openWindows() {
    std::vector<Window*> found;
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        if (auto* const window = qobject_cast<Window*>(widget); window != nullptr && window->isVisible()) {
            found.push_back(window);
        }
    }
    return found;
}

/// Those of a kind, whether they can be seen or not.
template <typename Window>
qsizetype countOf() {
    const QWidgetList all = QApplication::allWidgets();
    return std::count_if(all.begin(), all.end(),
                         [](QWidget* widget) { return qobject_cast<Window*>(widget) != nullptr; });
}

class OvrelAppTest : public testing::Test {
protected:
    OvrelAppTest() {
        app.start();
        window().activateWindow();
        waitUntil([this] { return window().isActiveWindow(); });
    }
    ~OvrelAppTest() override {
        fixture.services.conversions->release();
        applyTheme(before);
    }

    MainWindow& window() { return app.mainWindow(); }
    Model& model() { return window().content().model(); }

    QStringList menuTexts() {
        QStringList texts;
        for (const QAction* const action : app.menu().actions()) {
            if (!action->isSeparator()) {
                texts.append(action->text());
            }
        }
        return texts;
    }
    QAction& entry(const QString& text) {
        for (QAction* const action : app.menu().actions()) {
            if (action->text() == text) {
                return *action;
            }
        }
        throw std::runtime_error("the menu does not offer " + text.toStdString());
    }
    void list(const std::vector<std::string>& names) {
        std::vector<InputItem> items;
        for (const std::string& name : names) {
            items.push_back({std::filesystem::path("/in") / name, ""});
        }
        fixture.services.scans->succeed(std::move(items));
    }
    void awaitIdle() {
        waitUntil([this] { return model().canEditQueue(); });
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(window().focusWidget(), key, modifiers);
    }

    const Theme before = theme(); ///< the program takes its own from the desktop
    WindowFixture fixture;
    OvrelApp app{{.content = [this](QWidget&) { return fixture.contentServices(); },
                  .appearance = std::make_unique<Appearance>(noBus),
                  .bus = noBus}};
};

TEST_F(OvrelAppTest, OffersItsCommandsInBothLanguages) {
    EXPECT_THAT(menuTexts(), ElementsAre(QStringLiteral("About Ovrel"), QStringLiteral("Check for Updates…"),
                                         QStringLiteral("Ovrel Help"), QStringLiteral("Quit")));
    click(window(), QStringLiteral("Русский"));
    EXPECT_THAT(menuTexts(), ElementsAre(QStringLiteral("О приложении Ovrel"), QStringLiteral("Проверить обновления…"),
                                         QStringLiteral("Справка приложения Ovrel"), QStringLiteral("Завершить")));
    click(window(), QStringLiteral("English"));
    EXPECT_EQ(menuTexts().front(), QStringLiteral("About Ovrel"));
}

TEST_F(OvrelAppTest, OpensItsMenuFromTheName) {
    auto& name = control<QToolButton>(window(), QStringLiteral("Ovrel"));
    EXPECT_EQ(name.menu(), &app.menu());
    EXPECT_EQ(roleOf(name), QAccessible::ButtonMenu);
    focusByKeyboard(name);
    EXPECT_EQ(window().focusWidget(), &name);
    for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return}) {
        bool isSeen = false;
        QTimer::singleShot(0, &window(), [&] {
            isSeen = true;
            EXPECT_EQ(QApplication::activePopupWidget(), &app.menu()) << key;
            app.menu().close();
        });
        press(key); // returns when the menu has gone, or at once in a program that has been asked to quit
        waitUntil([&] { return isSeen; });
        EXPECT_EQ(QApplication::activePopupWidget(), nullptr) << key;
    }
}

TEST_F(OvrelAppTest, ShowsTheKeysOfItsCommands) {
    const auto keys = [this](const char* text) { return entry(QString::fromUtf8(text)).shortcuts(); };
    EXPECT_THAT(keys("Ovrel Help"), ElementsAre(QKeySequence(Qt::Key_F1), QKeySequence(QStringLiteral("Ctrl+?"))));
    EXPECT_THAT(keys("Quit"), ElementsAre(QKeySequence(QStringLiteral("Ctrl+Q"))));
    EXPECT_THAT(keys("About Ovrel"), IsEmpty());
    EXPECT_THAT(keys("Check for Updates…"), IsEmpty());
}

TEST_F(OvrelAppTest, ShowsWhereTheKeyboardIs) {
    EXPECT_EQ(window().findChild<QFocusFrame*>(), nullptr);
    press(Qt::Key_Tab);
    const auto* const ring = window().findChild<QFocusFrame*>();
    ASSERT_NE(ring, nullptr);
    EXPECT_TRUE(ring->isVisible());
    EXPECT_EQ(ring->widget(), window().focusWidget());
}

TEST_F(OvrelAppTest, HasOneHelpWindow) {
    EXPECT_THAT(openWindows<HelpWindow>(), IsEmpty());
    press(Qt::Key_F1);
    ASSERT_EQ(openWindows<HelpWindow>().size(), 1U);
    HelpWindow* const help = openWindows<HelpWindow>().front();
    entry(QStringLiteral("Ovrel Help")).trigger();
    press(Qt::Key_Question, Qt::ControlModifier);
    EXPECT_THAT(openWindows<HelpWindow>(), ElementsAre(help));
    help->close();
    press(Qt::Key_Question, Qt::ControlModifier);
    EXPECT_THAT(openWindows<HelpWindow>(), ElementsAre(help));
}

TEST_F(OvrelAppTest, HasOneAboutWindow) {
    EXPECT_THAT(openWindows<AboutWindow>(), IsEmpty());
    entry(QStringLiteral("About Ovrel")).trigger();
    ASSERT_EQ(openWindows<AboutWindow>().size(), 1U);
    AboutWindow* const about = openWindows<AboutWindow>().front();
    entry(QStringLiteral("About Ovrel")).trigger();
    EXPECT_THAT(openWindows<AboutWindow>(), ElementsAre(about));
    EXPECT_TRUE(window().isVisible());
}

TEST_F(OvrelAppTest, MakesItsOtherWindowsWhenTheyAreFirstAskedForAndOnce) {
    const auto expectCounts = [](qsizetype help, qsizetype about) {
        EXPECT_EQ(countOf<HelpWindow>(), help);
        EXPECT_EQ(countOf<HelpView>(), help);
        EXPECT_EQ(countOf<AboutWindow>(), about);
        EXPECT_EQ(countOf<AboutView>(), about);
    };
    EXPECT_EQ(countOf<MainWindow>(), 1);
    expectCounts(0, 0);
    entry(QStringLiteral("Ovrel Help")).trigger();
    expectCounts(1, 0);
    entry(QStringLiteral("About Ovrel")).trigger();
    expectCounts(1, 1);
    openWindows<HelpWindow>().front()->close();
    openWindows<AboutWindow>().front()->close();
    settle();
    entry(QStringLiteral("Ovrel Help")).trigger();
    entry(QStringLiteral("About Ovrel")).trigger();
    app.openHelp();
    app.openAbout();
    expectCounts(1, 1);
    EXPECT_EQ(countOf<MainWindow>(), 1);
}

TEST_F(OvrelAppTest, HelpsFromItsOtherWindowsToo) {
    entry(QStringLiteral("About Ovrel")).trigger();
    AboutWindow& about = *openWindows<AboutWindow>().front();
    waitUntil([&] { return about.isActiveWindow(); });
    QTest::keyClick(&about, Qt::Key_F1);
    EXPECT_EQ(openWindows<HelpWindow>().size(), 1U);
}

TEST_F(OvrelAppTest, OffersNoSecondMainWindow) {
    for (const AppLanguage language : AppLanguage::allCases) {
        model().setLanguage(language);
        for (const QAction* const action : window().findChildren<QAction*>()) {
            EXPECT_FALSE(action->text().contains(QStringLiteral("New"))) << action->text().toStdString();
            EXPECT_FALSE(action->text().contains(QStringLiteral("Нов"))) << action->text().toStdString();
            EXPECT_NE(action->shortcut(), QKeySequence(QStringLiteral("Ctrl+N")));
        }
        EXPECT_EQ(menuTexts().size(), 4);
    }
    press(Qt::Key_N, Qt::ControlModifier);
    EXPECT_EQ(openWindows<MainWindow>().size(), 1U);
}

TEST_F(OvrelAppTest, ChecksForUpdatesOnRequest) {
    const std::size_t atLaunch = fixture.services.updates.network.count();
    QAction& check = entry(QStringLiteral("Check for Updates…"));
    fixture.services.updates.answer("enabled=false\n"); // ends the check of the launch
    settle();
    ASSERT_TRUE(check.isEnabled());
    check.trigger();
    EXPECT_EQ(fixture.services.updates.network.count(), atLaunch + 1);
    EXPECT_FALSE(check.isEnabled()); // one goes on
}

TEST_F(OvrelAppTest, LooksForUpdatesOnceWhenItsWindowIsShown) {
    EXPECT_EQ(fixture.services.updates.network.count(), 1U);
    window().hide();
    window().show();
    EXPECT_EQ(fixture.services.updates.network.count(), 1U);
}

TEST_F(OvrelAppTest, QuitsByTheKeyboardAsByTheMenu) {
    QSignalSpy closed(&window(), &MainWindow::closed);
    press(Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(closed.count(), 1);
    window().show();
    entry(QStringLiteral("Quit")).trigger();
    EXPECT_EQ(closed.count(), 2);
}

TEST_F(OvrelAppTest, EndsTheProgramWhenTheMainWindowIsClosed) {
    app.openHelp();
    QTimer::singleShot(0, &window(), [this] { window().close(); });
    EXPECT_EQ(QApplication::exec(), 0); // the Help window does not keep it
}

/// How the program ends while the update panel is open.
struct EndRow {
    const char* what;
    std::function<void(UpdateManager&, WindowFixture&)> show;
    std::function<void(OvrelApp&)> end;
};

void offer(UpdateManager& updates, WindowFixture& fixture) {
    updates.showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.services.updates.reply());
}

void install(UpdateManager& updates, WindowFixture& /*fixture*/) {
    updates.showInstallingUpdateWithApplicationTerminated(false, OneShot<>([] {}));
}

TEST(OvrelAppEnd, ComesWhateverTheUpdatePanelShows) {
    const EndRow rows[] = {
        {"an offer, the window closed", offer, [](OvrelApp& app) { app.mainWindow().close(); }},
        {"an offer, by the menu or a signal", offer, [](OvrelApp& app) { app.quit(); }},
        {"an offer, by the session", offer, [](OvrelApp&) { QCoreApplication::quit(); }},
        {"an installation, by the updater", install, [](OvrelApp&) { QCoreApplication::quit(); }},
    };
    const Theme before = theme();
    for (const EndRow& row : rows) {
        SCOPED_TRACE(row.what);
        WindowFixture fixture;
        OvrelApp app{{.content = [&](QWidget&) { return fixture.contentServices(); },
                      .appearance = std::make_unique<Appearance>(noBus),
                      .bus = noBus}};
        app.start();
        row.show(fixture.services.updates.manager(), fixture);
        EXPECT_EQ(openWindows<UpdatePanelWindow>().size(), 1U);
        QTimer::singleShot(0, &app, [&] { row.end(app); });
        QTimer hangs;
        hangs.callOnTimeout([] { QCoreApplication::exit(1); });
        hangs.start(std::chrono::seconds(20));
        EXPECT_EQ(QApplication::exec(), 0);
        EXPECT_THAT(openWindows<UpdatePanelWindow>(), IsEmpty());
    }
    applyTheme(before);
}

TEST_F(OvrelAppTest, AddsWhatOtherProgramsOpen) {
    app.add({"/in"});
    list({"a.png"});
    awaitIdle();
    EXPECT_THAT(model().roots(), ElementsAre("/in"));
    EXPECT_EQ(model().items().size(), 1);
    app.add({});
    EXPECT_FALSE(model().scanning());
}

TEST_F(OvrelAppTest, AddsItAfterTheRunThatGoesOn) {
    app.add({"/in"});
    list({"a.png", "b.png"});
    awaitIdle();
    model().setOutput("/out");
    model().start();
    fixture.services.awaitConversions(1);
    app.add({"/more"});
    app.add({"/yet more"});
    EXPECT_THAT(model().roots(), ElementsAre("/in"));
    fixture.services.convert();
    fixture.services.convert();
    waitUntil([this] { return model().scanning(); });
    EXPECT_THAT(model().roots(), ElementsAre("/in", "/more", "/yet more"));
    list({"a.png"});
    awaitIdle();
}

TEST_F(OvrelAppTest, AddsItAfterTheScanThatGoesOn) {
    app.add({"/in"});
    app.add({"/more"});
    EXPECT_THAT(model().roots(), ElementsAre("/in"));
    list({"a.png"});
    waitUntil([this] { return model().roots().size() == 2; });
    list({"a.png", "b.png"});
    awaitIdle();
    EXPECT_EQ(model().items().size(), 2);
}

TEST_F(OvrelAppTest, BringsItsWindowForward) {
    window().showMinimized();
    app.activate();
    EXPECT_FALSE(window().isMinimized());
    waitUntil([this] { return window().isActiveWindow(); });
    window().hide();
    app.activate(QStringLiteral("token"));
    EXPECT_TRUE(window().isVisible());
    EXPECT_EQ(qgetenv("XDG_ACTIVATION_TOKEN"), QByteArrayLiteral("token"));
    qunsetenv("XDG_ACTIVATION_TOKEN");
}

TEST_F(OvrelAppTest, BeginsNoLargerThanTheScreenAllows) {
    const QSize least = window().content().minimumSizeHint();
    const QSize available = window().screen()->availableSize();
    ASSERT_LT(available.width(), window().content().sizeHint().width());
    EXPECT_EQ(window().width(), std::max(available.width(), least.width()));
    EXPECT_LT(window().height(), available.height()); // there is a frame, too
}

TEST(OvrelAppOnADesktop, TakesOnWhatItSaysAboutLooks) {
    PrivateBus bus;
    FakePortal portal(bus, {{colorSchemeSetting, 2U}});
    WindowFixture fixture;
    constexpr int patience = 60'000;
    const Theme before = theme();
    {
        OvrelApp app{{.content = [&](QWidget&) { return fixture.contentServices(); },
                      .appearance = std::make_unique<Appearance>(bus.connect(), patience),
                      .bus = noBus}};
        app.start();
        app.openHelp();
        EXPECT_EQ(theme().scheme, ColorScheme::light);
        EXPECT_TRUE(theme().animations);
        const auto ground = [](QWidget& window) { return window.grab().toImage().pixelColor(4, window.height() / 2); };
        EXPECT_EQ(ground(app.mainWindow()), colors(ColorScheme::light).window);

        portal.change(colorSchemeSetting, wrapped(1U));
        waitUntil([] { return theme().scheme == ColorScheme::dark; });
        EXPECT_EQ(ground(app.mainWindow()), colors(ColorScheme::dark).window);
        portal.change(animationsSetting, wrapped(false));
        waitUntil([] { return !theme().animations; });
    }
    fixture.services.conversions->release();
    applyTheme(before);
}

TEST_F(OvrelAppTest, StoresNothingButTheLanguage) {
    click(window(), QStringLiteral("Русский"));
    window().resize(1000, 700);
    model().setQuality(3);
    model().setOutput("/out");
    window().close();
    EXPECT_THAT(fixture.services.preferences->written, ElementsAre("OvrelLanguage=ru"));
}

} // namespace

} // namespace ovrel::test
