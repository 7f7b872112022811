#include "desktop/appearance.h"
#include "tests/desktop/event_loop.h"
#include "tests/desktop/fake_portal.h"
#include "tests/desktop/private_bus.h"

#include <QApplication>
#include <QDBusConnection>
#include <QPalette>
#include <QSignalSpy>
#include <QWindow>

#include <gmock/gmock.h>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace ovrel::test {

namespace {

constexpr int longPatienceMilliseconds = 60'000;

class AppearanceTest : public testing::Test {
protected:
    static void SetUpTestSuite() { bus_ = std::make_unique<PrivateBus>(); }
    static void TearDownTestSuite() { bus_.reset(); }

private:
    static inline std::unique_ptr<PrivateBus> bus_;

protected:
    PrivateBus& bus = *bus_;
    QDBusConnection connection = bus.connect();
};

struct Row {
    std::map<std::string, QVariant> settings;
    ColorScheme scheme = ColorScheme::light;
    bool isMotionReduced = false;
};

TEST_F(AppearanceTest, IsRightFromTheStart) {
    const std::vector<Row> rows = {
        {{}, ColorScheme::light, false},
        {{{colorSchemeSetting, 0U}}, ColorScheme::light, false},
        {{{colorSchemeSetting, 1U}}, ColorScheme::dark, false},
        {{{colorSchemeSetting, 2U}}, ColorScheme::light, false},
        {{{colorSchemeSetting, 1U}, {animationsSetting, false}}, ColorScheme::dark, true},
        {{{animationsSetting, true}, {reducedMotionSetting, 0U}, {durationSetting, QStringLiteral("1")}},
         ColorScheme::light,
         false},
        {{{animationsSetting, true}, {reducedMotionSetting, 1U}}, ColorScheme::light, true},
        {{{durationSetting, QStringLiteral("0")}}, ColorScheme::light, true},
        {{{durationSetting, QStringLiteral("0.0")}}, ColorScheme::light, true},
        {{{durationSetting, QStringLiteral("0.5")}}, ColorScheme::light, false},
        {{{durationSetting, 0.0}}, ColorScheme::light, true},
        {{{durationSetting, 0}}, ColorScheme::light, true},
    };
    for (const FakePortal::Version version : {FakePortal::Version::one, FakePortal::Version::two}) {
        for (std::size_t row = 0; row < rows.size(); ++row) {
            SCOPED_TRACE(row);
            const FakePortal service(bus, rows[row].settings, version);
            const Appearance appearance(connection, longPatienceMilliseconds);
            EXPECT_EQ(appearance.colorScheme(), rows[row].scheme);
            EXPECT_EQ(appearance.reducedMotion(), rows[row].isMotionReduced);
        }
    }
}

TEST_F(AppearanceTest, IsNotChangedByWhatIsNoAnswer) {
    const FakePortal service(bus, {{colorSchemeSetting, QStringLiteral("dark")},
                                   {reducedMotionSetting, true},
                                   {animationsSetting, QStringLiteral("false")},
                                   {durationSetting, QStringLiteral("none")}});
    const Appearance appearance(connection, longPatienceMilliseconds);
    EXPECT_EQ(appearance.colorScheme(), ColorScheme::light);
    EXPECT_FALSE(appearance.reducedMotion());
}

TEST_F(AppearanceTest, DoesNotWaitLongForAnAnswer) {
    // The portal answers on this thread, which cannot happen before the constructor has returned.
    for (const FakePortal::Version version : {FakePortal::Version::one, FakePortal::Version::two}) {
        const FakePortal service(bus, {{colorSchemeSetting, 1U}, {animationsSetting, false}}, version, true);
        const Appearance appearance(connection);
        EXPECT_EQ(appearance.colorScheme(), ColorScheme::light);
        EXPECT_FALSE(appearance.reducedMotion());
        awaitThat([&] { return appearance.colorScheme() == ColorScheme::dark && appearance.reducedMotion(); });
    }
}

TEST_F(AppearanceTest, FollowsTheDesktop) {
    FakePortal service(bus, {{colorSchemeSetting, 2U}});
    const Appearance appearance(connection, longPatienceMilliseconds);
    QSignalSpy schemes(&appearance, &Appearance::colorSchemeChanged);
    QSignalSpy motions(&appearance, &Appearance::reducedMotionChanged);
    service.change(colorSchemeSetting, wrapped(1U));
    awaitThat([&] { return schemes.count() == 1; });
    EXPECT_EQ(appearance.colorScheme(), ColorScheme::dark);
    EXPECT_EQ(motions.count(), 0);

    service.change(animationsSetting, wrapped(false));
    awaitThat([&] { return motions.count() == 1; });
    EXPECT_TRUE(appearance.reducedMotion());

    service.change(colorSchemeSetting, wrapped(0U));
    awaitThat([&] { return schemes.count() == 2; });
    EXPECT_EQ(appearance.colorScheme(), ColorScheme::light);
    service.change(animationsSetting, wrapped(true));
    awaitThat([&] { return motions.count() == 2; });
    EXPECT_FALSE(appearance.reducedMotion());
    EXPECT_EQ(schemes.count(), 2);
}

TEST_F(AppearanceTest, IsNotChangedBySignalsOfAnotherKind) {
    FakePortal service(bus, {{colorSchemeSetting, 1U}, {animationsSetting, false}});
    const Appearance appearance(connection, longPatienceMilliseconds);
    QSignalSpy schemes(&appearance, &Appearance::colorSchemeChanged);
    QSignalSpy motions(&appearance, &Appearance::reducedMotionChanged);
    const std::vector<std::pair<std::string, QVariant>> changes = {
        {colorSchemeSetting, wrapped(QStringLiteral("light"))},
        {colorSchemeSetting, wrapped(-1)},
        {colorSchemeSetting, wrapped(QVariantMap{{QStringLiteral("value"), 2U}})},
        {colorSchemeSetting, 2U}, // not wrapped
        {"org.freedesktop.appearance colour-scheme", wrapped(2U)},
        {"org.example color-scheme", wrapped(2U)},
        {animationsSetting, wrapped(1U)},
        {durationSetting, wrapped(QStringLiteral(""))},
        {reducedMotionSetting, wrapped(2U)},
    };
    for (const auto& [setting, value] : changes) {
        service.change(setting, value);
    }
    // Nobody but the portal speaks for it.
    BusCalls calls;
    FakeService stranger(bus, QStringLiteral("org.example.Stranger"), calls);
    stranger.tell(portalPath, portalSettings, QStringLiteral("SettingChanged"),
                  {QStringLiteral("org.freedesktop.appearance"), QStringLiteral("color-scheme"), wrapped(2U)});
    service.change(animationsSetting, wrapped(true));
    awaitThat([&] { return motions.count() > 0; });
    EXPECT_EQ(schemes.count(), 0);
    EXPECT_EQ(motions.count(), 1);
    EXPECT_EQ(appearance.colorScheme(), ColorScheme::dark);
}

TEST_F(AppearanceTest, AsksAPortalThatComesLater) {
    const Appearance appearance(connection);
    EXPECT_EQ(appearance.colorScheme(), ColorScheme::light);
    const FakePortal service(bus, {{colorSchemeSetting, 1U}});
    awaitThat([&] { return appearance.colorScheme() == ColorScheme::dark; });
}

TEST_F(AppearanceTest, MayEndWhileAnAnswerIsOnItsWayOrHeard) {
    FakePortal service(bus, {{colorSchemeSetting, 1U}, {animationsSetting, false}}, FakePortal::Version::two, true);
    { const Appearance brief(connection); }
    settle(connection);
    auto appearance = std::make_unique<Appearance>(connection);
    QObject::connect(appearance.get(), &Appearance::colorSchemeChanged, [&] { appearance.reset(); });
    awaitThat([&] { return appearance == nullptr; });
    settle(connection);
}

TEST(Appearance, TakesThePaletteWhereNoBusIs) {
    const QDBusConnection none(QStringLiteral("no such connection"));
    const Appearance appearance(none);
    EXPECT_EQ(appearance.colorScheme(), Appearance::colorSchemeOf(QApplication::palette()));
    EXPECT_FALSE(appearance.reducedMotion());
}

QPalette paletteOf(Qt::GlobalColor window, Qt::GlobalColor text) {
    QPalette palette;
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    return palette;
}

TEST(Appearance, JudgesPalettesByTheirLightness) {
    EXPECT_EQ(Appearance::colorSchemeOf(paletteOf(Qt::white, Qt::black)), ColorScheme::light);
    EXPECT_EQ(Appearance::colorSchemeOf(paletteOf(Qt::black, Qt::white)), ColorScheme::dark);
    EXPECT_EQ(Appearance::colorSchemeOf(paletteOf(Qt::darkBlue, Qt::yellow)), ColorScheme::dark);
}

TEST(Appearance, LeavesThePaletteOutThatTheProgramSets) {
    const QDBusConnection none(QStringLiteral("no such connection"));
    const Appearance appearance(none);
    QSignalSpy schemes(&appearance, &Appearance::colorSchemeChanged);
    const QPalette dark = paletteOf(Qt::black, Qt::white);
    QApplication::setPalette(dark);
    ASSERT_EQ(Appearance::colorSchemeOf(QApplication::palette()), ColorScheme::dark);
    EXPECT_EQ(schemes.count(), 0);
    QApplication::setPalette(QPalette());
    EXPECT_EQ(schemes.count(), 0);
    EXPECT_EQ(appearance.colorScheme(), ColorScheme::light);
}

TEST(Appearance, SeesThePaletteOfTheDesktopUnderThatOfTheProgram) {
    const QPalette desktop = QApplication::palette();
    ASSERT_EQ(Appearance::colorSchemeOf(desktop), ColorScheme::light);
    const QPalette own = paletteOf(Qt::black, Qt::white);
    QApplication::setPalette(own);
    EXPECT_EQ(Appearance::desktopPalette().color(QPalette::Window), desktop.color(QPalette::Window));
    EXPECT_EQ(QApplication::palette().color(QPalette::Window), own.color(QPalette::Window)); // as it was
    QApplication::setPalette(QPalette());
}

TEST(Appearance, FollowsThePaletteOfTheDesktopWhileTheProgramHasItsOwn) {
    QPalette desktop = paletteOf(Qt::white, Qt::black);
    const QDBusConnection none(QStringLiteral("no such connection"));
    const Appearance appearance(none, 0, nullptr, [&] { return desktop; });
    QApplication::setPalette(paletteOf(Qt::white, Qt::black));
    QSignalSpy schemes(&appearance, &Appearance::colorSchemeChanged);
    QWindow window;
    for (const ColorScheme scheme : {ColorScheme::dark, ColorScheme::light}) {
        desktop = scheme == ColorScheme::dark ? paletteOf(Qt::black, Qt::white) : paletteOf(Qt::white, Qt::black);
        QEvent change(QEvent::ThemeChange);
        QCoreApplication::sendEvent(&window, &change);
        EXPECT_EQ(appearance.colorScheme(), scheme);
    }
    EXPECT_EQ(schemes.count(), 2);
    QApplication::setPalette(QPalette());
}

} // namespace

} // namespace ovrel::test
