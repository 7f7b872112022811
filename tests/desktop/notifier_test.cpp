#include "desktop/notifier.h"
#include "tests/desktop/event_loop.h"
#include "tests/desktop/private_bus.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QSignalSpy>

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString servicePath = QStringLiteral("/org/freedesktop/Notifications");
const QString portal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString portalInterface = QStringLiteral("org.freedesktop.portal.Notification");

/// Shows notifications under the ids 1, 2, … and keeps the id of one that is replaced.
struct NotificationService : FakeService {
    NotificationService(PrivateBus& bus, BusCalls& calls) : FakeService(bus, service, calls) {
        reply = [this](const QDBusMessage& call) {
            if (call.member() == QStringLiteral("GetCapabilities")) {
                return call.createReply(capabilities);
            }
            if (call.member() == QStringLiteral("Notify")) {
                if (refuses) {
                    return call.createErrorReply(QDBusError::LimitsExceeded, QStringLiteral("too many"));
                }
                const quint32 replaced = call.arguments().at(1).toUInt();
                return call.createReply(replaced != 0 ? replaced : ++ids);
            }
            return call.createReply();
        };
    }

    void tellOf(const char* signal, quint32 id, const QVariant& detail) {
        tell(servicePath, service, QString::fromLatin1(signal), {id, detail});
    }

    QStringList capabilities{QStringLiteral("actions"), QStringLiteral("body"), QStringLiteral("body-markup")};
    bool refuses = false;
    quint32 ids = 0;
};

class NotifierTest : public testing::Test {
protected:
    static void SetUpTestSuite() { bus_ = std::make_unique<PrivateBus>(); }
    static void TearDownTestSuite() { bus_.reset(); }

    NotifierTest() {
        QObject::connect(notifier.get(), &Notifier::activated,
                         [this](const QString& token) { activations.push_back(token.toStdString()); });
    }

    void show(const char* title, const char* body = "") {
        notifier->show(QString::fromUtf8(title), QString::fromUtf8(body));
    }
    /// Without the questions for what the service can.
    BusCalls asked() const {
        BusCalls asked = calls;
        std::erase_if(asked, [](const std::string& call) { return call.find("GetCapabilities") != std::string::npos; });
        return asked;
    }
    void awaitAsked(std::size_t count) {
        awaitThat([&] { return asked().size() >= count; });
        settle(connection);
    }

    BusCalls calls;
    std::vector<std::string> activations;

private:
    static inline std::unique_ptr<PrivateBus> bus_;

protected:
    PrivateBus& bus = *bus_;
    QDBusConnection connection = bus.connect();
    std::unique_ptr<Notifier> notifier = std::make_unique<Notifier>(QStringLiteral("org.example.Program"), connection);
};

TEST_F(NotifierTest, ShowsOneNotificationWhichTheNextReplaces) {
    NotificationService notifications(bus, calls);
    show("Done", "3 images");
    awaitAsked(1);
    show("Done", "4 images");
    awaitAsked(2);
    notifier->withdraw();
    awaitAsked(3);
    const std::string notify = "org.freedesktop.Notifications.Notify /org/freedesktop/Notifications [Ovrel] ";
    EXPECT_THAT(asked(), ElementsAre(notify + "[0] [org.example.Program] [Done] [3 images] [default ] "
                                              "[desktop-entry=org.example.Program] [-1]",
                                     notify + "[1] [org.example.Program] [Done] [4 images] [default ] "
                                              "[desktop-entry=org.example.Program] [-1]",
                                     "org.freedesktop.Notifications.CloseNotification "
                                     "/org/freedesktop/Notifications [1]"));
}

TEST_F(NotifierTest, KeepsToWhatTheServiceCan) {
    struct Row {
        QStringList capabilities;
        std::string body;
        std::string actions;
    };
    const std::vector<Row> rows = {
        {{}, "[<b>A & B</b>]", "[]"},
        {{QStringLiteral("body-markup")}, "[&lt;b&gt;A &amp; B&lt;/b&gt;]", "[]"},
        {{QStringLiteral("actions")}, "[<b>A & B</b>]", "[default ]"},
    };
    NotificationService notifications(bus, calls);
    for (const Row& row : rows) {
        calls.clear();
        notifications.capabilities = row.capabilities;
        show("<i>title</i>", "<b>A & B</b>");
        awaitAsked(1);
        EXPECT_THAT(asked().front(), HasSubstr("[<i>title</i>] " + row.body + " " + row.actions));
    }
}

TEST_F(NotifierTest, TellsWhenTheUserChoosesIt) {
    NotificationService notifications(bus, calls);
    show("Done");
    awaitAsked(1);
    notifications.tellOf("ActivationToken", 7, QStringLiteral("of another"));
    notifications.tellOf("ActionInvoked", 7, QStringLiteral("default"));
    notifications.tellOf("ActionInvoked", 0, QStringLiteral("default"));
    notifications.tellOf("ActionInvoked", 1, QStringLiteral("settings"));
    notifications.tellOf("ActivationToken", 1, QStringLiteral("token"));
    notifications.tellOf("ActionInvoked", 1, QStringLiteral("default"));
    notifications.tellOf("ActionInvoked", 1, QStringLiteral("default"));
    awaitThat([&] { return activations.size() == 2; });
    EXPECT_THAT(activations, ElementsAre("token", ""));
}

