#include "desktop/notifier.h"

#include "desktop/bus_call.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QPointer>
#include <QVariantMap>

#include <utility>

namespace ovrel {

namespace {

QString service() {
    return QStringLiteral("org.freedesktop.Notifications");
}
QString servicePath() {
    return QStringLiteral("/org/freedesktop/Notifications");
}
QString portalInterface() {
    return QStringLiteral("org.freedesktop.portal.Notification");
}
QString defaultAction() {
    return QStringLiteral("default");
}
/// What the portal calls our notification; the next one of this name replaces it.
QString portalId() {
    return QStringLiteral("summary");
}

QDBusMessage serviceCall(const QString& method, const QVariantList& arguments = {}) {
    return busCall(service(), servicePath(), service(), method, arguments);
}

QDBusMessage portalCall(const QString& method, const QVariantList& arguments) {
    return busCall(portalService, portalPath, portalInterface(), method, arguments);
}

QDBusMessage closing(quint32 id) {
    return serviceCall(QStringLiteral("CloseNotification"), {id});
}

/// Calls back with the reply, even when nobody is left who waited for it.
template <typename Callback>
void whenAnswered(const QDBusPendingCall& call, Callback callback) {
    auto* const watcher = new QDBusPendingCallWatcher(call);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, callback = std::move(callback)] {
        watcher->deleteLater();
        callback(onlyAnswer(watcher->reply()).value_or(QVariant()));
    });
}

} // namespace

Notifier::Notifier(QString applicationId, QObject* parent)
    : Notifier(std::move(applicationId), QDBusConnection::sessionBus(), parent) {}

Notifier::Notifier(QString applicationId, QDBusConnection bus, QObject* parent)
    : QObject(parent), applicationId_(std::move(applicationId)), bus_(std::move(bus)) {}

Notifier::~Notifier() {
    remove();
}

void Notifier::show(const QString& title, const QString& body) {
    next_ = Text{title, body};
    isWanted_ = true;
    proceed();
}

void Notifier::withdraw() {
    next_.reset();
    isWanted_ = false;
    proceed();
}

/// At most one question is under way, so that answers cannot overtake each other.
void Notifier::proceed() {
    if (isAsking_) {
        return;
    }
    if (!next_) {
        if (!isWanted_) {
            remove();
        }
        return;
    }
    if (!bus_.isConnected()) { // without one a question never ends, not even in an error
        next_.reset();
        return;
    }
    listen();
    isAsking_ = true;
    // Each time, since another service may have come.
    whenAnswered(bus_.asyncCall(serviceCall(QStringLiteral("GetCapabilities"))),
                 [self = QPointer(this)](const QVariant& answer) {
                     if (!self) {
                         return;
                     }
                     self->isAsking_ = false;
                     const std::optional<Text> text = std::exchange(self->next_, std::nullopt);
                     if (!text) {
                         self->proceed();
                     } else if (answer.isValid()) {
                         self->notify(*text, answer.toStringList());
                     } else {
                         self->notifyThroughPortal(*text);
                     }
                 });
}

void Notifier::notify(const Text& text, const QStringList& capabilities) {
    // Desktop Notifications Specification 1.2, sections 4 and 9
    const bool hasMarkup = capabilities.contains(QStringLiteral("body-markup"));
    const bool hasActions = capabilities.contains(QStringLiteral("actions"));
    const QDBusMessage call =
        serviceCall(QStringLiteral("Notify"), {QStringLiteral("Ovrel"), id_, applicationId_, text.title,
                                               hasMarkup ? text.body.toHtmlEscaped() : text.body,
                                               hasActions ? QStringList{defaultAction(), QString()} : QStringList(),
                                               QVariantMap{{QStringLiteral("desktop-entry"), applicationId_}}, -1});
    isAsking_ = true;
    whenAnswered(bus_.asyncCall(call), [self = QPointer(this), bus = bus_](const QVariant& answer) {
        const quint32 id = answer.toUInt();
        if (self) {
            self->isAsking_ = false;
            self->id_ = id;
            self->proceed();
        } else if (id != 0) {
            bus.send(closing(id));
        }
    });
}

void Notifier::notifyThroughPortal(const Text& text) {
    // XDG Desktop Portal, org.freedesktop.portal.Notification, version 1
    id_ = 0; // the service is gone, and what it showed with it
    isInPortal_ = true;
    bus_.send(portalCall(QStringLiteral("AddNotification"),
                         {portalId(), QVariantMap{{QStringLiteral("title"), text.title},
                                                  {QStringLiteral("body"), text.body},
                                                  {QStringLiteral("default-action"), defaultAction()}}}));
}

void Notifier::remove() {
    if (const quint32 id = std::exchange(id_, 0); id != 0) {
        bus_.send(closing(id));
    }
    if (std::exchange(isInPortal_, false)) {
        bus_.send(portalCall(QStringLiteral("RemoveNotification"), {portalId()}));
    }
}

void Notifier::listen() {
    if (std::exchange(isListening_, true)) {
        return;
    }
    bus_.connect(service(), servicePath(), service(), QStringLiteral("ActivationToken"), this,
                 SLOT(takeToken(quint32, QString)));
    bus_.connect(service(), servicePath(), service(), QStringLiteral("ActionInvoked"), this,
                 SLOT(takeAction(quint32, QString)));
    bus_.connect(service(), servicePath(), service(), QStringLiteral("NotificationClosed"), this,
                 SLOT(takeEnd(quint32, quint32)));
    bus_.connect(portalService, portalPath, portalInterface(), QStringLiteral("ActionInvoked"), this,
                 SLOT(takePortalAction(QString, QString, QVariantList)));
}

void Notifier::takeToken(quint32 id, const QString& token) {
    if (id != 0 && id == id_) {
        token_ = token;
    }
}

void Notifier::takeAction(quint32 id, const QString& action) {
    if (id != 0 && id == id_ && action == defaultAction()) {
        Q_EMIT activated(std::exchange(token_, {}));
    }
}

void Notifier::takeEnd(quint32 id, quint32 /*reason*/) {
    if (id == id_) {
        id_ = 0;
    }
}

void Notifier::takePortalAction(const QString& id, const QString& action, const QVariantList& parameters) {
    if (id != portalId() || action != defaultAction() || !isInPortal_) {
        return;
    }
    // Version 2 adds what the platform has to say.
    QString token;
    for (const QVariant& parameter : parameters) {
        if (parameter.userType() == qMetaTypeId<QDBusArgument>()) {
            const auto argument = parameter.value<QDBusArgument>();
            if (argument.currentSignature() == QStringLiteral("a{sv}")) {
                token = qdbus_cast<QVariantMap>(argument).value(QStringLiteral("activation-token")).toString();
            }
        }
    }
    isInPortal_ = false; // it goes away when it is chosen
    Q_EMIT activated(token);
}

} // namespace ovrel
