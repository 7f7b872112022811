#include "platform/file_order.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <string>
#include <vector>

namespace ovrel::test {

namespace {

using testing::ElementsAreArray;

std::vector<std::string> sorted(std::vector<std::string> names) {
    const FileOrder order;
    std::stable_sort(names.begin(), names.end(), [&](const std::string& left, const std::string& right) {
        return order.key(left) < order.key(right);
    });
    return names;
}

/// Each row is in order already; it is sorted from back to front.
const std::vector<std::vector<std::string>> orderedNames = {
    {"img2.png", "img10.png"},
    {"img1.png", "IMG2.png", "img3.png", "Img20.png"},
    {"2024/1.jpg", "2024/2.jpg", "2024/11.jpg", "2025/1.jpg"},
    {"a.jpg", "B.jpg", "c.jpg", "D.jpg"},
    {"cote.jpg", "coté.jpg", "côte.jpg", "côté.jpg", "cotf.jpg"},
    {"zebra.jpg", "Ёлка.jpg", "Жук.jpg", "яблоко.jpg"},
    {"Ёжик.jpg", "Ёлка.jpg", "ель.jpg", "ельник.jpg", "жук.jpg"},
    {"99999999999999999999999.jpg", "100000000000000000000000.jpg"},
    {"a b.jpg", "a.jpg", "a/b.jpg", "a1.jpg", "ab.jpg"},
    {"ascii.jpg", "文字.jpg", "\xff\xfe.jpg"},
};

std::vector<std::string> backwards(std::vector<std::string> names) {
    std::reverse(names.begin(), names.end());
    return names;
}

TEST(FileOrder, IsThatOfAFileBrowser) {
    for (const std::vector<std::string>& names : orderedNames) {
        EXPECT_THAT(sorted(backwards(names)), ElementsAreArray(names));
    }
}

TEST(FileOrder, TellsNoCaseApart) {
    const FileOrder order;
    EXPECT_EQ(order.key("photo.jpg"), order.key("PHOTO.JPG"));
    EXPECT_EQ(order.key("ёлка.jpg"), order.key("ЁЛКА.JPG"));
}

TEST(FileOrder, TellsAccentsApart) {
    const FileOrder order;
    EXPECT_NE(order.key("cafe.jpg"), order.key("café.jpg"));
    EXPECT_EQ(order.key("caf\u00e9.jpg"), order.key("cafe\u0301.jpg")) << "composed and decomposed";
}

TEST(FileOrder, TakesBytesThatAreNotUtf8AsTheReplacementCharacter) {
    const FileOrder order;
    EXPECT_EQ(order.key("a\xff.jpg"), order.key("a\xef\xbf\xbd.jpg"));
    EXPECT_LT(order.key("a.jpg"), order.key("a\xff.jpg"));
}

TEST(FileOrder, MakesKeysOfAnyLength) {
    const FileOrder order;
    const std::string folder = "/" + std::string(4000, 'x');
    EXPECT_LT(order.key(folder + "/img2.jpg"), order.key(folder + "/img10.jpg"));
    EXPECT_LT(order.key(""), order.key("a"));
}

TEST(FileOrder, DoesNotDependOnTheLocaleOfTheProcess) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    for (const char* locale : {"C", "C.UTF-8", "tr_TR.UTF-8", "sv_SE.UTF-8"}) {
        SCOPED_TRACE(locale);
        if (std::setlocale(LC_ALL, locale) != nullptr) {
            EXPECT_THAT(sorted({"img10.png", "IMG2.png"}), ElementsAreArray({"IMG2.png", "img10.png"}));
            EXPECT_THAT(sorted({"z.jpg", "ä.jpg"}), ElementsAreArray({"ä.jpg", "z.jpg"}));
        }
    }
    std::setlocale(LC_ALL, before.c_str());
}

} // namespace

} // namespace ovrel::test
