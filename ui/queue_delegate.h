/// \file queue_delegate.h
/// How one image of the list is drawn.
#pragma once

#include <QStyledItemDelegate>

namespace ovrel {

/// For a view over a QueueListModel. Main thread.
class QueueDelegate final : public QStyledItemDelegate {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QueueDelegate)

public:
    using QStyledItemDelegate::QStyledItemDelegate;
    ~QueueDelegate() override = default;

    /// By which the sign of an image in hand has turned.
    void setSpinnerDegrees(double degrees) { spinnerDegrees_ = degrees; }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    /// The line under the file's name: what became of it, or what is special about it; often empty.
    static QString secondLine(const QModelIndex& index);

private:
    double spinnerDegrees_ = 0.0;
};

} // namespace ovrel
