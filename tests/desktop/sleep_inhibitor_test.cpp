#include "desktop/sleep_inhibitor.h"
#include "tests/desktop/event_loop.h"
#include "tests/desktop/private_bus.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusObjectPath>

#include <gmock/gmock.h>

#include <memory>
#include <optional>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// What a service of the desktop answers that agrees to keep the computer awake.
QDBusMessage agree(const QDBusMessage& call) {
    if (call.member() != QStringLiteral("Inhibit")) {
        return call.createReply();
    }
    const bool isPortal = call.interface().contains(QStringLiteral("portal"));
    return call.createReply(isPortal ? QVariant::fromValue(QDBusObjectPath(QStringLiteral("/request/7")))
                                     : QVariant(quint32{7}));
}

/// As a portal without a backend does.
QDBusMessage refuse(const QDBusMessage& call) {
    return call.createErrorReply(QDBusError::UnknownInterface, QStringLiteral("no backend"));
}

struct InhibitingService : FakeService {
    InhibitingService(PrivateBus& bus, const QString& name, BusCalls& calls) : FakeService(bus, name, calls) {
        reply = agree;
    }
};

const QString portal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString powerManagement = QStringLiteral("org.freedesktop.PowerManagement.Inhibit");
const QString screenSaver = QStringLiteral("org.freedesktop.ScreenSaver");
const QString reason = QStringLiteral("Converting images");

class SleepInhibitorTest : public testing::Test {
protected:
    static void SetUpTestSuite() { bus_ = std::make_unique<PrivateBus>(); }
    static void TearDownTestSuite() { bus_.reset(); }

    std::shared_ptr<void> keepAwake() { return desktopSleepInhibitor(connection_)(reason); }

    /// Lets everything happen that is on its way, until something has been asked that often.
    void awaitCalls(std::size_t count) {
        awaitThat([&] { return calls.size() >= count; });
    }

    void settle() { test::settle(connection_); }

    BusCalls calls;

private:
    static inline std::unique_ptr<PrivateBus> bus_;

protected:
    PrivateBus& bus = *bus_;

private:
    QDBusConnection connection_ = bus.connect();
};

TEST_F(SleepInhibitorTest, AsksThePortalFirst) {
    InhibitingService portalService(bus, portal, calls);
    InhibitingService power(bus, powerManagement, calls);
    std::shared_ptr<void> awake = keepAwake();
    awaitCalls(1);
    settle();
    awake.reset();
    awaitCalls(2);
    settle();
    EXPECT_THAT(calls, ElementsAre("org.freedesktop.portal.Inhibit.Inhibit /org/freedesktop/portal/desktop [] [4] "
                                   "[reason=Converting images]",
                                   "org.freedesktop.portal.Request.Close /request/7"));
}

TEST_F(SleepInhibitorTest, AsksPowerManagementWhereThePortalCannot) {
    for (const bool hasPortal : {true, false}) {
        calls.clear();
        std::optional<InhibitingService> portalService;
        if (hasPortal) {
            portalService.emplace(bus, portal, calls);
            portalService->reply = refuse;
        }
        InhibitingService power(bus, powerManagement, calls);
        std::shared_ptr<void> awake = keepAwake();
        awaitCalls(hasPortal ? 2 : 1);
        settle();
        awake.reset();
        awaitCalls(hasPortal ? 3 : 2);
        if (hasPortal) {
            calls.erase(calls.begin());
        }
        EXPECT_THAT(calls, ElementsAre("org.freedesktop.PowerManagement.Inhibit.Inhibit "
                                       "/org/freedesktop/PowerManagement/Inhibit [Ovrel] [Converting images]",
                                       "org.freedesktop.PowerManagement.Inhibit.UnInhibit "
                                       "/org/freedesktop/PowerManagement/Inhibit [7]"));
    }
}

TEST_F(SleepInhibitorTest, AsksTheScreenSaverLast) {
    InhibitingService saver(bus, screenSaver, calls);
    std::shared_ptr<void> awake = keepAwake();
    awaitCalls(1);
    settle();
    awake.reset();
    awaitCalls(2);
    EXPECT_THAT(
        calls,
        ElementsAre("org.freedesktop.ScreenSaver.Inhibit /org/freedesktop/ScreenSaver [Ovrel] [Converting images]",
                    "org.freedesktop.ScreenSaver.UnInhibit /org/freedesktop/ScreenSaver [7]"));
}

TEST_F(SleepInhibitorTest, TakesAnAnswerBackThatComesTooLate) {
    InhibitingService power(bus, powerManagement, calls);
    power.waits = true;
    std::shared_ptr<void> awake = keepAwake();
    awaitCalls(1);
    awake.reset();
    settle();
    EXPECT_EQ(calls.size(), 1U);
    power.answer();
    awaitCalls(2);
    EXPECT_THAT(calls.back(), testing::HasSubstr("UnInhibit"));
}

TEST_F(SleepInhibitorTest, AsksNobodyElseOnceItIsNoLongerNeeded) {
    InhibitingService portalService(bus, portal, calls);
    portalService.reply = refuse;
    InhibitingService power(bus, powerManagement, calls);
    keepAwake().reset();
    awaitCalls(1);
    settle();
    EXPECT_EQ(calls.size(), 1U);
}

TEST_F(SleepInhibitorTest, IsSilentWhereNoServiceIs) {
    std::shared_ptr<void> awake = keepAwake();
    settle();
    awake.reset();
    settle();
    EXPECT_THAT(calls, IsEmpty());
}

TEST(SleepInhibitor, IsSilentWhereNoBusIs) {
    const QDBusConnection none(QStringLiteral("no such connection"));
    std::shared_ptr<void> awake = desktopSleepInhibitor(none)(reason);
    QCoreApplication::processEvents();
    EXPECT_TRUE(awake == nullptr); // a token needs no content
    awake.reset();
    QCoreApplication::processEvents();
}

} // namespace

} // namespace ovrel::test
