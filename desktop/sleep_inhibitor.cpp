#include "desktop/sleep_inhibitor.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QObject>
#include <QVariantMap>

#include <array>
#include <cstddef>
#include <utility>

namespace ovrel {

namespace {

QDBusMessage call(const char* service, const QString& path, const char* interface, const char* method,
                  const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(QString::fromLatin1(service), path,
                                                          QString::fromLatin1(interface), QString::fromLatin1(method));
    message.setArguments(arguments);
    return message;
}

/// One way of asking: the question, and how an answer to it is taken back.
struct Service {
    QDBusMessage (*inhibit)(const QString& reason);
    /// \param answer the only argument of the reply
    QDBusMessage (*release)(const QVariant& answer);
};

constexpr const char* portal = "org.freedesktop.portal.Desktop";
constexpr const char* powerManagement = "org.freedesktop.PowerManagement.Inhibit";
constexpr const char* screenSaver = "org.freedesktop.ScreenSaver";

const std::array<Service, 3> services{{
    // XDG Desktop Portal, org.freedesktop.portal.Inhibit, version 1: the flag 4 is about suspending. The request stays
    // in force until it is closed.
    {[](const QString& reason) {
         constexpr quint32 suspend = 4;
         return call(portal, QStringLiteral("/org/freedesktop/portal/desktop"), "org.freedesktop.portal.Inhibit",
                     "Inhibit", {QString(), suspend, QVariantMap{{QStringLiteral("reason"), reason}}});
     },
     [](const QVariant& answer) {
         return call(portal, answer.value<QDBusObjectPath>().path(), "org.freedesktop.portal.Request", "Close", {});
     }},
    {[](const QString& reason) {
         return call(powerManagement, QStringLiteral("/org/freedesktop/PowerManagement/Inhibit"), powerManagement,
                     "Inhibit", {QStringLiteral("Ovrel"), reason});
     },
     [](const QVariant& answer) {
         return call(powerManagement, QStringLiteral("/org/freedesktop/PowerManagement/Inhibit"), powerManagement,
                     "UnInhibit", {answer});
     }},
    // Idle Inhibition Service, draft
    {[](const QString& reason) {
         return call(screenSaver, QStringLiteral("/org/freedesktop/ScreenSaver"), screenSaver, "Inhibit",
                     {QStringLiteral("Ovrel"), reason});
     },
     [](const QVariant& answer) {
         return call(screenSaver, QStringLiteral("/org/freedesktop/ScreenSaver"), screenSaver, "UnInhibit", {answer});
     }},
}};

/// What one caller asked for. It lives until it has ended and no answer is under way, so that a late one can be taken
/// back.
class Inhibition : public std::enable_shared_from_this<Inhibition> {
public:
    Inhibition(QDBusConnection bus, QString reason) : bus_(std::move(bus)), reason_(std::move(reason)) {}

    void ask(std::size_t index) {
        // Without a bus a question never ends, not even in an error.
        if (index >= services.size() || isReleased_ || !bus_.isConnected()) {
            return;
        }
        auto* const watcher = new QDBusPendingCallWatcher(bus_.asyncCall(services.at(index).inhibit(reason_)));
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                         [self = shared_from_this(), watcher, index] {
                             watcher->deleteLater();
                             self->answered(index, watcher->reply());
                         });
    }

    void release() {
        isReleased_ = true;
        if (!granted_.path().isEmpty()) {
            bus_.send(granted_);
        }
    }

private:
    void answered(std::size_t index, const QDBusMessage& reply) {
        if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().size() != 1) {
            ask(index + 1);
            return;
        }
        granted_ = services.at(index).release(reply.arguments().constFirst());
        if (isReleased_) {
            release();
        }
    }

    QDBusConnection bus_;
    QString reason_;
    QDBusMessage granted_; ///< takes back what was granted; without a path before that
    bool isReleased_ = false;
};

} // namespace

SleepInhibitor desktopSleepInhibitor() {
    return desktopSleepInhibitor(QDBusConnection::sessionBus());
}

SleepInhibitor desktopSleepInhibitor(const QDBusConnection& bus) {
    return [bus](const QString& reason) {
        const auto inhibition = std::make_shared<Inhibition>(bus, reason);
        inhibition->ask(0);
        return std::shared_ptr<void>(nullptr, [inhibition](void*) { inhibition->release(); });
    };
}

} // namespace ovrel
