#include "tests/ui/looks.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QTest>
#include <QWindow>

namespace ovrel::test {

QRect placeOf(const QWidget& widget) {
    return {widget.mapTo(widget.window(), QPoint()), widget.size()};
}

QImage pictureOf(QWidget& widget) {
    return pictureOf(widget, widget.rect());
}

QImage pictureOf(QWidget& widget, const QRect& where) {
    return widget.window()->grab(where.translated(placeOf(widget).topLeft())).toImage();
}

QColor colorAt(QWidget& widget, QPoint where) {
    return pictureOf(widget, {where, QSize(1, 1)}).pixelColor(0, 0);
}

bool same(const QColor& one, const QColor& other) {
    return one.rgba() == other.rgba();
}

bool holds(const QImage& picture, const QColor& color) {
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (same(picture.pixelColor(x, y), color)) {
                return true;
            }
        }
    }
    return false;
}

void focusByKeyboard(QWidget& widget) {
    QObject nobody;
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Tab, {});
    QCoreApplication::sendEvent(&nobody, &press);
    widget.setFocus(Qt::TabFocusReason);
}

void useTheMouse() {
    QObject nobody;
    QMouseEvent press(QEvent::MouseButtonPress, {}, {}, Qt::LeftButton, Qt::LeftButton, {});
    QCoreApplication::sendEvent(&nobody, &press);
}

void pointAt(QWidget& widget, QPoint where) {
    QTest::mouseMove(widget.window()->windowHandle(), widget.mapTo(widget.window(), where));
}

void pointAt(QWidget& widget) {
    pointAt(widget, widget.rect().center());
}

void pointAtNothing(QWidget& window) {
    pointAt(window, {1, 1});
}

} // namespace ovrel::test
