#include "ui/queue_view.h"

#include "model/queue_list_model.h"
#include "ui/endless_animation.h"
#include "ui/queue_delegate.h"
#include "ui/theme.h"
#include "ui/tool_tip.h"

#include <QHelpEvent>
#include <QScopedValueRollback>
#include <QToolTip>

#include <algorithm>
#include <vector>

namespace ovrel {

namespace {

std::vector<std::string> idsOf(const QItemSelection& selection) {
    std::vector<std::string> ids;
    for (const QModelIndex& index : selection.indexes()) {
        ids.push_back(index.data(QueueListModel::id).toByteArray().toStdString());
    }
    return ids;
}

/// The rows as ranges, since a selection of single rows is slow.
QItemSelection rangesOf(const QAbstractItemModel& model, std::vector<int> rows) {
    std::ranges::sort(rows);
    QItemSelection ranges;
    for (std::size_t first = 0; first < rows.size();) {
        std::size_t last = first;
        while (last + 1 < rows.size() && rows[last + 1] == rows[last] + 1) {
            ++last;
        }
        ranges.append(QItemSelectionRange(model.index(rows[first], 0), model.index(rows[last], 0)));
        first = last + 1;
    }
    return ranges;
}

} // namespace

QueueView::QueueView(Model& model, QWidget* parent)
    : QListView(parent)
    , model_(model)
    , rows_(new QueueListModel(model, this))
    , delegate_(new QueueDelegate(this))
    , spinner_(new EndlessAnimation(*this, motion::spinnerTurn)) {
    setModel(rows_);
    setItemDelegate(delegate_);
    setUniformItemSizes(true);
    setSelectionMode(ExtendedSelection);
    setEditTriggers(NoEditTriggers);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // Its place is the margin beside the rows, whether it has anything to scroll or not.
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setFrameShape(NoFrame);
    setMouseTracking(true);
    setTextElideMode(Qt::ElideMiddle);
    setViewportMargins(6, 6, 0, 0);
    viewport()->setAutoFillBackground(false);
    // What is dropped belongs to the area around the list, whether the list is shown or not.
    setAcceptDrops(false);

    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, &QueueView::takeUsersSelection);
    connect(&model_, &Model::selectionChanged, this, &QueueView::takeModelsSelection);
    connect(rows_, &QAbstractItemModel::modelReset, this, &QueueView::takeModelsSelection);
    connect(&model_, &Model::activeItemChanged, this, &QueueView::followActiveItem);

    connect(spinner_, &EndlessAnimation::valueChanged, this, &QueueView::turnSpinner);
}

QueueView::~QueueView() = default;

void QueueView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::StyleChange) {
        scheduleDelayedItemsLayout();
    }
    QListView::changeEvent(event);
}

bool QueueView::viewportEvent(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        // As plain text: a file may be called like a piece of HTML.
        const auto* help = static_cast<QHelpEvent*>(event);
        const QModelIndex index = indexAt(help->pos());
        const QString text = index.data(QueueListModel::toolTip).toString();
        QToolTip::showText(help->globalPos(), text.isEmpty() ? QString() : plainToolTip(text), viewport(),
                           visualRect(index));
        return true;
    }
    return QListView::viewportEvent(event);
}

void QueueView::takeUsersSelection(const QItemSelection& selected, const QItemSelection& deselected) {
    if (adopting_) {
        return;
    }
    const QScopedValueRollback adopting(adopting_, true);
    if (!deselected.isEmpty()) {
        model_.select(idsOf(deselected), false);
    }
    if (!selected.isEmpty()) {
        model_.select(idsOf(selected), true);
    }
}

void QueueView::takeModelsSelection() {
    if (adopting_) {
        return;
    }
    const QScopedValueRollback adopting(adopting_, true);
    std::vector<int> rows;
    for (const std::string& id : model_.selection()) {
        if (const int row = rows_->rowOf(id); row >= 0) {
            rows.push_back(row);
        }
    }
    selectionModel()->select(rangesOf(*rows_, std::move(rows)), QItemSelectionModel::ClearAndSelect);
}

void QueueView::followActiveItem() {
    spinner_->setWanted(model_.activeItem().has_value());
    if (!model_.activeItem()) {
        return;
    }
    // Only if nobody looks at something else: the one before is in view.
    const int row = rows_->rowOf(model_.activeItem()->id());
    const QModelIndex before = rows_->index(std::max(row - 1, 0));
    if (viewport()->rect().intersects(visualRect(before))) {
        scrollTo(rows_->index(row));
    }
}

void QueueView::turnSpinner() {
    delegate_->setSpinnerDegrees(360 * spinner_->value());
    if (model_.activeItem()) {
        const QRect row = visualRect(rows_->index(rows_->rowOf(model_.activeItem()->id())));
        viewport()->update(row);
    }
}

} // namespace ovrel
