#include "ui/style_painting.h"

#include "ui/focus_ring.h"

#include <QBitmap>
#include <QFocusFrame>
#include <QPainterPath>
#include <QStyle>

#include <algorithm>

namespace ovrel {

namespace {

constexpr int menuIndent = 9; // of what stands in a row
constexpr int menuGap = 9;    // between icon and text
constexpr int shortcutGap = 28;
constexpr int grooveThickness = 4;
constexpr int scrollHandleThickness = 6;
constexpr int scrollHandleMargin = 4;

QRect visual(const QStyleOption& option, const QRect& where) {
    return QStyle::visualRect(option.direction, option.rect, where);
}

bool hasIconColumn(const QStyleOptionMenuItem& item) {
    return item.maxIconWidth > 0 || item.checkType != QStyleOptionMenuItem::NotCheckable || item.menuHasCheckableItems;
}

int textIndent(const QStyleOptionMenuItem& item) {
    return menuMargin + menuIndent + (hasIconColumn(item) ? besideText(metrics::icon) + menuGap : 0);
}

QPainterPath roundedPath(const QRect& where, int radius) {
    QPainterPath path;
    path.addRoundedRect(where, radius, radius);
    return path;
}

/// A third of the groove is filled.
void drawBusy(QPainter& painter, const QRectF& groove, double place) {
    QRectF chunk = groove;
    chunk.setWidth(groove.width() / 3);
    chunk.translate((groove.width() - chunk.width()) * place, 0);
    drawRounded(painter, chunk, barThickness / 2.0, colors().accent, Qt::transparent);
}

} // namespace

ControlState stateOf(const QStyleOption& option) {
    return {.enabled = option.state.testFlag(QStyle::State_Enabled),
            .pressed = option.state.testFlag(QStyle::State_Sunken),
            .hover = option.state.testFlag(QStyle::State_MouseOver) ? 1.0 : 0.0};
}

void drawMenuGround(QPainter& painter, const QRect& where) {
    painter.save();
    // Where nothing composes windows, a soft edge would be black. A hard one lies below it.
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.fillPath(roundedPath(where, metrics::buttonRadius), colors().border);
    painter.restore();
    drawRounded(painter, where, metrics::buttonRadius, colors().surface, colors().border);
}

int menuItemWidth(const QStyleOptionMenuItem& item) {
    const qsizetype tab = item.text.indexOf(u'\t');
    const QString name = tab < 0 ? item.text : item.text.left(tab);
    int width = textIndent(item) + item.fontMetrics.size(Qt::TextShowMnemonic, name).width() + menuIndent + menuMargin;
    if (tab >= 0)
        width += shortcutGap + item.fontMetrics.horizontalAdvance(item.text.mid(tab + 1));
    return width;
}

void drawMenuItem(QPainter& painter, const QStyleOptionMenuItem& item) {
    const Colors& of = colors();
    if (item.menuItemType == QStyleOptionMenuItem::Separator) {
        painter.fillRect(
            QRect(item.rect.left() + menuMargin + 4, item.rect.center().y(), item.rect.width() - 2 * menuMargin - 8, 1),
            of.border);
        return;
    }
    const bool enabled = item.state.testFlag(QStyle::State_Enabled);
    const QRect row = item.rect.adjusted(menuMargin, 0, -menuMargin, 0);
    if (enabled && item.state.testFlag(QStyle::State_Selected))
        drawRounded(painter, row, 6, of.accentTint, Qt::transparent);

    painter.save();
    const int iconSize = besideText(metrics::icon);
    const QRect icon = visual(item, {row.left() + menuIndent, row.center().y() - iconSize / 2, iconSize, iconSize});
    if (item.checked)
        drawIcon(painter, Icon::check, icon, enabled ? of.accentText : of.disabled);
    else if (!item.icon.isNull())
        item.icon.paint(&painter, icon, Qt::AlignCenter, enabled ? QIcon::Normal : QIcon::Disabled);

    const qsizetype tab = item.text.indexOf(u'\t');
    const QRect text = visual(item, {item.rect.left() + textIndent(item), row.top(),
                                     row.right() - menuIndent - item.rect.left() - textIndent(item) + 1, row.height()});
    painter.setFont(item.font);
    painter.setPen(enabled ? of.text : of.disabled);
    const auto leading = QStyle::visualAlignment(item.direction, Qt::AlignLeft | Qt::AlignVCenter);
    painter.drawText(text, static_cast<int>(leading) | Qt::TextHideMnemonic | Qt::TextSingleLine,
                     tab < 0 ? item.text : item.text.left(tab));
    if (tab >= 0) {
        const auto trailing = QStyle::visualAlignment(item.direction, Qt::AlignRight | Qt::AlignVCenter);
        painter.setPen(enabled ? of.secondaryText : of.disabled);
        painter.drawText(text, static_cast<int>(trailing) | Qt::TextSingleLine, item.text.mid(tab + 1));
    }
    painter.restore();
}

void drawCombo(QPainter& painter, const QStyleOptionComboBox& box) {
    const ControlState state = stateOf(box);
    const ButtonColors of = buttonColors(ButtonKind::secondary, state);
    drawRounded(painter, box.rect, metrics::buttonRadius, of.fill, of.border);
    const int chevron = besideText(metrics::smallIcon);
    const QRect where(box.rect.right() - 11 - chevron, box.rect.center().y() - chevron / 2 + 1, chevron, chevron);
    drawIcon(painter, Icon::chevronDown, visual(box, where),
             state.enabled ? colors().secondaryText : colors().disabled);
}

void drawComboText(QPainter& painter, const QStyleOptionComboBox& box, const QRect& where) {
    painter.save();
    const QFont font = fontOf(TextStyle::strong);
    painter.setFont(font);
    painter.setPen(box.state.testFlag(QStyle::State_Enabled) ? colors().text : colors().disabled);
    painter.drawText(where, static_cast<int>(QStyle::visualAlignment(box.direction, Qt::AlignLeft | Qt::AlignVCenter)),
                     QFontMetrics(font).elidedText(box.currentText, Qt::ElideRight, where.width()));
    painter.restore();
}

void drawSlider(QPainter& painter, const QStyleOptionSlider& slider, const QRect& handle, bool focused) {
    const Colors& of = colors();
    const bool enabled = slider.state.testFlag(QStyle::State_Enabled);
    const bool hovered =
        slider.activeSubControls.testFlag(QStyle::SC_SliderHandle) && slider.state.testFlag(QStyle::State_MouseOver);

    QRectF groove(slider.rect.left(), 0, slider.rect.width(), grooveThickness);
    groove.moveTop(slider.rect.top() + (slider.rect.height() - grooveThickness) / 2.0);
    QRectF knob(0, 0, knobSize, knobSize);
    knob.moveCenter({handle.center().x() + 0.5, groove.center().y()});

    QRectF filled = groove;
    if (slider.upsideDown) // grows from the right
        filled.setLeft(knob.center().x());
    else
        filled.setRight(knob.center().x());
    drawRounded(painter, groove, grooveThickness / 2.0, enabled ? of.track : of.disabledFill, Qt::transparent);
    drawRounded(painter, filled, grooveThickness / 2.0, enabled ? of.accent : of.disabled, Qt::transparent);

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(!enabled ? of.surface : hovered ? of.accentTint : of.knob);
    painter.setPen(QPen(enabled ? of.accent : of.disabled, 2));
    painter.drawEllipse(knob.adjusted(1, 1, -1, -1));
    painter.restore();
    if (focused)
        drawFocus(painter, knob, knob.width() / 2);
}

QRect scrollGroove(const QStyleOptionSlider& bar) {
    return bar.orientation == Qt::Vertical ? bar.rect.adjusted(0, scrollHandleMargin, 0, -scrollHandleMargin)
                                           : bar.rect.adjusted(scrollHandleMargin, 0, -scrollHandleMargin, 0);
}

QRect scrollHandle(const QStyleOptionSlider& bar) {
    const bool vertical = bar.orientation == Qt::Vertical;
    const QRect groove = scrollGroove(bar);
    const int room = vertical ? groove.height() : groove.width();
    const int range = bar.maximum - bar.minimum;
    if (range <= 0)
        return groove;
    const int least = std::min(leastScrollHandle, room);
    const auto share = static_cast<qint64>(bar.pageStep) * room / (static_cast<qint64>(range) + bar.pageStep);
    const int length = std::clamp(static_cast<int>(share), least, room);
    const int start =
        QStyle::sliderPositionFromValue(bar.minimum, bar.maximum, bar.sliderPosition, room - length, bar.upsideDown);
    return vertical ? QRect(groove.left(), groove.top() + start, groove.width(), length)
                    : QRect(groove.left() + start, groove.top(), length, groove.height());
}

void drawScrollBar(QPainter& painter, const QStyleOptionSlider& bar, const QRect& handle) {
    if (bar.maximum <= bar.minimum)
        return;
    const bool vertical = bar.orientation == Qt::Vertical;
    QRectF shown = handle;
    if (vertical) {
        const bool left = bar.direction == Qt::RightToLeft;
        shown = QRectF(left ? handle.left() + scrollHandleMargin
                            : handle.right() + 1 - scrollHandleMargin - scrollHandleThickness,
                       handle.top(), scrollHandleThickness, handle.height());
    } else {
        shown = QRectF(handle.left(), handle.bottom() + 1 - scrollHandleMargin - scrollHandleThickness, handle.width(),
                       scrollHandleThickness);
    }
    const bool used =
        bar.state.testFlag(QStyle::State_MouseOver) && bar.activeSubControls.testFlag(QStyle::SC_ScrollBarSlider);
    drawRounded(painter, shown, scrollHandleThickness / 2.0, used ? colors().controlBorder : colors().scrollBar,
                Qt::transparent);
}

bool isBusy(const QStyleOptionProgressBar& bar) {
    return bar.maximum <= bar.minimum;
}

void drawProgress(QPainter& painter, const QStyleOptionProgressBar& bar, double busyPlace) {
    if (isBusy(bar)) {
        drawBar(painter, bar.rect, 0, bar.direction);
        drawBusy(painter, barGroove(bar.rect), busyPlace);
        return;
    }
    const double share = static_cast<double>(bar.progress - bar.minimum) / (bar.maximum - bar.minimum);
    drawBar(painter, bar.rect, share, bar.direction);
}

void drawFocusFrame(QPainter& painter, const QFocusFrame& frame) {
    if (frame.widget() == nullptr || !keyboardFocusIsSeen(frame.widget()))
        return;
    const FocusShape shape = focusShapeOf(*frame.widget());
    constexpr int margin = metrics::focusGap + metrics::focusWidth;
    drawFocus(painter, QRectF(shape.where).translated(margin, margin), shape.radius);
}

QRegion roundedRegion(const QRect& where, int radius) {
    QBitmap pixels(where.size());
    pixels.clear();
    QPainter(&pixels).fillPath(roundedPath(QRect(QPoint(), where.size()), radius), Qt::color1);
    return QRegion(pixels).translated(where.topLeft());
}

} // namespace ovrel
