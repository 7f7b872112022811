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

void keepWithinScreen(QWidget& window) {
    constexpr int frame = 40; // a guess: a desktop tells of its frame only once the window is there
    window.resize(window.size().boundedTo(window.screen()->availableSize() - QSize(0, frame)));
}

} // namespace ovrel
