#include "widgets/placement.h"

#include <QApplication>
#include <QScreen>

namespace ovrel {

void placeInMiddleOfScreen(QWidget& window) {
    const QWidget* const active = QApplication::activeWindow();
    QScreen* const screen = active ? active->screen() : QGuiApplication::primaryScreen();
    window.setScreen(screen);
    const QRect available = screen->availableGeometry();
    window.resize(window.size().boundedTo(available.size()));
    window.move(available.center() - window.rect().center());
}

} // namespace ovrel
