#include "remote/publisher.h"
#include "tests/remote/settings_text.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace ovrel::test {

namespace {

using Pairs = std::map<std::string, std::string>;

Pairs pairsOf(const BannerSettings& settings) {
    Pairs pairs;
    for (auto pair = settings.values().begin(); pair != settings.values().end(); ++pair) {
        pairs[pair.key().toStdString()] = pair.value().toStdString();
    }
    return pairs;
}

/// A file that begins with the switch and has one version of so many times `character`.
QByteArray withVersion(const char* character, int count) {
    return "enabled=true\nversion=" + QByteArray(character).repeated(count);
}

} // namespace

TEST(BannerSettings, TakesOneLineForAFile) {
    const BannerSettings settings = parse("enabled = true");
    EXPECT_TRUE(settings.enabled());
    EXPECT_EQ(settings.version(), QStringLiteral("1"));
    EXPECT_EQ(pairsOf(settings), (Pairs{{"enabled", "true"}}));
}

TEST(BannerSettings, KeepsEveryPair) {
    const BannerSettings settings = parse("settings_version=1\nenabled=false\nversion=2024-5\nother=anything");
    EXPECT_FALSE(settings.enabled());
    EXPECT_EQ(settings.version(), QStringLiteral("2024-5"));
    EXPECT_EQ(pairsOf(settings),
              (Pairs{{"settings_version", "1"}, {"enabled", "false"}, {"version", "2024-5"}, {"other", "anything"}}));
}

