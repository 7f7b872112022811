#include "ui/announcement.h"

#include <QAccessible>
#include <QString>
#include <QWidget>

namespace ovrel {

void announce(QWidget& widget, const QString& text) {
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    QAccessibleAnnouncementEvent event(&widget, text);
    QAccessible::updateAccessibility(&event);
#else
    // Qt has no announcements yet; screen readers read a changed name of an alert, as they read a status line.
    Q_UNUSED(text)
    QAccessibleEvent changed(&widget, QAccessible::NameChanged);
    QAccessible::updateAccessibility(&changed);
    QAccessibleEvent alert(&widget, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
#endif
}

} // namespace ovrel
