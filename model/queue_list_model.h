/// \file queue_list_model.h
/// The list of images as a view shows it.
#pragma once

#include "model/item_rows.h"
#include "model/model.h"

#include <QAbstractListModel>

#include <cstdint>
#include <string_view>

namespace ovrel {

/// One row for each item of a model, in its order. Main thread.
///
/// When the list changes, the rows that stay remain what they are to a view, which keeps its place and its current row,
/// unless the list is another one altogether or in too many pieces. Whoever is told of one piece of a change sees the
/// rows as they are at that point.
class QueueListModel final : public QAbstractListModel {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QueueListModel)

public:
    /// The display role is the file's name, too, the tool tip role the tool tip, and the accessible text role
    /// everything that a row shows.
    enum Role : int {
        fileName = Qt::UserRole, ///< text: the source without its folders
        kind,                    ///< a Kind
        note,                    ///< text under the file's name; often empty
        state,                   ///< a State
        text,                    ///< the status in words; empty before a run
        toolTip,                 ///< the whole path, and what became of the file in full
        id,                      ///< QByteArray: InputItem::id
    };
    enum class Kind : std::uint8_t { image, animation, copy }; ///< animation: a GIF; copy: an AVIF
    Q_ENUM(Kind)
    enum class State : std::uint8_t { waiting, processing, success, failure };
    Q_ENUM(State)

    /// \param model outlives this
    explicit QueueListModel(const Model& model, QObject* parent = nullptr);
    ~QueueListModel() override;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

    /// \return -1 for an id that is not in the list. In constant time.
    int rowOf(std::string_view id) const;

private:
    void takeItems();
    void take(ItemRows rows);
    void tellOfStatus(const std::string& id);
    void tellOfAll(const QList<int>& roles);

    const InputItem& itemAt(int row) const;
    const FileStatus* statusOf(const InputItem& item) const;
    QString noteOf(const InputItem& item) const;
    QString toolTipOf(const InputItem& item) const;
    QString accessibleTextOf(const InputItem& item) const;

    const Model& model_;
    ItemRows rows_;
    bool isTaking_ = false;

    // On the way from one list to another, the rows are the first of the new one and after them the last of the former.
    ItemRows former_; ///< empty otherwise
    int told_ = 0;    ///< how many are of rows_
    int passed_ = 0;  ///< how many of former_ are not there any more, or among the first
};

} // namespace ovrel
