#include "ui/side_window.h"

#include <QApplication>
#include <QKeyEvent>
#include <QScreen>

namespace ovrel {

SideWindow::SideWindow(const QString& title) : QWidget(nullptr, Qt::Window) {
    setWindowTitle(title);
    setAttribute(Qt::WA_QuitOnClose, false);
}

void SideWindow::open() {
    if (!placed_)
        centre();
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

void SideWindow::centre() {
    const QWidget* const active = QApplication::activeWindow();
    QScreen* const where = active ? active->screen() : QGuiApplication::primaryScreen();
    setScreen(where);
    const QRect available = where->availableGeometry();
    const QSize fitting = size().boundedTo(available.size());
    resize(fitting);
    move(available.center() - QRect(QPoint(), fitting).center());
}

} // namespace ovrel
