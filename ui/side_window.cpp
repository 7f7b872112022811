#include "ui/side_window.h"

#include "ui/accessible_role.h"
#include "widgets/placement.h"

#include <QKeyEvent>

namespace ovrel {

SideWindow::SideWindow(const QString& title) : QWidget(nullptr, Qt::Window) {
    setWindowTitle(title);
    setAccessibleRole(*this, QAccessible::Window);
    setAttribute(Qt::WA_QuitOnClose, false);
}

void SideWindow::open() {
    if (!placed_)
        placeInMiddleOfScreen(*this);
    placed_ = true;
    if (isMinimized())
        showNormal();
    else
        show();
    raise();
    activateWindow();
}

void SideWindow::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Cancel) || event->matches(QKeySequence::Close))
        close();
    else
        QWidget::keyPressEvent(event);
}

} // namespace ovrel
