#include "model/queue_list_model.h"

#include "model/path_text.h"

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace ovrel {

namespace {

/// Beyond these a view is done sooner when it begins anew.
constexpr std::size_t changesLimit = 1000;

QueueListModel::Kind kindOf(const InputItem& item) {
    if (item.isGIF()) {
        return QueueListModel::Kind::animation;
    }
    return item.isAVIF() ? QueueListModel::Kind::copy : QueueListModel::Kind::image;
}

QueueListModel::State stateOf(const FileStatus* status) {
    if (status == nullptr) {
        return QueueListModel::State::waiting;
    }
    if (status->succeeded()) {
        return QueueListModel::State::success;
    }
    return status->failed() ? QueueListModel::State::failure : QueueListModel::State::processing;
}

} // namespace

QueueListModel::QueueListModel(const Model& model, QObject* parent) : QAbstractListModel(parent), model_(model) {
    takeItems();
    connect(&model, &Model::itemsChanged, this, &QueueListModel::takeItems);
    connect(&model, &Model::statusChanged, this, &QueueListModel::tellOfStatus);
    connect(&model, &Model::statusesCleared, this, [this] {
        tellOfAll({state, text, toolTip, Qt::ToolTipRole, Qt::AccessibleTextRole});
    });
    connect(&model, &Model::languageChanged, this, [this] {
        tellOfAll({note, text, toolTip, Qt::ToolTipRole, Qt::AccessibleTextRole});
    });
}

QueueListModel::~QueueListModel() = default;

int QueueListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : told_ + former_.size() - passed_;
}

QVariant QueueListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const InputItem& item = itemAt(index.row());
    const FileStatus* const status = statusOf(item);
    switch (role) {
    case Qt::DisplayRole:
    case fileName: return textOf(item.url.filename());
    case kind: return QVariant::fromValue(kindOf(item));
    case note: return noteOf(item);
    case state: return QVariant::fromValue(stateOf(status));
    case text: return status == nullptr ? QString() : status->text(model_.language());
    case Qt::ToolTipRole:
    case toolTip: return toolTipOf(item);
    case Qt::AccessibleTextRole: return accessibleTextOf(item);
    case id: return QByteArray::fromStdString(item.id());
    default: return {};
    }
}

int QueueListModel::rowOf(std::string_view itemId) const {
    if (const int row = rows_.rowOf(itemId); row >= 0 && row < told_) {
        return row;
    }
    const int row = former_.rowOf(itemId);
    return row < passed_ ? -1 : told_ + row - passed_;
}

void QueueListModel::takeItems() {
    if (std::exchange(isTaking_, true)) {
        return; // whoever was told of a part has changed the list again; what was begun is completed first
    }
    do {
        take(ItemRows(model_.items()));
    } while (!rows_.items().isSharedWith(model_.items()));
    isTaking_ = false;
}

void QueueListModel::take(ItemRows rows) {
    const std::optional<std::vector<RowChange>> changes = changesBetween(rows_, rows, changesLimit);
    if (!changes) {
        beginResetModel();
        rows_ = std::move(rows);
        told_ = rows_.size();
        endResetModel();
        return;
    }
    former_ = std::exchange(rows_, std::move(rows));
    told_ = 0;
    for (const RowChange& change : *changes) {
        if (change.removed > 0) {
            beginRemoveRows({}, told_, told_ + change.removed - 1);
            passed_ += change.removed;
            endRemoveRows();
        }
        if (change.inserted > 0) {
            beginInsertRows({}, told_, told_ + change.inserted - 1);
            told_ += change.inserted;
            endInsertRows();
        }
        told_ += change.kept;
        passed_ += change.kept;
    }
    former_ = ItemRows();
    passed_ = 0;
}

void QueueListModel::tellOfStatus(const std::string& itemId) {
    if (const int row = rowOf(itemId); row >= 0) {
        Q_EMIT dataChanged(index(row), index(row), {state, text, toolTip, Qt::ToolTipRole, Qt::AccessibleTextRole});
    }
}

void QueueListModel::tellOfAll(const QList<int>& roles) {
    if (rowCount() > 0) {
        Q_EMIT dataChanged(index(0), index(rowCount() - 1), roles);
    }
}

const InputItem& QueueListModel::itemAt(int row) const {
    return row < told_ ? rows_.at(row) : former_.at(row - told_ + passed_);
}

const FileStatus* QueueListModel::statusOf(const InputItem& item) const {
    const auto found = model_.statuses().find(item.id());
    return found == model_.statuses().end() ? nullptr : &found->second;
}

QString QueueListModel::noteOf(const InputItem& item) const {
    switch (kindOf(item)) {
    case Kind::copy: return model_.t(QStringLiteral("Копирование без изменений"));
    case Kind::animation: return model_.t(QStringLiteral("С сохранением анимации"));
    case Kind::image: break;
    }
    return {};
}

QString QueueListModel::accessibleTextOf(const InputItem& item) const {
    QStringList parts{textOf(item.url.filename()), QString::fromStdString(lowerCaseExtension(item.url)).toUpper()};
    if (const FileStatus* const status = statusOf(item)) {
        parts.append(status->text(model_.language()));
    } else if (const QString special = noteOf(item); !special.isEmpty()) {
        parts.append(special);
    }
    return parts.join(QStringLiteral(", "));
}

QString QueueListModel::toolTipOf(const InputItem& item) const {
    const FileStatus* const status = statusOf(item);
    const QString path = textOf(item.url);
    return status == nullptr ? path : path + QLatin1Char('\n') + status->text(model_.language());
}

} // namespace ovrel
