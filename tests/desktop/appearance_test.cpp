#include "desktop/appearance.h"
#include "tests/desktop/event_loop.h"
#include "tests/desktop/private_bus.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QPalette>
#include <QProxyStyle>
#include <QSignalSpy>
#include <QThread>
#include <QWindow>

#include <gmock/gmock.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ovrel::test {

namespace {

constexpr int longPatienceMilliseconds = 60'000;

const QString portal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");

const std::string colorScheme = "org.freedesktop.appearance color-scheme";
const std::string reducedMotion = "org.freedesktop.appearance reduced-motion";
const std::string animations = "org.gnome.desktop.interface enable-animations";
const std::string duration = "org.kde.kdeglobals.KDE AnimationDurationFactor";

QVariant wrapped(const QVariant& value) {
    return QVariant::fromValue(QDBusVariant(value));
}

/// A portal with settings. It answers on a thread of its own, so that it can be waited for, unless it is late.
class FakePortal {
public:
    enum class Version { one, two };

    FakePortal(PrivateBus& bus, std::map<std::string, QVariant> settings, Version version = Version::two,
               bool isLate = false)
        : settings_(std::move(settings)), service_(bus, portal, calls_) {
        service_.reply = [this, version](const QDBusMessage& call) { return reply(call, version); };
        if (!isLate) {
            thread_.start();
            service_.moveToThread(&thread_);
        }
    }
    ~FakePortal() {
        thread_.quit();
        thread_.wait();
    }
    FakePortal(const FakePortal&) = delete;
    FakePortal& operator=(const FakePortal&) = delete;

    void change(const std::string& setting, const QVariant& value) {
        const QStringList words = QString::fromStdString(setting).split(QLatin1Char(' '));
        service_.tell(portalPath, settingsInterface, QStringLiteral("SettingChanged"),
                      {words.first(), words.last(), value});
    }

private:
    QDBusMessage reply(const QDBusMessage& call, Version version) const {
        const bool isFormer = call.member() == QStringLiteral("Read");
        if (!isFormer && (version == Version::one || call.member() != QStringLiteral("ReadOne"))) {
            return call.createErrorReply(QDBusError::UnknownMethod, QStringLiteral("no such method"));
        }
        const QVariantList words = call.arguments();
        const auto found =
            settings_.find(words.first().toString().toStdString() + " " + words.last().toString().toStdString());
        if (found == settings_.end()) {
            return call.createErrorReply(QStringLiteral("org.freedesktop.portal.Error.NotFound"),
                                         QStringLiteral("no such setting"));
        }
        return call.createReply(isFormer ? wrapped(wrapped(found->second)) : wrapped(found->second));
    }

    std::map<std::string, QVariant> settings_;
    BusCalls calls_;
    QThread thread_;
    FakeService service_;
};

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
        {{{colorScheme, 0U}}, ColorScheme::light, false},
        {{{colorScheme, 1U}}, ColorScheme::dark, false},
        {{{colorScheme, 2U}}, ColorScheme::light, false},
        {{{colorScheme, 1U}, {animations, false}}, ColorScheme::dark, true},
        {{{animations, true}, {reducedMotion, 0U}, {duration, QStringLiteral("1")}}, ColorScheme::light, false},
        {{{animations, true}, {reducedMotion, 1U}}, ColorScheme::light, true},
        {{{duration, QStringLiteral("0")}}, ColorScheme::light, true},
        {{{duration, QStringLiteral("0.0")}}, ColorScheme::light, true},
        {{{duration, QStringLiteral("0.5")}}, ColorScheme::light, false},
        {{{duration, 0.0}}, ColorScheme::light, true},
        {{{duration, 0}}, ColorScheme::light, true},
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
    const FakePortal service(bus, {{colorScheme, QStringLiteral("dark")},
                                   {reducedMotion, true},
                                   {animations, QStringLiteral("false")},
                                   {duration, QStringLiteral("none")}});
    const Appearance appearance(connection, longPatienceMilliseconds);
    EXPECT_EQ(appearance.colorScheme(), ColorScheme::light);
    EXPECT_FALSE(appearance.reducedMotion());
}

TEST_F(AppearanceTest, DoesNotWaitLongForAnAnswer) {
    // The portal answers on this thread, which cannot happen before the constructor has returned.
    for (const FakePortal::Version version : {FakePortal::Version::one, FakePortal::Version::two}) {
        const FakePortal service(bus, {{colorScheme, 1U}, {animations, false}}, version, true);
        const Appearance appearance(connection);
        EXPECT_EQ(appearance.colorScheme(), ColorScheme::light);
        EXPECT_FALSE(appearance.reducedMotion());
        awaitThat([&] { return appearance.colorScheme() == ColorScheme::dark && appearance.reducedMotion(); });
    }
}

