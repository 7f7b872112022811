/// \file style_painting.h
/// Qt's own controls, one function each. Main thread.
#pragma once

#include "ui/control_painting.h"

#include <QRegion>
#include <QStyleOption>

class QFocusFrame;

namespace ovrel {

// Pixels.
inline constexpr int knobSize = 18;          ///< of a slider
inline constexpr int menuMargin = 5;         ///< around the rows of a menu
inline constexpr int leastScrollHandle = 32; ///< however long the list is

ControlState stateOf(const QStyleOption& option);

/// What lies below the rows of a menu.
void drawMenuGround(QPainter& painter, const QRect& where);
int menuItemWidth(const QStyleOptionMenuItem& item);
void drawMenuItem(QPainter& painter, const QStyleOptionMenuItem& item);

/// The box without its text.
void drawCombo(QPainter& painter, const QStyleOptionComboBox& box);
void drawComboText(QPainter& painter, const QStyleOptionComboBox& box, const QRect& where);

/// \param focused whether the line around the knob is drawn
void drawSlider(QPainter& painter, const QStyleOptionSlider& slider, const QRect& handle, bool focused);

/// Where the handle of a scroll bar moves, which has no buttons.
QRect scrollGroove(const QStyleOptionSlider& bar);
/// What can be dragged of a scroll bar.
QRect scrollHandle(const QStyleOptionSlider& bar);
void drawScrollBar(QPainter& painter, const QStyleOptionSlider& bar, const QRect& handle);

/// Whether nobody knows how far things are.
bool isBusy(const QStyleOptionProgressBar& bar);
/// \param busyPlace 0 … 1, where between its ends the sign of a busy bar is
void drawProgress(QPainter& painter, const QStyleOptionProgressBar& bar, double busyPlace);

/// The ring around whatever the frame belongs to.
void drawFocusFrame(QPainter& painter, const QFocusFrame& frame);

/// The pixels of a rounded rectangle whose edges are hard.
QRegion roundedRegion(const QRect& where, int radius);

} // namespace ovrel
