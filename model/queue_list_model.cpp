#include "model/queue_list_model.h"

#include "model/path_text.h"

#include <variant>

namespace ovrel {

namespace {

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
    return parent.isValid() ? 0 : static_cast<int>(items_.size());
}

QVariant QueueListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const InputItem& item = items_.at(index.row());
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

QHash<int, QByteArray> QueueListModel::roleNames() const {
    return {{Qt::DisplayRole, "display"},
            {fileName, "fileName"},
            {kind, "kind"},
            {note, "note"},
            {state, "state"},
            {text, "text"},
            {toolTip, "toolTip"},
            {id, "id"}};
}

int QueueListModel::rowOf(std::string_view itemId) const {
    const auto found = rows_.find(itemId);
    return found == rows_.end() ? -1 : found->second;
}

void QueueListModel::takeItems() {
    beginResetModel();
    rows_.clear();
    items_ = model_.items();
    rows_.reserve(static_cast<std::size_t>(items_.size()));
    for (int row = 0; row < rowCount(); ++row) {
        rows_.emplace(items_.at(row).id(), row);
    }
    endResetModel();
}

void QueueListModel::tellOfStatus(const std::string& itemId) {
    if (const int row = rowOf(itemId); row >= 0) {
        Q_EMIT dataChanged(index(row), index(row), {state, text, toolTip, Qt::ToolTipRole, Qt::AccessibleTextRole});
    }
}

void QueueListModel::tellOfAll(const QList<int>& roles) {
    if (!items_.isEmpty()) {
        Q_EMIT dataChanged(index(0), index(rowCount() - 1), roles);
    }
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
    return status != nullptr && status->failed() ? path + QLatin1Char('\n') + status->text(model_.language()) : path;
}

} // namespace ovrel
