#include "conversion/input_item.h"

#include <gtest/gtest.h>

#include <unordered_set>

namespace ovrel::test {

namespace {

std::size_t hashOf(const InputItem& item) {
    return std::hash<InputItem>()(item);
}

TEST(InputItem, IsIdentifiedByTheBytesOfItsPath) {
    EXPECT_EQ((InputItem{"/photos/a.jpg", ""}.id()), "/photos/a.jpg");
    EXPECT_EQ((InputItem{"photos//./a.jpg", "sub"}.id()), "photos//./a.jpg");
    EXPECT_EQ((InputItem{"\xff.jpg", ""}.id()), "\xff.jpg");
}

TEST(InputItem, KnowsTheExtensionOfAFileInLowerCase) {
    struct Row {
        const char* file;
        const char* extension;
    };
    const Row rows[] = {
        {"a.jpg", "jpg"},
        {"PHOTO.JPG", "jpg"},
        {"a.b.Png", "png"},
        {"/x.gif/a.webp", "webp"},
        {"a", ""},
        {"a.", ""},
        {".jpg", ""},
        {"/photos.jpg/a", ""},
        {"\xff.\xfe", "\xfe"},
        {"a.ПНГ", "ПНГ"},
        {"..jpg", "jpg"},
        {"", ""},
        {"a.jpg/", ""},
        {"a.IJKLMI", "ijklmi"},
    };
    for (const auto& [file, extension] : rows) {
        EXPECT_EQ(lowerCaseExtension(file), extension) << file;
    }
}

TEST(InputItem, IsAGifOrAnAvifByItsName) {
    for (const char* file : {"a.gif", "a.GIF", "a.b.Gif", "\xff.gif"}) {
        EXPECT_TRUE((InputItem{file, ""}.isGIF())) << file;
        EXPECT_FALSE((InputItem{file, ""}.isAVIF())) << file;
    }
    for (const char* file : {"a.avif", "a.AVIF", "a.gif.avif"}) {
        EXPECT_TRUE((InputItem{file, ""}.isAVIF())) << file;
        EXPECT_FALSE((InputItem{file, ""}.isGIF())) << file;
    }
    for (const char* file : {"gif", "avif", ".gif", ".avif", "a.gif.png", "a.avifs", "x.gif/a", ""}) {
        EXPECT_FALSE((InputItem{file, ""}.isGIF())) << file;
        EXPECT_FALSE((InputItem{file, ""}.isAVIF())) << file;
    }
}

TEST(InputItem, IsEqualByPathAndDirectory) {
    const InputItem item{"/photos/sub/a.jpg", "sub"};
    EXPECT_EQ(item, (InputItem{"/photos/sub/a.jpg", "sub"}));
    EXPECT_NE(item, (InputItem{"/photos/sub/a.jpg", ""}));
    EXPECT_NE(item, (InputItem{"/photos/sub/b.jpg", "sub"}));
}

TEST(InputItem, HasAHashOfItsPathAndDirectory) {
    const InputItem item{"/photos/sub/a.jpg", "sub"};
    EXPECT_EQ(hashOf(item), hashOf({"/photos/sub/a.jpg", "sub"}));
    EXPECT_NE(hashOf(item), hashOf({"/photos/sub/a.jpg", ""}));
    EXPECT_NE(hashOf(item), hashOf({"/photos/sub/b.jpg", "sub"}));
    EXPECT_NE(hashOf({"a", "b"}), hashOf({"b", "a"}));
}

TEST(InputItem, HasOneHashForEqualItems) {
    const InputItem item{"/photos/sub/a.jpg", ""};
    const InputItem writtenOtherwise{"/photos//sub/a.jpg", ""};
    ASSERT_EQ(item, writtenOtherwise);
    EXPECT_EQ(hashOf(item), hashOf(writtenOtherwise));
    const std::unordered_set<InputItem> set{item, writtenOtherwise};
    EXPECT_EQ(set.size(), 1U);
}

} // namespace

} // namespace ovrel::test
