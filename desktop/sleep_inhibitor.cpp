#include "desktop/sleep_inhibitor.h"

#include "desktop/bus_call.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QObject>
#include <QVariantMap>

#include <array>
#include <cstddef>
#include <optional>
#include <utility>

namespace ovrel {

namespace {

/// One way of asking: the question, and how an answer to it is taken back.
struct Service {
    QDBusMessage (*inhibit)(const QString& reason);
    /// \param answer the only argument of the reply
    QDBusMessage (*release)(const QVariant& answer);
};

const QString powerManagement = QStringLiteral("org.freedesktop.PowerManagement.Inhibit");
const QString powerManagementPath = QStringLiteral("/org/freedesktop/PowerManagement/Inhibit");
const QString screenSaver = QStringLiteral("org.freedesktop.ScreenSaver");
const QString screenSaverPath = QStringLiteral("/org/freedesktop/ScreenSaver");
const QString inhibit = QStringLiteral("Inhibit");
const QString unInhibit = QStringLiteral("UnInhibit");

const std::array<Service, 3> services{{
    // XDG Desktop Portal, org.freedesktop.portal.Inhibit, version 1: the flag 4 is about suspending. The request stays
    // in force until it is closed.
    {[](const QString& reason) {
         constexpr quint32 suspend = 4;
         return busCall(portalService, portalPath, QStringLiteral("org.freedesktop.portal.Inhibit"), inhibit,
                        {QString(), suspend, QVariantMap{{QStringLiteral("reason"), reason}}});
     },
     [](const QVariant& answer) {
         return busCall(portalService, answer.value<QDBusObjectPath>().path(),
                        QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Close"));
     }},
    {[](const QString& reason) {
         return busCall(powerManagement, powerManagementPath, powerManagement, inhibit,
                        {QStringLiteral("Ovrel"), reason});
     },
     [](const QVariant& answer) {
         return busCall(powerManagement, powerManagementPath, powerManagement, unInhibit, {answer});
     }},
    // Idle Inhibition Service, draft
    {[](const QString& reason) {
         return busCall(screenSaver, screenSaverPath, screenSaver, inhibit, {QStringLiteral("Ovrel"), reason});
     },
     [](const QVariant& answer) { return busCall(screenSaver, screenSaverPath, screenSaver, unInhibit, {answer}); }},
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
        const std::optional<QVariant> answer = onlyAnswer(reply);
        if (!answer) {
            ask(index + 1);
            return;
        }
        granted_ = services.at(index).release(*answer);
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
