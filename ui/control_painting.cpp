#include "ui/control_painting.h"

#include <QGuiApplication>

namespace ovrel {

namespace {

ButtonColors disabledButton(ButtonKind kind) {
    const Colors& of = colors();
    switch (kind) {
    case ButtonKind::secondary: return {of.surface, of.border, of.disabled, of.disabled};
    case ButtonKind::flat:
    case ButtonKind::removal: return {Qt::transparent, Qt::transparent, of.disabled, of.disabled};
    case ButtonKind::primary:
    case ButtonKind::tonal:
    case ButtonKind::stop: break;
    }
    return {of.disabledFill, Qt::transparent, of.disabled, of.disabled};
}

QColor clear(QColor color) {
    color.setAlpha(0);
    return color;
}

} // namespace

ButtonColors buttonColors(ButtonKind kind, const ControlState& state) {
    if (!state.enabled)
        return disabledButton(kind);
    const Colors& of = colors();
    const auto between = [&](const QColor& usual, const QColor& hovered, const QColor& pressed) {
        return state.pressed ? pressed : mixed(usual, hovered, state.hover);
    };
    switch (kind) {
    case ButtonKind::primary:
        return {between(of.accentFill, of.accentHover, of.accentPress), Qt::transparent, of.onAccent, of.onAccent};
    case ButtonKind::secondary: return {between(of.surface, of.hover, of.inset), of.controlBorder, of.text, of.text};
    case ButtonKind::tonal:
        return {between(of.accentTint, of.selection, of.selectionBorder), Qt::transparent, of.accentText,
                of.accentText};
    case ButtonKind::flat:
        return {between(clear(of.hover), of.hover, of.inset), Qt::transparent, of.text, of.secondaryText};
    case ButtonKind::removal:
        return {between(clear(of.hover), of.hover, of.inset), Qt::transparent, between(of.text, of.danger, of.danger),
                of.secondaryText};
    case ButtonKind::stop: return {between(of.surface, of.dangerTint, of.dangerTint), of.danger, of.danger, of.danger};
    }
    return {};
}

QFont buttonFont(ButtonKind kind) {
    switch (kind) {
    case ButtonKind::primary:
    case ButtonKind::tonal:
    case ButtonKind::stop: return fontOf(TextStyle::controlTitle);
    case ButtonKind::secondary:
    case ButtonKind::flat:
    case ButtonKind::removal: break;
    }
    return fontOf(TextStyle::strong);
}

int widthOf(const ButtonLabel& label, const QFontMetrics& text) {
    int width = text.size(Qt::TextShowMnemonic, label.text).width();
    if (label.leading != Icon::none)
        width += besideText(metrics::icon) + buttonGap;
    if (label.trailing != Icon::none)
        width += besideText(label.trailingSize) + buttonGap;
    return width;
}

void drawButton(QPainter& painter, const QRectF& where, ButtonKind kind, const ControlState& state,
                const ButtonLabel& label) {
    const ButtonColors of = buttonColors(kind, state);
    drawRounded(painter, where, metrics::buttonRadius, of.fill, of.border);

    painter.save();
    painter.setFont(buttonFont(kind));
    const QFontMetrics text(painter.font());
    const bool mirrored = QGuiApplication::isRightToLeft();
    const double width = widthOf(label, text);
    const auto place = [&](double offset, double itemWidth, double itemHeight) {
        const double left = where.center().x() - width / 2 + (mirrored ? width - offset - itemWidth : offset);
        return QRectF(left, where.center().y() - itemHeight / 2, itemWidth, itemHeight);
    };

    double offset = 0;
    if (label.leading != Icon::none) {
        const int icon = besideText(metrics::icon);
        drawIcon(painter, label.leading, place(offset, icon, icon), of.icon);
        offset += icon + buttonGap;
    }
    const double textWidth = text.size(Qt::TextShowMnemonic, label.text).width();
    painter.setPen(of.text);
    painter.drawText(place(offset, textWidth, where.height()), Qt::AlignCenter | Qt::TextHideMnemonic, label.text);
    offset += textWidth + buttonGap;
    if (label.trailing != Icon::none) {
        const int icon = besideText(label.trailingSize);
        drawIcon(painter, label.trailing, place(offset, icon, icon), of.icon);
    }
    painter.restore();
}

void drawRounded(QPainter& painter, const QRectF& where, double radius, const QColor& fill, const QColor& border) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(fill);
    if (border.alpha() == 0) {
        painter.setPen(Qt::NoPen);
        painter.drawRoundedRect(where, radius, radius);
    } else {
        painter.setPen(QPen(border, 1));
        painter.drawRoundedRect(where.adjusted(0.5, 0.5, -0.5, -0.5), radius - 0.5, radius - 0.5);
    }
    painter.restore();
}

QRectF barGroove(const QRectF& where) {
    return {where.left(), where.top() + (where.height() - barThickness) / 2, where.width(), barThickness};
}

void drawBar(QPainter& painter, const QRectF& where, double share, Qt::LayoutDirection direction) {
    const QRectF groove = barGroove(where);
    drawRounded(painter, groove, barThickness / 2.0, colors().inset, Qt::transparent);
    if (share <= 0) {
        return;
    }
    QRectF done = groove;
    done.setWidth(std::max<double>(barThickness, groove.width() * std::min(share, 1.0))); // round, however little it is
    if (direction == Qt::RightToLeft) {
        done.moveRight(groove.right());
    }
    drawRounded(painter, done, barThickness / 2.0, colors().accent, Qt::transparent);
}

QColor mixed(const QColor& from, const QColor& to, double share) {
    if (share <= 0)
        return from;
    if (share >= 1)
        return to;
    const auto between = [share](int start, int end) { return qRound(start + (end - start) * share); };
    return {between(from.red(), to.red()), between(from.green(), to.green()), between(from.blue(), to.blue()),
            between(from.alpha(), to.alpha())};
}

void drawFocus(QPainter& painter, const QRectF& control, double radius) {
    constexpr double distance = metrics::focusGap + metrics::focusWidth / 2.0;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(colors().accent, metrics::focusWidth));
    painter.drawRoundedRect(control.adjusted(-distance, -distance, distance, distance), radius + distance,
                            radius + distance);
    painter.restore();
}

} // namespace ovrel
