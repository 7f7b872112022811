/// \file control_painting.h
/// How the parts that several controls have in common are drawn. Main thread.
#pragma once

#include "ui/icons.h"
#include "ui/theme.h"

#include <QColor>
#include <QPainter>
#include <QRectF>
#include <QString>

#include <cstdint>

namespace ovrel {

/// What a button means to its window.
enum class ButtonKind : std::uint8_t {
    primary,   ///< the one thing to do next
    secondary, ///< outlined
    tonal,     ///< tinted, without an outline
    flat,      ///< text alone
    removal,   ///< flat, and red under the pointer
    stop,      ///< ends what is going on
};

/// What the pointer and the program do to a control.
struct ControlState {
    bool enabled = true;
    bool pressed = false;
    double hover = 0.0; ///< 0 … 1: how far the pointer's effect has faded in
};

struct ButtonColors {
    QColor fill;
    QColor border; ///< transparent for none
    QColor text;
    QColor icon;
};

ButtonColors buttonColors(ButtonKind kind, const ControlState& state);

/// Text in the weight of a kind.
QFont buttonFont(ButtonKind kind);

/// What stands on a button.
struct ButtonLabel {
    QString text;
    Icon leading = Icon::none;
    Icon trailing = Icon::none;
    int trailingSize = metrics::icon; ///< pixels, beside text of the usual size
};

/// Between an icon and the text beside it.
inline constexpr int buttonGap = 9;

/// Width of icons, text and gaps.
int widthOf(const ButtonLabel& label, const QFontMetrics& text);

/// The button's shape, with the label in its middle.
void drawButton(QPainter& painter, const QRectF& where, ButtonKind kind, const ControlState& state,
                const ButtonLabel& label);

/// A filled shape with an outline of one pixel inside its edge.
/// \param border transparent for none
void drawRounded(QPainter& painter, const QRectF& where, double radius, const QColor& fill, const QColor& border);

inline constexpr int barThickness = 6; ///< pixels, of what shows how far something is

/// What a bar fills: a line in the middle of `where`.
QRectF barGroove(const QRectF& where);
/// How far something is.
/// \param share of it that is done, 0 … 1
/// \param direction in which it grows
void drawBar(QPainter& painter, const QRectF& where, double share, Qt::LayoutDirection direction);

/// A color between two others.
/// \param share of `to`, 0 … 1
QColor mixed(const QColor& from, const QColor& to, double share);

/// A line around a control that has the keyboard.
void drawFocus(QPainter& painter, const QRectF& control, double radius);

} // namespace ovrel
