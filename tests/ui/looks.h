/// \file looks.h
/// What is seen of a window, pixel by pixel. Main thread.
#pragma once

#include "ui/theme.h"

#include <QImage>
#include <QPoint>
#include <QRect>
#include <QWidget>

namespace ovrel::test {

/// Another theme as long as this lives.
class ThemeDuring {
public:
    explicit ThemeDuring(const Theme& wanted) : before_(theme()) { applyTheme(wanted); }
    ~ThemeDuring() { applyTheme(before_); }
    ThemeDuring(const ThemeDuring&) = delete;
    ThemeDuring& operator=(const ThemeDuring&) = delete;

private:
    Theme before_;
};

/// Where a widget is in its window.
QRect placeOf(const QWidget& widget);

/// What is seen in the place of a widget, with whatever lies under and over it.
QImage pictureOf(QWidget& widget);
/// The same of a part.
/// \param where in the widget's coordinates
QImage pictureOf(QWidget& widget, const QRect& where);

/// The color in a widget's place.
/// \param where in the widget's coordinates; outside of it, too
QColor colorAt(QWidget& widget, QPoint where);

/// Whether two colors are the same in the eight bits that are shown; tokens are finer.
bool same(const QColor& one, const QColor& other);

/// Whether any pixel has just this color.
bool holds(const QImage& picture, const QColor& color);

/// Gives a widget the keyboard as Tab does.
void focusByKeyboard(QWidget& widget);
/// A button of the mouse is pressed, wherever that is.
void useTheMouse();

/// Puts the pointer somewhere.
/// \param where in the widget's coordinates
void pointAt(QWidget& widget, QPoint where);
/// Puts it into the middle of a widget.
void pointAt(QWidget& widget);
/// Puts it into a corner of the window, where nothing is.
void pointAtNothing(QWidget& window);

} // namespace ovrel::test
