// Against a bus of the test's own, on which the services of a desktop are played.

#include "desktop/sleep_inhibitor.h"
#include "tests/support/temporary_folder.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QEventLoop>
#include <QProcess>

#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A bus that starts no service by itself.
class PrivateBus {
public:
    PrivateBus() {
        const std::string configuration = folder_.write(
            "bus.conf", "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
                        "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">"
                        "<busconfig><type>session</type><listen>unix:dir=" +
                            folder_.path().native() +
                            "</listen><policy context=\"default\"><allow send_destination=\"*\"/><allow "
                            "own=\"*\"/><allow receive_sender=\"*\"/>"
                            "</policy></busconfig>");
        daemon_.start(QStringLiteral("dbus-daemon"),
                      {QStringLiteral("--nofork"), QStringLiteral("--print-address"),
                       QStringLiteral("--config-file=") + QString::fromStdString(configuration)});
        while (daemon_.state() != QProcess::NotRunning && !daemon_.canReadLine()) {
            daemon_.waitForReadyRead(100);
        }
        address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
    }
    ~PrivateBus() {
        daemon_.kill();
        daemon_.waitForFinished();
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    /// A connection of its own, which lives as long as the process.
    QDBusConnection connect() {
        return QDBusConnection::connectToBus(address_, QStringLiteral("test %1").arg(++connections_));
    }

private:
    TemporaryFolder folder_;
    QProcess daemon_;
    QString address_;
    int connections_ = 0;
};

/// Plays every object of one service, and remembers what it was asked.
class FakeService : public QDBusVirtualObject {
public:
    FakeService(PrivateBus& bus, const QString& name, std::vector<std::string>& calls)
        : connection_(bus.connect()), name_(name), calls_(calls) {
        EXPECT_TRUE(connection_.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath));
        EXPECT_TRUE(connection_.registerService(name)) << name.toStdString();
    }
    ~FakeService() override {
        connection_.unregisterService(name_);
        connection_.unregisterObject(QStringLiteral("/"), QDBusConnection::UnregisterTree);
    }

    bool refuses = false; ///< as a portal without a backend does
    bool waits = false;   ///< keeps the answer until answer()

    void answer() { connection_.send(std::exchange(kept_, {})); }

    QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& /*connection*/) override {
        std::string call = message.interface().toStdString() + "." + message.member().toStdString() + " " +
                           message.path().toStdString();
        for (const QVariant& argument : message.arguments()) {
            call += " [" + describe(argument) + "]";
        }
        calls_.push_back(call);
        if (message.member() != QStringLiteral("Inhibit")) {
            return connection_.send(message.createReply());
        }
        if (refuses) {
            return connection_.send(
                message.createErrorReply(QDBusError::UnknownInterface, QStringLiteral("no backend")));
        }
        const bool isPortal = message.interface().contains(QStringLiteral("portal"));
        const QDBusMessage reply = message.createReply(
            isPortal ? QVariant::fromValue(QDBusObjectPath(QStringLiteral("/request/7"))) : QVariant(quint32{7}));
        if (waits) {
            kept_ = reply;
            return true;
        }
        return connection_.send(reply);
    }

private:
    static std::string describe(const QVariant& argument) {
        if (argument.canConvert<QDBusArgument>()) {
            std::string text;
            const QVariantMap options = qdbus_cast<QVariantMap>(argument);
            for (auto option = options.begin(); option != options.end(); ++option) {
                text += option.key().toStdString() + "=" + option.value().toString().toStdString();
            }
            return text;
        }
        return argument.toString().toStdString();
    }

    QDBusConnection connection_;
    QString name_;
    std::vector<std::string>& calls_;
    QDBusMessage kept_;
};

const QString portal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString powerManagement = QStringLiteral("org.freedesktop.PowerManagement.Inhibit");
const QString screenSaver = QStringLiteral("org.freedesktop.ScreenSaver");
const QString reason = QStringLiteral("Converting images");

class SleepInhibitorTest : public testing::Test {
protected:
    SleepInhibitorTest() { EXPECT_TRUE(connection_.isConnected()); }

    static void SetUpTestSuite() { bus_ = std::make_unique<PrivateBus>(); }
    static void TearDownTestSuite() { bus_.reset(); }

    std::shared_ptr<void> keepAwake() { return desktopSleepInhibitor(connection_)(reason); }

    /// Lets everything happen that is on its way, until something has been asked that often.
    void awaitCalls(std::size_t count) {
        while (calls.size() < count) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        }
    }

    /// Every answer that was on its way has come by the end of a call that came after it.
    void settle() {
        for (int round = 0; round < 8; ++round) {
            connection_.call(QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/"),
                                                            QStringLiteral("org.freedesktop.DBus"),
                                                            QStringLiteral("GetId")));
            QCoreApplication::processEvents();
        }
    }

    std::vector<std::string> calls;

private:
    static inline std::unique_ptr<PrivateBus> bus_;

protected:
    PrivateBus& bus = *bus_;

private:
    QDBusConnection connection_ = bus.connect();
};

TEST_F(SleepInhibitorTest, AsksThePortalFirst) {
    FakeService portalService(bus, portal, calls);
    FakeService power(bus, powerManagement, calls);
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
        std::optional<FakeService> portalService;
        if (hasPortal) {
            portalService.emplace(bus, portal, calls);
            portalService->refuses = true;
        }
        FakeService power(bus, powerManagement, calls);
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
    FakeService saver(bus, screenSaver, calls);
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
    FakeService power(bus, powerManagement, calls);
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
    FakeService portalService(bus, portal, calls);
    portalService.refuses = true;
    FakeService power(bus, powerManagement, calls);
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
