/// \file bus_call.h
/// What all calls over the user's bus have in common. Any thread.
#pragma once

#include <QDBusMessage>
#include <QString>
#include <QVariant>
#include <QVariantList>

#include <optional>

namespace ovrel {

// XDG Desktop Portal
inline const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
inline const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");

QDBusMessage busCall(const QString& service, const QString& path, const QString& interface, const QString& method,
                     const QVariantList& arguments = {});

/// The only argument of a reply; nothing for an error or for a reply of another shape.
std::optional<QVariant> onlyAnswer(const QDBusMessage& reply);

} // namespace ovrel