TEST(BannerSettings, ReadsLines) {
    struct Row {
        const char* what;
        const char* text; ///< behind the line with the switch
        Pairs pairs;      ///< beside the switch
    };
    const Row rows[] = {
        {"nothing", "", {}},
        {"a pair", "a=b", {{"a", "b"}}},
        {"spaces and tabs around everything", " \t a\t = \t b \t", {{"a", "b"}}},
        {"blanks inside of key and value", "a b = c  d", {{"a b", "c  d"}}},
        {"the first equals sign counts", "a = b = c", {{"a", "b = c"}}},
        {"an equals sign for a value", "a==", {{"a", "="}}},
        {"an empty value", "a=", {{"a", ""}}},
        {"a value of blanks", "a= \t ", {{"a", ""}}},
        {"an empty key", "=x", {{"", "x"}}},
        {"an empty key behind a blank", " = x", {{"", "x"}}},
        {"neither key nor value", "=", {{"", ""}}},
        {"keys differ by case", "a=1\nA=2", {{"a", "1"}, {"A", "2"}}},
        {"the switch in another case is another key", "Enabled=no", {{"Enabled", "no"}}},
        {"any key", "ключ !=ценность", {{"ключ !", "ценность"}}},
        {"a comment", "#a=b", {}},
        {"a comment without an equals sign", "# words", {}},
        {"a comment behind blanks", " \t # words", {}},
        {"nothing but the sign of a comment", "#", {}},
        {"no comment behind a value", "a = b # c", {{"a", "b # c"}}},
        {"no comment for a value", "a = #b", {{"a", "#b"}}},
        {"no comment in a key", "a#b = c", {{"a#b", "c"}}},
        {"empty lines and lines of blanks", "\n\n \t\na=b\n\n", {{"a", "b"}}},
        {"line feed", "a=1\nb=2", {{"a", "1"}, {"b", "2"}}},
        {"vertical tab", "a=1\vb=2", {{"a", "1"}, {"b", "2"}}},
        {"form feed", "a=1\fb=2", {{"a", "1"}, {"b", "2"}}},
        {"carriage return", "a=1\rb=2", {{"a", "1"}, {"b", "2"}}},
        {"carriage return and line feed", "a=1\r\nb=2\r\n", {{"a", "1"}, {"b", "2"}}},
        {"next line", "a=1\u0085b=2", {{"a", "1"}, {"b", "2"}}},
        {"line separator", "a=1\u2028b=2", {{"a", "1"}, {"b", "2"}}},
        {"paragraph separator", "a=1\u2029b=2", {{"a", "1"}, {"b", "2"}}},
        {"the next line behind a comment", "#a=1\u2028b=2", {{"b", "2"}}},
        {"information separators break no line", "a=1\x1C\x1D\x1E\x1F=2", {{"a", "1\x1C\x1D\x1E\x1F=2"}}},
        {"the mark of byte order in a key", "a\uFEFFb=c", {{"ab", "c"}}},
        {"the mark of byte order in a value", "a=b\uFEFF\uFEFFc", {{"a", "bc"}}},
        {"the mark of byte order before a comment", "\uFEFF#a=b", {}},
        {"the mark of byte order alone in a line", "\uFEFF\na=b", {{"a", "b"}}},
        {"the mark of byte order between blanks", "a= \uFEFF b \uFEFF ", {{"a", "b"}}},
        {"the zero width space is no space", "a=\u200Bb", {{"a", "\u200Bb"}}},
        {"this version of the format", "settings_version=1", {{"settings_version", "1"}}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Pairs expected = row.pairs;
        expected["enabled"] = "true";
        EXPECT_EQ(pairsOf(parse(QByteArray("enabled=true\n") + row.text)), expected);
    }
}

TEST(BannerSettings, TrimsTabsAndSpaceSeparators) {
    // General category Zs (Unicode Standard, section 6.2, table 6-2)
    const char* const blanks[] = {"\t",     " ",      "\u00A0", "\u1680", "\u2000", "\u2001",
                                  "\u2002", "\u2003", "\u2004", "\u2005", "\u2006", "\u2007",
                                  "\u2008", "\u2009", "\u200A", "\u202F", "\u205F", "\u3000"};
    for (const QByteArray blank : blanks) {
        SCOPED_TRACE(blank.toHex().toStdString());
        EXPECT_EQ(pairsOf(parse(blank + "enabled" + blank + "=" + blank + "true" + blank)),
                  (Pairs{{"enabled", "true"}}));
        EXPECT_EQ(pairsOf(parse(blank + "\n" + blank + "#\nenabled=true")), (Pairs{{"enabled", "true"}}));
        EXPECT_EQ(pairsOf(parse("enabled=true\na" + blank + "b=c" + blank + "d")),
                  (Pairs{{"enabled", "true"}, {("a" + blank + "b").toStdString(), ("c" + blank + "d").toStdString()}}));
    }
}

TEST(BannerSettings, RefuseAFileAsAWhole) {
    struct Row {
        const char* what;
        const char* text;
    };
    const Row rows[] = {
        {"an empty file", ""},
        {"nothing but a comment", "# enabled=true"},
        {"no switch", "version=1\nupdates_enabled=true"},
        {"an empty switch", "enabled="},
        {"a switch in capitals", "enabled=TRUE"},
        {"a switch with a capital", "enabled=True"},
        {"another word", "enabled=yes"},
        {"a number", "enabled=1"},
        {"something behind the switch", "enabled=true # for now"},
        {"the switch under a name in capitals", "ENABLED=true"},
        {"a line without an equals sign", "enabled=true\nwords"},
        {"a line without an equals sign at the beginning", "words\nenabled=true"},
        {"a line without an equals sign after a carriage return", "enabled=true\rwords"},
        {"a line cut by a separator", "enabled=true\na\u2028=b"},
        {"the switch twice", "enabled=true\nenabled=true"},
        {"a key twice", "enabled=true\na=1\nb=2\na=3"},
        {"a key twice, blanks aside", "enabled=true\na=1\n a\t=1"},
        {"a key twice, marks of byte order aside", "enabled=true\na=1\na\uFEFF=1"},
        {"an empty key twice", "enabled=true\n=1\n=2"},
        {"another version of the format", "enabled=true\nsettings_version=2"},
        {"a version of the format with a fraction", "enabled=true\nsettings_version=1.0"},
        {"an empty version of the format", "enabled=true\nsettings_version="},
        {"a version of the format in other digits", "enabled=true\nsettings_version=\u0661"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_TRUE(isInvalid([&] { return parse(row.text); }));
    }
}

TEST(BannerSettings, CountTheVersionInCharactersOfReaders) {
    struct Row {
        const char* what;
        const char* character;
    };
    const Row rows[] = {
        {"a letter", "v"},
        {"a letter of two bytes", "я"},
        {"a letter and an accent that combines", "e\u0301"},
        {"a letter and three accents that combine", "a\u0301\u0323\u0308"},
        {"an emoji", "😀"},
        {"an emoji with a colour of skin", "👍🏽"},
        {"an emoji with a selector", "❤\uFE0F"},
        {"a family joined of four", "👨\u200D👩\u200D👧\u200D👦"},
        {"a flag of two letters", "🇷🇺"},
        {"a syllable of conjoining letters", "\u1100\u1161\u11A8"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(parse(withVersion(row.character, 80)).version(), QString::fromUtf8(row.character).repeated(80));
        EXPECT_TRUE(isInvalid([&] { return parse(withVersion(row.character, 81)); }));
    }
}

TEST(BannerSettings, HaveAVersionOfOneUnlessTheFileNamesAnother) {
    EXPECT_EQ(parse("enabled=true").version(), QStringLiteral("1"));
    EXPECT_EQ(parse("enabled=true\nversion=").version(), QString());
    EXPECT_EQ(parse("enabled=true\nversion= 2 a ").version(), QStringLiteral("2 a"));
    EXPECT_EQ(parse("enabled=true\nVersion=2").version(), QStringLiteral("1"));
}

TEST(BannerSettings, BeginWithOrWithoutAMarkOfByteOrder) {
    for (const char* text : {"enabled=true", "\uFEFFenabled=true", "\uFEFF\uFEFFenabled=true", "ena\uFEFFbled=true"}) {
        EXPECT_EQ(pairsOf(parse(text)), (Pairs{{"enabled", "true"}}));
        EXPECT_EQ(pairsOf(BannerSettings::fromUtf8(text)), (Pairs{{"enabled", "true"}}));
    }
}

TEST(BannerSettings, AreReadFromBytes) {
    EXPECT_EQ(pairsOf(BannerSettings::fromUtf8("enabled=true\r\nen_alt=Café 😀")),
              (Pairs{{"enabled", "true"}, {"en_alt", "Café 😀"}}));
    const QByteArray withNul("enabled=true\na\0b=\0", 18);
    EXPECT_EQ(pairsOf(BannerSettings::fromUtf8(withNul)),
              (Pairs{{"enabled", "true"}, {std::string("a\0b", 3), std::string("\0", 1)}}));
}

TEST(BannerSettings, RefuseBytesThatAreNotUtf8) {
    struct Row {
        const char* what;
        const char* bytes;
    };
    const Row rows[] = {
        {"a byte that never occurs", "\xFF"},
        {"a byte that only continues", "\x80"},
        {"a letter of Latin-1", "caf\xE9 au lait"},
        {"a sequence that the end cuts", "\xE2\x82"},
        {"a sequence that a letter cuts", "\xE2\x82z"},
        {"too long a form of a slash", "\xC0\xAF"},
        {"too long a form of NUL", "\xC0\x80"},
        {"half of a surrogate pair", "\xED\xA0\x80"},
        {"a code point beyond the last", "\xF4\x90\x80\x80"},
        {"UTF-16", "\xFF\xFE"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        // The fault lies in a comment, which is not even read.
        EXPECT_TRUE(isInvalid([&] { return BannerSettings::fromUtf8(QByteArray("enabled=true\n#") + row.bytes); }));
    }
}

TEST(BannerSettings, LieInThePublishersFolder) {
    const QString folder = QStringLiteral("https://") + publisherHost + QStringLiteral("/app/");
    EXPECT_EQ(BannerSettings::base().toString(), folder);
    EXPECT_EQ(BannerSettings::address().toString(), folder + QStringLiteral("app_settings.txt"));
    EXPECT_EQ(BannerSettings::limitBytes, 16384);
}

} // namespace ovrel::test
