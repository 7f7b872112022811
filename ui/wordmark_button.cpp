#include "ui/wordmark_button.h"

#include "ui/button.h"

#include <QEvent>
#include <QStyle>

namespace ovrel {

namespace {

constexpr int gap = 6;
constexpr int chevronIcon = 13;

} // namespace

WordmarkButton::WordmarkButton(QWidget* parent) : PressedByReturn(parent), fade_(new HoverFade(*this)) {
    setText(QStringLiteral("Ovrel"));
    setFont(fontOf(TextStyle::wordmark));
    setPopupMode(InstantPopup);
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
}

QSize WordmarkButton::sizeHint() const {
    const int arrow = menu() == nullptr ? 0 : gap + besideText(chevronIcon);
    return {fontMetrics().horizontalAdvance(text()) + arrow + 2 * padding, fontMetrics().height() + 2};
}

void WordmarkButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const ButtonColors of = buttonColors(ButtonKind::flat, stateOf(*this, *fade_));
    drawRounded(painter, rect(), metrics::tileRadius, of.fill, Qt::transparent);
    painter.setFont(font());
    painter.setPen(of.text);
    const auto visual = [this](const QRect& where) { return style()->visualRect(layoutDirection(), rect(), where); };
    const int width = fontMetrics().horizontalAdvance(text());
    painter.drawText(visual({padding, 0, width, height()}), Qt::AlignCenter, text());
    if (menu() != nullptr) {
        const int chevron = besideText(chevronIcon);
        drawIcon(painter, Icon::chevronDown,
                 visual({padding + width + gap, (height() - chevron) / 2 + 1, chevron, chevron}), of.icon);
    }
}

void WordmarkButton::changeEvent(QEvent* event) {
    if (event->type() == QEvent::StyleChange) {
        setFont(fontOf(TextStyle::wordmark));
    }
    QToolButton::changeEvent(event);
}

} // namespace ovrel
