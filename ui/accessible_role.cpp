#include "ui/accessible_role.h"

#include <QAccessibleWidget>
#include <QVariant>

namespace ovrel {

namespace {

constexpr const char* roleProperty = "ovrelAccessibleRole";

QAccessibleInterface* makeAccessibleOfRole(const QString& /*className*/, QObject* object) {
    if (!object->isWidgetType())
        return nullptr;
    const QVariant role = object->property(roleProperty);
    return role.isValid()
               ? new QAccessibleWidget(static_cast<QWidget*>(object), static_cast<QAccessible::Role>(role.toInt()))
               : nullptr;
}

} // namespace

void setAccessibleRole(QWidget& widget, QAccessible::Role role) {
    [[maybe_unused]] static const bool installed = [] {
        QAccessible::installFactory(makeAccessibleOfRole);
        return true;
    }();
    widget.setProperty(roleProperty, static_cast<int>(role));
}

} // namespace ovrel
