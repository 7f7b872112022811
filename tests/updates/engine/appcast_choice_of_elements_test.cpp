#include "tests/updates/engine/feed_text.h"

#include <gtest/gtest.h>

namespace ovrel::test {

TEST(AppcastElements, HaveTheNamespaceOrTheLiteralPrefix) {
    struct Row {
        const char* what;
        QByteArray declarations; ///< of the root
        QByteArray version;      ///< the element's name
        bool isFound;
    };
    const QByteArray uri = "http://www.andymatuschak.org/xml-namespaces/sparkle";
    const Row rows[] = {
        {"the usual prefix", " xmlns:sparkle='" + uri + "'", "sparkle:version", true},
        {"another prefix", " xmlns:s='" + uri + "'", "s:version", true},
        {"another prefix beside an undeclared one", " xmlns:s='" + uri + "'", "sparkle:version", true},
        {"the literal prefix without a declaration", "", "sparkle:version", true},
        {"the literal prefix of another namespace", " xmlns:sparkle='https://other.example/'", "sparkle:version", true},
        {"the namespace by https", " xmlns:s='https://www.andymatuschak.org/xml-namespaces/sparkle'", "s:version",
         false},
        {"the namespace with a slash", " xmlns:s='" + uri + "/'", "s:version", false},
        {"the namespace in capitals", " xmlns:s='" + uri.toUpper() + "'", "s:version", false},
        {"the literal prefix in capitals", " xmlns:Sparkle='https://other.example/'", "Sparkle:version", false},
        {"no prefix", "", "version", false},
        {"the name in capitals", "", "sparkle:Version", false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const QByteArray xml = "<rss" + row.declarations + "><channel><item><" + row.version + ">2.4</" + row.version +
                               ">" + enclosure + "</item></channel></rss>";
        EXPECT_EQ(faultOf(xml), row.isFound ? "none" : "A version in the list of updates has no valid number.");
        const QByteArray asAttribute = "<rss" + row.declarations + "><channel><item><enclosure url='a' " + row.version +
                                       "='2.4'/></item></channel></rss>";
        EXPECT_EQ(faultOf(asAttribute), row.isFound ? "none" : "A version in the list of updates has no valid number.");
    }
}

TEST(AppcastElements, MayDeclareTheNamespaceThemselves) {
    const QByteArray uri = "http://www.andymatuschak.org/xml-namespaces/sparkle";
    EXPECT_EQ(faultOf("<rss><channel><item><version xmlns='" + uri + "'>2.4</version>" + enclosure +
                      "</item></channel></rss>"),
              "none");
}

TEST(AppcastElements, SuitTheLanguage) {
    struct Row {
        const char* what;
        QByteArray titles;
        const char* russian;
        const char* english;
    };
    const Row rows[] = {
        {"both", "<title xml:lang='en'>e</title><title xml:lang='ru'>r</title>", "r", "e"},
        {"both, the other way round", "<title xml:lang='ru'>r</title><title xml:lang='en'>e</title>", "r", "e"},
        {"one without a language", "<title>e</title><title xml:lang='ru'>r</title>", "r", "e"},
        {"an empty language", "<title xml:lang=''>e</title><title xml:lang='ru'>r</title>", "r", "e"},
        {"with regions", "<title xml:lang='ru-RU'>r</title><title xml:lang='en-GB'>e</title>", "r", "e"},
        {"in capitals", "<title xml:lang='RU'>r</title><title xml:lang='EN'>e</title>", "r", "e"},
        {"English and another", "<title xml:lang='de'>d</title><title xml:lang='en'>e</title>", "e", "e"},
        {"Russian alone", "<title xml:lang='ru'>r</title>", "r", "r"},
        {"others", "<title xml:lang='de'>d</title><title xml:lang='fr'>f</title>", "d", "d"},
        {"a longer name that begins alike", "<title xml:lang='rue'>x</title><title>e</title>", "e", "e"},
        {"the same language twice", "<title xml:lang='ru'>1</title><title xml:lang='ru'>2</title>", "1", "1"},
        {"no language twice", "<title>1</title><title>2</title>", "1", "1"},
        {"the language of another namespace", "<title lang='ru'>e</title>", "e", "e"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const QByteArray xml = feed(item(row.titles + versionElement + enclosure));
        EXPECT_EQ(readFeed(xml, AppLanguage::russian).front().item.title, QString::fromUtf8(row.russian));
        EXPECT_EQ(readFeed(xml, AppLanguage::english).front().item.title, QString::fromUtf8(row.english));
    }
}

TEST(AppcastElements, OfEveryKindSuitTheLanguage) {
    const QByteArray xml = feed(item("<description>e</description><description xml:lang='ru'>r</description>"
                                     "<link>https://e.example/</link><link xml:lang='ru'>https://r.example/</link>"
                                     "<enclosure url='https://e.example/a' sparkle:version='1'/>"
                                     "<enclosure xml:lang='ru' url='https://r.example/a' sparkle:version='2'/>"));
    const SUAppcastItem russian = readFeed(xml, AppLanguage::russian).front().item;
    EXPECT_EQ(russian.itemDescription, QStringLiteral("r"));
    EXPECT_EQ(russian.infoURL, QUrl(QStringLiteral("https://r.example/")));
    EXPECT_EQ(russian.fileURL, QUrl(QStringLiteral("https://r.example/a")));
    EXPECT_EQ(russian.versionString, QStringLiteral("2"));
    const SUAppcastItem english = readFeed(xml, AppLanguage::english).front().item;
    EXPECT_EQ(english.itemDescription, QStringLiteral("e"));
    EXPECT_EQ(english.infoURL, QUrl(QStringLiteral("https://e.example/")));
    EXPECT_EQ(english.fileURL, QUrl(QStringLiteral("https://e.example/a")));
    EXPECT_EQ(english.versionString, QStringLiteral("1"));
}

TEST(AppcastElements, HoldTheTextOfWhatIsInThem) {
    struct Row {
        const char* what;
        const char* content;
        const char* text;
    };
    const Row rows[] = {
        {"plain", "a", "a"},
        {"blanks", "  a\n\tb  ", "  a\n\tb  "},
        {"line ends of other systems", "a\r\nb\rc", "a\nb\nc"},
        {"nothing", "", ""},
        {"a section of characters", "<![CDATA[<b>&amp;</b>]]>", "<b>&amp;</b>"},
        {"two of them, for the end of one", "<![CDATA[a]]]]><![CDATA[>b]]>", "a]]>b"},
        {"references", "&lt;b&gt; &#x42F;&#128512;", "<b> \u042F\U0001F600"},
        {"a comment", "a<!-- x -->b", "ab"},
        {"an instruction", "a<?x y?>b", "ab"},
        {"elements", "a<b>c<i>d</i></b>e", "acde"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const QByteArray xml =
            feed(item("<description>" + QByteArray(row.content) + "</description>" + versionElement + enclosure));
        EXPECT_EQ(readFeed(xml).front().item.itemDescription, QString::fromUtf8(row.text));
    }
}

} // namespace ovrel::test