TEST_F(AppearanceTest, FollowsTheDesktop) {
    FakePortal service(bus, {{colorScheme, 2U}});
    const Appearance appearance(connection, longPatienceMilliseconds);
    QSignalSpy schemes(&appearance, &Appearance::colorSchemeChanged);
    QSignalSpy motions(&appearance, &Appearance::reducedMotionChanged);
    service.change(colorScheme, wrapped(1U));
    awaitThat([&] { return schemes.count() == 1; });
    EXPECT_EQ(appearance.colorScheme(), ColorScheme::dark);
    EXPECT_EQ(motions.count(), 0);

    service.change(animations, wrapped(false));
    awaitThat([&] { return motions.count() == 1; });
    EXPECT_TRUE(appearance.reducedMotion());

    service.change(colorScheme, wrapped(0U));
    awaitThat([&] { return schemes.count() == 2; });
    EXPECT_EQ(appearance.colorScheme(), ColorScheme::light);
    service.change(animations, wrapped(true));
    awaitThat([&] { return motions.count() == 2; });
    EXPECT_FALSE(appearance.reducedMotion());
    EXPECT_EQ(schemes.count(), 2);
}

TEST_F(AppearanceTest, IsNotChangedBySignalsOfAnotherKind) {
    FakePortal service(bus, {{colorScheme, 1U}, {animations, false}});
    const Appearance appearance(connection, longPatienceMilliseconds);
    QSignalSpy schemes(&appearance, &Appearance::colorSchemeChanged);
    QSignalSpy motions(&appearance, &Appearance::reducedMotionChanged);
    const std::vector<std::pair<std::string, QVariant>> changes = {
        {colorScheme, wrapped(QStringLiteral("light"))},
        {colorScheme, wrapped(-1)},
        {colorScheme, wrapped(QVariantMap{{QStringLiteral("value"), 2U}})},
        {colorScheme, 2U}, // not wrapped
        {"org.freedesktop.appearance colour-scheme", wrapped(2U)},
        {"org.example color-scheme", wrapped(2U)},
        {animations, wrapped(1U)},
        {duration, wrapped(QStringLiteral(""))},
        {reducedMotion, wrapped(2U)},
    };
    for (const auto& [setting, value] : changes) {
        service.change(setting, value);
    }
    // Nobody but the portal speaks for it.
    BusCalls calls;
    FakeService stranger(bus, QStringLiteral("org.example.Stranger"), calls);
    stranger.tell(portalPath, settingsInterface, QStringLiteral("SettingChanged"),
                  {QStringLiteral("org.freedesktop.appearance"), QStringLiteral("color-scheme"), wrapped(2U)});
    service.change(animations, wrapped(true));
    awaitThat([&] { return motions.count() > 0; });
    EXPECT_EQ(schemes.count(), 0);
    EXPECT_EQ(motions.count(), 1);
    EXPECT_EQ(appearance.colorScheme(), ColorScheme::dark);
}

TEST_F(AppearanceTest, AsksAPortalThatComesLater) {
    const Appearance appearance(connection);
    EXPECT_EQ(appearance.colorScheme(), ColorScheme::light);
    const FakePortal service(bus, {{colorScheme, 1U}});
    awaitThat([&] { return appearance.colorScheme() == ColorScheme::dark; });
}

TEST_F(AppearanceTest, MayEndWhileAnAnswerIsOnItsWayOrHeard) {
    FakePortal service(bus, {{colorScheme, 1U}, {animations, false}}, FakePortal::Version::two, true);
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

/// Gives the palette of a desktop whose colours change.
class DesktopStyle final : public QProxyStyle {
public:
    using QProxyStyle::QProxyStyle;

    QPalette standardPalette() const override { return palette; }

    QPalette palette = paletteOf(Qt::white, Qt::black);
};

TEST(Appearance, FollowsThePaletteOfTheDesktopUnderThatOfTheProgram) {
    auto* const desktop = new DesktopStyle; // owned by the application
    QApplication::setStyle(desktop);
    QApplication::setPalette(QPalette());
    ASSERT_EQ(Appearance::colorSchemeOf(QApplication::palette()), ColorScheme::light);
    const QDBusConnection none(QStringLiteral("no such connection"));
    const Appearance appearance(none);
    const QPalette own = paletteOf(Qt::white, Qt::black);
    QApplication::setPalette(own);
    QWindow window;

    const auto change = [&](const QPalette& palette) {
        desktop->palette = palette;
        QEvent event(QEvent::ThemeChange);
        QCoreApplication::sendEvent(&window, &event);
    };
    QSignalSpy schemes(&appearance, &Appearance::colorSchemeChanged);
    change(paletteOf(Qt::black, Qt::white));
    EXPECT_EQ(appearance.colorScheme(), ColorScheme::dark);
    EXPECT_EQ(schemes.count(), 1);
    EXPECT_EQ(QApplication::palette().color(QPalette::Window), own.color(QPalette::Window)); // as it was
    change(paletteOf(Qt::white, Qt::black));
    EXPECT_EQ(appearance.colorScheme(), ColorScheme::light);
    EXPECT_EQ(schemes.count(), 2);
    QApplication::setPalette(QPalette());
}

} // namespace

} // namespace ovrel::test
