#include "desktop/bus_call.h"

namespace ovrel {

QDBusMessage busCall(const QString& service, const QString& path, const QString& interface, const QString& method,
                     const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    return message;
}

std::optional<QVariant> onlyAnswer(const QDBusMessage& reply) {
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().size() != 1) {
        return std::nullopt;
    }
    return reply.arguments().constFirst();
}

} // namespace ovrel
