#include "ui/text_label.h"

#include "ui/tool_tip.h"

#include <QEvent>
#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

namespace ovrel {

QColor colorOf(TextColor color) {
    switch (color) {
    case TextColor::primary: return colors().text;
    case TextColor::secondary: return colors().secondaryText;
    case TextColor::accent: return colors().accentText;
    case TextColor::danger: return colors().danger;
    }
    return colors().text;
}

TextLabel::TextLabel(TextStyle style, TextColor color, QWidget* parent) : QLabel(parent), style_(style), color_(color) {
    setTextFormat(Qt::PlainText);
    takeTheme();
}

void TextLabel::setTextStyle(TextStyle style) {
    if (style_ == style)
        return;
    style_ = style;
    takeTheme();
}

void TextLabel::setTextColor(TextColor color) {
    if (color_ == color)
        return;
    color_ = color;
    takeTheme();
}

void TextLabel::changeEvent(QEvent* event) {
    if (event->type() == QEvent::StyleChange)
        takeTheme();
    QLabel::changeEvent(event);
}

void TextLabel::takeTheme() {
    setFont(fontOf(style_));
    QPalette own = palette();
    own.setColor(QPalette::Active, QPalette::WindowText, colorOf(color_));
    own.setColor(QPalette::Inactive, QPalette::WindowText, colorOf(color_));
    own.setColor(QPalette::Disabled, QPalette::WindowText, colors().disabled);
    setPalette(own);
}

QSize ElidedLabel::minimumSizeHint() const {
    return {fontMetrics().horizontalAdvance(QChar(u'…')), QLabel::minimumSizeHint().height()};
}

void ElidedLabel::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width());
    style()->drawItemText(&painter, contentsRect(),
                          static_cast<int>(QStyle::visualAlignment(layoutDirection(), alignment())), palette(),
                          isEnabled(), shown, foregroundRole());
}

bool ElidedLabel::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip || !toolTip().isEmpty())
        return TextLabel::event(event);
    const bool cut = fontMetrics().horizontalAdvance(text()) > contentsRect().width();
    if (cut)
        QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), plainToolTip(text()), this);
    else
        QToolTip::hideText();
    return true;
}

} // namespace ovrel
