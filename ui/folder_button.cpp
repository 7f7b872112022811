#include "ui/folder_button.h"

#include "ui/button.h"

#include <QStyle>

namespace ovrel {

namespace {

constexpr int padding = 10;
constexpr int tile = 34;
constexpr int folderIcon = 20;
constexpr int chevronIcon = 15;
constexpr int gap = 12;

} // namespace

FolderButton::FolderButton(QWidget* parent) : PressedByReturn(parent), fade_(new HoverFade(*this)) {
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void FolderButton::setLines(const QString& title, const QString& explanation) {
    // What begins with "&" in a folder's name is no shortcut.
    setText(QString(title).replace(u'&', QStringLiteral("&&")));
    setAccessibleName(title);
    title_ = title;
    setAccessibleDescription(explanation);
    explanation_ = explanation;
    update();
}

QSize FolderButton::sizeHint() const {
    const QFontMetrics title(fontOf(TextStyle::controlTitle));
    const QFontMetrics caption(fontOf(TextStyle::caption));
    return {280, std::max(besideText(tile), title.height() + caption.height()) + 2 * padding};
}

QSize FolderButton::minimumSizeHint() const {
    return {160, sizeHint().height()};
}

void FolderButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const Colors& of = colors();
    const ControlState state = stateOf(*this, *fade_);
    const ButtonColors button = buttonColors(ButtonKind::secondary, state);
    drawRounded(painter, rect(), metrics::folderRadius, button.fill, button.border);

    const auto visual = [this](const QRect& where) { return style()->visualRect(layoutDirection(), rect(), where); };
    const int tileSize = besideText(tile);
    const QRect ground = visual({padding, (height() - tileSize) / 2, tileSize, tileSize});
    drawRounded(painter, ground, metrics::tileRadius, state.enabled ? of.accentTint : of.disabledFill, Qt::transparent);
    QRectF folder(0, 0, besideText(folderIcon), besideText(folderIcon));
    folder.moveCenter(QRectF(ground).center());
    drawIcon(painter, Icon::folderFilled, folder, state.enabled ? of.accent : of.disabled);

    const int chevronSize = besideText(chevronIcon);
    const QRect chevron =
        visual({width() - padding - 3 - chevronSize, (height() - chevronSize) / 2, chevronSize, chevronSize});
    drawIcon(painter, Icon::chevronRight, chevron, state.enabled ? of.secondaryText : of.disabled);

    const int left = padding + tileSize + gap;
    const int textWidth = width() - left - padding - 3 - chevronSize - 8;
    const auto line = [&](const QString& text, TextStyle style, const QColor& color, int top, Qt::TextElideMode elide) {
        painter.setFont(fontOf(style));
        painter.setPen(state.enabled ? color : of.disabled);
        const QFontMetrics font(painter.font());
        const QRect where = visual({left, top, textWidth, font.height()});
        painter.drawText(where, static_cast<int>(QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft)),
                         font.elidedText(text, elide, textWidth));
        return top + font.height();
    };
    const int lines =
        QFontMetrics(fontOf(TextStyle::controlTitle)).height() + QFontMetrics(fontOf(TextStyle::caption)).height();
    const int second = line(title_, TextStyle::controlTitle, of.text, (height() - lines) / 2, Qt::ElideMiddle);
    line(explanation_, TextStyle::caption, of.secondaryText, second, Qt::ElideRight);
}

} // namespace ovrel
