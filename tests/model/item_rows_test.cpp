#include "model/item_rows.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace ovrel::test {

namespace {

/// One item for each letter.
ItemRows rowsOf(const std::string& letters) {
    QList<InputItem> items;
    for (const char letter : letters) {
        items.append({std::string(1, letter), {}});
    }
    return ItemRows(items);
}

TEST(ItemRows, AreFoundByTheirIds) {
    const ItemRows rows = rowsOf("abc");
    EXPECT_EQ(rows.size(), 3);
    EXPECT_EQ(rows.rowOf("a"), 0);
    EXPECT_EQ(rows.rowOf("c"), 2);
    EXPECT_EQ(rows.rowOf("d"), -1);
    EXPECT_EQ(ItemRows().rowOf("a"), -1);
}

TEST(ItemRows, TellWhereListsDiffer) {
    struct Row {
        std::string before;
        std::string after;
        std::vector<RowChange> changes;
    };
    const std::vector<Row> rows = {
        {"abc", "abc", {{0, 0, 3}}},
        {"abc", "ab", {{0, 0, 2}, {1, 0, 0}}},
        {"abc", "bc", {{1, 0, 2}}},
        {"abc", "ac", {{0, 0, 1}, {1, 0, 1}}},
        {"abc", "xabc", {{0, 1, 3}}},
        {"abc", "abcxy", {{0, 0, 3}, {0, 2, 0}}},
        {"abc", "axc", {{0, 0, 1}, {1, 1, 1}}},
        {"abcdef", "bxye", {{1, 0, 1}, {2, 2, 1}, {1, 0, 0}}},
        {"abcdef", "xcy", {{2, 1, 1}, {3, 1, 0}}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.before + " > " + row.after);
        const auto changes = changesBetween(rowsOf(row.before), rowsOf(row.after), 9);
        ASSERT_TRUE(changes);
        EXPECT_EQ(*changes, row.changes);
    }
}

TEST(ItemRows, TellNothingWhereTheListIsAnother) {
    for (const auto& [before, after] : std::vector<std::pair<std::string, std::string>>{
             {"", ""}, {"", "abc"}, {"abc", ""}, {"abc", "xyz"}, {"abc", "acb"}, {"abc", "cab"}}) {
        EXPECT_FALSE(changesBetween(rowsOf(before), rowsOf(after), 9)) << before << " > " << after;
    }
}

TEST(ItemRows, TellNoMorePlacesThanTheLimit) {
    for (const auto& [before, after] :
         std::vector<std::pair<std::string, std::string>>{{"abcdefg", "bdf"}, {"bdf", "abcdefg"}}) {
        EXPECT_TRUE(changesBetween(rowsOf(before), rowsOf(after), 4)) << before;
        EXPECT_FALSE(changesBetween(rowsOf(before), rowsOf(after), 3)) << before;
    }
}

} // namespace

} // namespace ovrel::test
