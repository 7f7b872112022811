#include "cli/display_text.h"

#include <gtest/gtest.h>

#include <clocale>

namespace ovrel::cli {
namespace {

/// Character widths as ovrel-cli sees them.
class DisplayText : public testing::Test {
protected:
    void SetUp() override { ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr); }
    void TearDown() override { std::setlocale(LC_CTYPE, "C"); }
};

TEST_F(DisplayText, ReplacesWhatATerminalCouldObey) {
    const struct {
        std::string bytes;
        std::string shown;
    } rows[] = {
        {"photo.jpg", "photo.jpg"},
        {"отпуск 日本 👩‍👧.jpg", "отпуск 日本 👩‍👧.jpg"},
        {"a\nb\tc\x1b[2J\x7f.jpg", "a�b�c�[2J�.jpg"},
        {"a\xC2\x9B"
         "2J.jpg",
         "a�2J.jpg"},
        {"gpj.\xE2\x80\xAE"
         "exe",
         "gpj.�exe"},
        {"a\xE2\x80\xA8"
         "b",
         "a�b"},
        {"caf\xE9.png", "caf�.png"},
        {"\xED\xA0\x80", "���"},
        {std::string("a\0b", 3), "a�b"},
        {"", ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(displayable(row.bytes), row.shown);
    }
}

TEST_F(DisplayText, CountsColumns) {
    EXPECT_EQ(columnsOf("photo"), 5U);
    EXPECT_EQ(columnsOf("фото…"), 5U);
    EXPECT_EQ(columnsOf("日本"), 4U);
    EXPECT_EQ(columnsOf("e\xCC\x81"), 1U); // a combining accent
}

TEST_F(DisplayText, IsCutWithAnEllipsis) {
    const struct {
        std::string text;
        std::size_t columns;
        std::string kept;
    } rows[] = {
        {"photo", 5, "photo"}, {"photo", 4, "pho…"},    {"photo", 1, "…"},      {"photo", 0, ""},
        {"фото", 3, "фо…"},    {"日本語", 6, "日本語"}, {"日本語", 5, "日本…"}, {"日本語", 4, "日…"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(cut(row.text, row.columns), row.kept) << row.text << " in " << row.columns;
    }
}

} // namespace
} // namespace ovrel::cli
