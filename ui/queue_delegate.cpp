#include "ui/queue_delegate.h"

#include "model/queue_list_model.h"
#include "ui/control_painting.h"
#include "ui/decoration.h"
#include "ui/focus_ring.h"

#include <QPainter>
#include <QWidget>

#include <algorithm>

namespace ovrel {

namespace {

constexpr int tileLeft = 8;
constexpr int tileGap = 12; ///< between tile and text
constexpr int statusRight = 12;
constexpr int tileIcon = 18;

struct Tile {
    Icon icon;
    ColorOf color;
    ColorOf fill;
};

Tile tileOf(QueueListModel::Kind kind) {
    switch (kind) {
    case QueueListModel::Kind::animation: return {Icon::playRectangle, &Colors::violet, &Colors::violetTint};
    case QueueListModel::Kind::copy: return {Icon::twoDocuments, &Colors::accentText, &Colors::accentTint};
    case QueueListModel::Kind::image: break;
    }
    return {Icon::photo, &Colors::secondaryText, &Colors::photoTile};
}

QueueListModel::State stateOf(const QModelIndex& index) {
    return index.data(QueueListModel::state).value<QueueListModel::State>();
}

void drawGround(QPainter& painter, const QStyleOptionViewItem& option, bool current) {
    const Colors& of = colors();
    const QRect row = option.rect;
    // Views take what has no focus for inactive, also in an active window.
    const bool active = option.widget == nullptr || option.widget->isActiveWindow();
    if (option.state.testFlag(QStyle::State_Selected)) {
        drawRounded(painter, row, metrics::buttonRadius, active ? of.selection : of.inset,
                    active ? of.selectionBorder : of.border);
    } else if (option.state.testFlag(QStyle::State_MouseOver)) {
        drawRounded(painter, row, metrics::buttonRadius, of.hover, Qt::transparent);
    }
    if (current) {
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(of.accent, metrics::focusWidth));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(QRectF(row).adjusted(1, 1, -1, -1), metrics::buttonRadius - 1,
                                metrics::buttonRadius - 1);
        painter.restore();
    }
}

void drawStatus(QPainter& painter, QueueListModel::State state, const QRect& where, double spinnerDegrees) {
    switch (state) {
    case QueueListModel::State::waiting: return;
    case QueueListModel::State::processing:
        drawSpinner(painter, QRectF(where).adjusted(1, 1, -1, -1), spinnerDegrees);
        return;
    case QueueListModel::State::success: drawIcon(painter, Icon::checkCircle, where, colors().success); return;
    case QueueListModel::State::failure: drawIcon(painter, Icon::exclamationCircle, where, colors().danger); return;
    }
}

} // namespace

void QueueDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const Colors& of = colors();
    QStyleOptionViewItem row = option;
    row.rect = option.rect.adjusted(0, 0, 0, -metrics::rowGap);
    const bool current = option.state.testFlag(QStyle::State_HasFocus) && keyboardFocusIsSeen(option.widget);
    drawGround(*painter, row, current);

    const auto visual = [&row](const QRect& where) { return QStyle::visualRect(row.direction, row.rect, where); };
    const Tile tile = tileOf(index.data(QueueListModel::kind).value<QueueListModel::Kind>());
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    const int tileSize = besideText(metrics::tile);
    const QRect ground =
        visual({row.rect.left() + tileLeft, row.rect.top() + (row.rect.height() - tileSize) / 2, tileSize, tileSize});
    drawRounded(*painter, ground, metrics::tileRadius, selected ? of.surface : of.*tile.fill, Qt::transparent);
    QRectF icon(0, 0, besideText(tileIcon), besideText(tileIcon));
    icon.moveCenter(QRectF(ground).center());
    drawIcon(*painter, tile.icon, icon, of.*tile.color);

    const QueueListModel::State state = stateOf(index);
    const int statusSize = besideText(metrics::statusIcon);
    const QRect status = visual({row.rect.right() + 1 - statusRight - statusSize,
                                 row.rect.top() + (row.rect.height() - statusSize) / 2, statusSize, statusSize});
    drawStatus(*painter, state, status, spinnerDegrees_);

    const int trailing = statusRight + (state == QueueListModel::State::waiting ? 0 : statusSize + 10);
    const QRect text = visual(row.rect.adjusted(tileLeft + tileSize + tileGap, 0, -trailing, 0));
    const QString second = secondLine(index);
    const QFont nameFont = fontOf(TextStyle::strong);
    const QFont noteFont = fontOf(TextStyle::caption);
    const QFontMetrics name(nameFont);
    const QFontMetrics note(noteFont);
    const int height = name.height() + (second.isEmpty() ? 0 : note.height());
    const int top = text.top() + (text.height() - height) / 2;
    const int leading = static_cast<int>(QStyle::visualAlignment(row.direction, Qt::AlignLeft | Qt::AlignTop));

    painter->save();
    painter->setFont(nameFont);
    painter->setPen(of.text);
    // A file's name reads from left to right in every language.
    painter->setLayoutDirection(Qt::LeftToRight);
    painter->drawText(QRect(text.left(), top, text.width(), name.height()), leading | Qt::TextSingleLine,
                      name.elidedText(index.data(QueueListModel::fileName).toString(), Qt::ElideMiddle, text.width()));
    if (!second.isEmpty()) {
        painter->setLayoutDirection(row.direction);
        painter->setFont(noteFont);
        painter->setPen(state == QueueListModel::State::failure ? of.danger : of.secondaryText);
        painter->drawText(QRect(text.left(), top + name.height(), text.width(), note.height()),
                          leading | Qt::TextSingleLine, note.elidedText(second, Qt::ElideRight, text.width()));
    }
    painter->restore();
}

QSize QueueDelegate::sizeHint(const QStyleOptionViewItem& /*option*/, const QModelIndex& /*index*/) const {
    const int text =
        QFontMetrics(fontOf(TextStyle::strong)).height() + QFontMetrics(fontOf(TextStyle::caption)).height();
    return {160, std::max({metrics::row, text + 10, besideText(metrics::tile) + 10}) + metrics::rowGap};
}

QString QueueDelegate::secondLine(const QModelIndex& index) {
    const QString status = index.data(QueueListModel::text).toString();
    const QString line = status.isEmpty() ? index.data(QueueListModel::note).toString() : status;
    return QString(line).replace(u'\n', u' ');
}

} // namespace ovrel