TEST_F(NotifierTest, KnowsWhatIsNotShownAnyMore) {
    NotificationService notifications(bus, calls);
    show("Done");
    awaitAsked(1);
    notifications.tellOf("NotificationClosed", 7, 2U);
    notifications.tellOf("NotificationClosed", 1, 2U);
    notifications.tellOf("ActionInvoked", 1, QStringLiteral("default"));
    settle(connection);
    notifier->withdraw();
    show("Again");
    awaitAsked(2);
    EXPECT_EQ(asked().size(), 2U);
    EXPECT_THAT(asked().back(), HasSubstr("Notify /org/freedesktop/Notifications [Ovrel] [0]"));
    EXPECT_THAT(activations, IsEmpty());
}

TEST_F(NotifierTest, ShowsTheLatestOnlyWhenSeveralComeAtOnce) {
    NotificationService notifications(bus, calls);
    show("1");
    show("2");
    show("3");
    awaitAsked(1);
    EXPECT_EQ(asked().size(), 1U);
    EXPECT_THAT(asked().front(), HasSubstr("[3]"));
}

TEST_F(NotifierTest, WithdrawsWhatTheServiceIsSlowToShow) {
    NotificationService notifications(bus, calls);
    notifications.waits = true;
    show("Done");
    awaitThat([&] { return !calls.empty(); });
    notifier->withdraw();
    notifications.answer();
    settle(connection);
    EXPECT_THAT(asked(), IsEmpty()); // it was only asked what it can

    show("Done");
    awaitThat([&] { return calls.size() == 2; });
    notifications.answer();
    awaitAsked(1);
    notifier->withdraw();
    show("Again");
    notifier->withdraw();
    settle(connection);
    EXPECT_EQ(asked().size(), 1U);
    notifications.answer();
    awaitAsked(2);
    EXPECT_THAT(asked().back(), HasSubstr("CloseNotification /org/freedesktop/Notifications [1]"));
}

TEST_F(NotifierTest, WithdrawsItsNotificationWhenItEnds) {
    NotificationService notifications(bus, calls);
    show("Done");
    awaitAsked(1);
    notifier.reset();
    awaitAsked(2);
    EXPECT_THAT(asked().back(), HasSubstr("CloseNotification /org/freedesktop/Notifications [1]"));
}

TEST_F(NotifierTest, WithdrawsItAlsoWhenItEndsBeforeTheAnswer) {
    NotificationService notifications(bus, calls);
    show("Done");
    notifications.waits = true;
    awaitThat([&] { return !calls.empty(); });
    notifications.answer();
    awaitAsked(1);
    notifier.reset();
    notifications.answer();
    awaitAsked(2);
    EXPECT_THAT(asked().back(), HasSubstr("CloseNotification /org/freedesktop/Notifications [1]"));
}

TEST_F(NotifierTest, GoesOnAfterARefusal) {
    NotificationService notifications(bus, calls);
    notifications.refuses = true;
    show("1");
    awaitAsked(1);
    notifications.refuses = false;
    show("2");
    awaitAsked(2);
    EXPECT_THAT(asked().back(), HasSubstr("[2]"));
}

TEST_F(NotifierTest, AsksThePortalWhereTheServiceCannotBeReached) {
    FakeService portalService(bus, portal, calls);
    show("Done", "<b>A & B</b>");
    awaitAsked(1);
    const auto choose = [&](const QString& id, const char* action, const QVariantList& parameters) {
        portalService.tell(portalPath, portalInterface, QStringLiteral("ActionInvoked"),
                           {id, QString::fromLatin1(action), QVariant(parameters)});
    };
    const QVariant platform = QVariantMap{{QStringLiteral("activation-token"), QStringLiteral("token")}};
    choose(QStringLiteral("another"), "default", {});
    choose(QStringLiteral("summary"), "settings", {});
    choose(QStringLiteral("summary"), "default", {1, QStringLiteral("text"), platform, QVariantList{2}});
    awaitThat([&] { return !activations.empty(); });
    EXPECT_THAT(activations, ElementsAre("token"));
    show("Again");
    awaitAsked(2);
    notifier->withdraw();
    awaitAsked(3);
    notifier->withdraw();
    settle(connection);
    const std::string of = "org.freedesktop.portal.Notification.";
    EXPECT_THAT(asked(), ElementsAre(of + "AddNotification /org/freedesktop/portal/desktop [summary] "
                                          "[body=<b>A & B</b> default-action=default title=Done]",
                                     of + "AddNotification /org/freedesktop/portal/desktop [summary] "
                                          "[body= default-action=default title=Again]",
                                     of + "RemoveNotification /org/freedesktop/portal/desktop [summary]"));
}

TEST_F(NotifierTest, IsSilentWhereNobodyShowsNotifications) {
    show("Done");
    settle(connection);
    notifier->withdraw();
    settle(connection);
    EXPECT_THAT(activations, IsEmpty());
}

TEST(Notifier, IsSilentWhereNoBusIs) {
    const QDBusConnection none(QStringLiteral("no such connection"));
    Notifier notifier(QStringLiteral("org.example.Program"), none);
    QSignalSpy activations(&notifier, &Notifier::activated);
    notifier.show(QStringLiteral("Done"), {});
    QCoreApplication::processEvents();
    notifier.withdraw();
    QCoreApplication::processEvents();
    EXPECT_EQ(activations.count(), 0);
}

} // namespace

} // namespace ovrel::test
