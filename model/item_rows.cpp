#include "model/item_rows.h"

#include <utility>

namespace ovrel {

ItemRows::ItemRows(QList<InputItem> items) : items_(std::move(items)) {
    rows_.reserve(static_cast<std::size_t>(items_.size()));
    for (int row = 0; row < size(); ++row) {
        rows_.emplace(at(row).id(), row);
    }
}

int ItemRows::rowOf(std::string_view id) const {
    const auto found = rows_.find(id);
    return found == rows_.end() ? -1 : found->second;
}

std::optional<std::vector<RowChange>> changesBetween(const ItemRows& before, const ItemRows& after, std::size_t limit) {
    std::vector<RowChange> changes(1);
    int passed = 0; // rows of the former list
    int kept = 0;
    const auto changeHere = [&]() -> RowChange& {
        return changes.back().kept == 0 ? changes.back() : changes.emplace_back();
    };
    for (const InputItem& item : after.items()) {
        const bool isNext = passed < before.size() && before.at(passed).id() == item.id(); // most are
        const int row = isNext ? passed : before.rowOf(item.id());
        if (row < 0) {
            ++changeHere().inserted;
        } else if (row < passed) {
            return std::nullopt;
        } else {
            if (row > passed) {
                changeHere().removed += row - passed;
            }
            ++changes.back().kept;
            ++kept;
            passed = row + 1;
        }
        if (changes.size() > limit) {
            return std::nullopt;
        }
    }
    if (passed < before.size()) {
        changeHere().removed += before.size() - passed;
    }
    return kept > 0 && changes.size() <= limit ? std::optional(std::move(changes)) : std::nullopt;
}

} // namespace ovrel
