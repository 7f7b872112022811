#include "model/path_text.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;

TEST(PathText, ComesBackAsItWasForEveryNameInUtf8) {
    for (const std::string name : {"/a b/photo.png", "/снимок.png", "/100%25.png", "/e\u0301.png", "/\uFEFFbom.png",
                                   "/line\nbreak", "/😀.gif", ""}) {
        EXPECT_EQ(pathOf(textOf(fs::path(name))).native(), name);
        EXPECT_EQ(pathOf(QUrl::fromLocalFile(textOf(fs::path(name)))).native(), name);
    }
}

TEST(PathText, ShowsBytesThatAreNoTextAsReplacements) {
    EXPECT_EQ(textOf(fs::path("/a\xFF.png")).toStdString(), "/a\uFFFD.png");
}

TEST(PathText, OfBytesIsTheBytesAgainUnlessTheyAreNoUtf8) {
    for (const std::string_view bytes : {"отпуск", "", "\uFEFFbom", "😀", "\uFFFD", "\uFFFE"}) {
        EXPECT_EQ(textOf(bytes).toStdString(), bytes);
    }
    for (const std::string_view bytes : {"caf\xE9", "\xF0\x9F", "\xC0\x80", "\xED\xA0\x80"}) {
        EXPECT_NE(textOf(bytes).toStdString(), bytes);
    }
}

TEST(PathText, TakesAddressesByTheByte) {
    EXPECT_EQ(pathOf(QUrl(QStringLiteral("file:///a%FF%20b/%2525.png"))).native(), "/a\xFF b/%25.png");
    EXPECT_EQ(pathOf(QUrl(QStringLiteral("file:///a#b"))).native(), "/a");
    EXPECT_EQ(pathOf(QUrl(QStringLiteral("file:///a%23b%3Fc"))).native(), "/a#b?c");
}

TEST(PathText, GivesEveryFileAnAddressThatLeadsBackToIt) {
    for (const std::string name : {"/a b/photo.png", "/снимок.png", "/100%25.png", "/a\xFF\xC3(.png",
                                   "/?query#fragment", "//two", "/../up", "/line\nbreak", "/a:b@c\\d", "/[1]", "/"}) {
        EXPECT_EQ(pathOf(urlOf(name)).native(), name);
        EXPECT_TRUE(urlOf(name).isLocalFile());
        EXPECT_TRUE(urlOf(name).host().isEmpty());
    }
    EXPECT_EQ(urlOf("/a\xFF b").toEncoded().toStdString(), "file:///a%FF%20b");
}

} // namespace

} // namespace ovrel::test
