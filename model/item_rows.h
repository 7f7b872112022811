/// \file item_rows.h
/// A list of items by row and by id, and what turns one list into another.
#pragma once

#include "conversion/input_item.h"

#include <QList>

#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ovrel {

/// A snapshot of a list in which no id occurs twice. Shares its items with whoever has them, too.
class ItemRows {
public:
    ItemRows() = default;
    explicit ItemRows(QList<InputItem> items);

    const QList<InputItem>& items() const { return items_; }
    int size() const { return static_cast<int>(items_.size()); }
    const InputItem& at(int row) const { return items_.at(row); }
    /// \return -1 for an id that is not in the list. In constant time.
    int rowOf(std::string_view id) const;

private:
    QList<InputItem> items_;                         ///< never written, since that would move the ids
    std::unordered_map<std::string_view, int> rows_; ///< by ids in items_
};

/// One place where two lists differ: there, rows are removed, then others inserted; the rows after that are in both.
struct RowChange {
    int removed = 0;
    int inserted = 0;
    int kept = 0;

    bool operator==(const RowChange&) const = default;
};

/// The way from one list to another, from the first row to the last. In linear time.
/// \param limit of places; more of them are not worth the telling
/// \return nothing when the rows that are in both stand in another order, when there are none, or beyond the limit
std::optional<std::vector<RowChange>> changesBetween(const ItemRows& before, const ItemRows& after, std::size_t limit);

} // namespace ovrel
