#include "tests/updates/engine/feed_text.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <optional>
#include <string>

namespace ovrel::test {

namespace {

using testing::IsEmpty;

/// Reads a feed of one item.
AppcastItem only(const QByteArray& xml, const QString& host = QStringLiteral("2.3")) {
    const Appcast appcast = readAppcast(xml, feedAddress, {host, AppLanguage::english});
    EXPECT_EQ(appcast.size(), 1U);
    return appcast.empty() ? AppcastItem() : appcast.front();
}

std::string textOf(const QString& text) {
    return text.toStdString();
}

std::string textOf(const std::optional<QString>& text) {
    return text ? text->toStdString() : "absent";
}

std::string textOf(const std::optional<QUrl>& url) {
    return url ? url->toString(QUrl::FullyEncoded).toStdString() : "absent";
}

} // namespace

TEST(Appcast, HasEverythingOfAnItem) {
    const AppcastItem item = only(feed(R"(<item>
        <title>
            Ovrel 2.4 </title>
        <link> https://ovrel.example/news </link>
        <description><![CDATA[ <b>Новое</b>
---en---
New ]]></description>
        <pubDate>Sat, 21 Nov 2026 19:15:15 +0000</pubDate>
        <sparkle:version> 2.4.1 </sparkle:version>
        <sparkle:shortVersionString>
            2.4 </sparkle:shortVersionString>
        <sparkle:channel> beta_1.x-Y </sparkle:channel>
        <sparkle:minimumSystemVersion> 2.31 </sparkle:minimumSystemVersion>
        <sparkle:maximumSystemVersion> 2.40 </sparkle:maximumSystemVersion>
        <sparkle:minimumUpdateVersion> 2.0 </sparkle:minimumUpdateVersion>
        <sparkle:minimumAutoupdateVersion> 2.1 </sparkle:minimumAutoupdateVersion>
        <sparkle:deltas><enclosure url="ftp://elsewhere/" sparkle:deltaFrom="2.3"/></sparkle:deltas>
        <unknown>value</unknown>
        <enclosure url=" https://ovrel.example/app/ovrel.tar.xz " length=" 12345678901 " type="application/x-xz"
            sparkle:os=" linux-x86_64 " sparkle:edSignature=" c2ln "/>
    </item>)"));
    EXPECT_EQ(textOf(item.item.versionString), "2.4.1");
    EXPECT_EQ(textOf(item.item.displayVersionString), "2.4");
    EXPECT_EQ(textOf(item.item.title), "Ovrel 2.4");
    EXPECT_EQ(textOf(item.item.itemDescription), " <b>Новое</b>\n---en---\nNew ");
    EXPECT_EQ(textOf(item.item.infoURL), "https://ovrel.example/news");
    EXPECT_EQ(textOf(item.item.fileURL), "https://ovrel.example/app/ovrel.tar.xz");
    EXPECT_EQ(item.item.contentLength, 12345678901U);
    EXPECT_FALSE(item.item.isInformationOnlyUpdate);
    EXPECT_EQ(textOf(item.edSignature), "c2ln");
    EXPECT_EQ(textOf(item.os), "linux-x86_64");
    EXPECT_EQ(textOf(item.channel), "beta_1.x-Y");
    EXPECT_EQ(textOf(item.minimumSystemVersion), "2.31");
    EXPECT_EQ(textOf(item.maximumSystemVersion), "2.40");
    EXPECT_EQ(textOf(item.minimumUpdateVersion), "2.0");
    EXPECT_EQ(textOf(item.minimumAutoupdateVersion), "2.1");
}

TEST(Appcast, LeavesOutWhatAnItemDoesNotHave) {
    const AppcastItem item =
        only(feed("<item><sparkle:version>2.4</sparkle:version><enclosure url='https://ovrel.example/a'/></item>"));
    EXPECT_EQ(textOf(item.item.displayVersionString), "2.4");
    EXPECT_EQ(textOf(item.item.title), "absent");
    EXPECT_EQ(textOf(item.item.itemDescription), "absent");
    EXPECT_EQ(textOf(item.item.infoURL), "absent");
    EXPECT_EQ(item.item.contentLength, 0U);
    for (const QString& text : {item.edSignature, item.os, item.channel, item.minimumSystemVersion,
                                item.maximumSystemVersion, item.minimumUpdateVersion, item.minimumAutoupdateVersion}) {
        EXPECT_EQ(textOf(text), "");
    }
}

TEST(Appcast, KeepsTheOrderOfTheFeed) {
    const auto versioned = [](const QByteArray& version) {
        return item("<sparkle:version>" + version + "</sparkle:version>" + enclosure);
    };
    const QByteArray channels = "</channel><other/><channel>";
    std::string versions;
    for (const AppcastItem& item : readFeed(feed(versioned("2") + versioned("3") + channels + versioned("1")))) {
        versions += textOf(item.item.versionString) + ' ';
    }
    EXPECT_EQ(versions, "2 3 1 ");
}

TEST(Appcast, LeavesOutWhatIsNoCompleteArchiveOfTheProgram) {
    const auto with = [](const QByteArray& attribute) {
        return item(versionElement + "<enclosure url='https://ovrel.example/a' " + attribute + "/>");
    };
    EXPECT_THAT(readFeed(feed(with("sparkle:deltaFrom='2.3'"))), IsEmpty());
    EXPECT_THAT(readFeed(feed(with("sparkle:installationType='package'"))), IsEmpty());
    EXPECT_THAT(readFeed(feed(with("sparkle:installationType='interactive-package'"))), IsEmpty());
    EXPECT_EQ(readFeed(feed(with("sparkle:installationType='application'"))).size(), 1U);
    EXPECT_EQ(readFeed(feed(with("deltaFrom='2.3' installationType='package'"))).size(), 1U);
}

TEST(Appcast, TakesTheVersionOfTheEnclosureFirst) {
    struct Row {
        const char* what;
        QByteArray elements;
        QByteArray attributes;
        const char* version;
        const char* displayVersion;
    };
    const QByteArray element = "<sparkle:version>1.1</sparkle:version>";
    const QByteArray displayElement = "<sparkle:shortVersionString>one</sparkle:shortVersionString>";
    const QByteArray name = " url='https://ovrel.example/Ovrel_3.zip'";
    const Row rows[] = {
        {"element alone", element, name, "1.1", "1.1"},
        {"element and attribute", element, name + " sparkle:version='2.2'", "2.2", "2.2"},
        {"element and an empty attribute", element, name + " sparkle:version=' '", "1.1", "1.1"},
        {"element and an attribute in no namespace", element, name + " version='2.2'", "1.1", "1.1"},
        {"name of the file alone", "", name, "3", "3"},
        {"both displayed", element + displayElement, name + " sparkle:shortVersionString='two'", "1.1", "two"},
        {"the element displayed", element + displayElement, name + " sparkle:version='2.2'", "2.2", "one"},
        {"nothing displayed", element + "<sparkle:shortVersionString/>", name, "1.1", "1.1"},
        {"too much displayed",
         element + "<sparkle:shortVersionString>" + QByteArray(129, '1') + "</sparkle:shortVersionString>", name, "1.1",
         "1.1"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const AppcastItem read = only(feed(item(row.elements + "<enclosure" + row.attributes + "/>")));
        EXPECT_EQ(textOf(read.item.versionString), row.version);
        EXPECT_EQ(textOf(read.item.displayVersionString), row.displayVersion);
    }
}

TEST(Appcast, FindsAVersionInTheNameOfTheFile) {
    struct Row {
        const char* name;
        const char* version; ///< null for none
    };
    const Row rows[] = {
        {"Ovrel_2.4.zip", "2.4"},
        {"Ovrel_2.4.tar.xz", "2.4"},
        {"Ovrel_2.4.tar.xz?a_5.zip", "2.4"},
        {"a_b/Ovrel_linux_2.4.zip", "2.4"},
        {"Ovrel_.zip", nullptr},
        {"Ovrel_2", "2"},
        {"Ovrel-2.4.zip", nullptr},
        {"a_2/Ovrel.zip", nullptr},
        {"ovrel-2.4-linux-x86_64.tar.xz", nullptr},
        {"ovrel-2.4-linux-aarch64.tar.xz", nullptr},
        {"ovrel_2.4/", nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const QByteArray xml = feed(item("<enclosure url='" + QByteArray(row.name) + "'/>"));
        if (row.version) {
            EXPECT_EQ(textOf(only(xml).item.versionString), row.version);
        } else {
            EXPECT_EQ(faultOf(xml), "A version in the list of updates has no valid number.");
        }
    }
}

TEST(Appcast, ResolvesAddressesToTheFeed) {
    struct Row {
        const char* written;
        const char* address;
    };
    const Row rows[] = {
        {"ovrel.tar.xz", "https://ovrel.example/app/updates/ovrel.tar.xz"},
        {"../ovrel.tar.xz", "https://ovrel.example/app/ovrel.tar.xz"},
        {"/ovrel.tar.xz", "https://ovrel.example/ovrel.tar.xz"},
        {"//other.example/ovrel.tar.xz", "https://other.example/ovrel.tar.xz"},
        {"?a=b", "https://ovrel.example/app/updates/appcast.xml?a=b"},
        {"Ovrel for Linux.zip", "https://ovrel.example/app/updates/Ovrel%20for%20Linux.zip"},
        {"Ovrel%20for Linux.zip", "https://ovrel.example/app/updates/Ovrel%20for%20Linux.zip"},
        {"https://other.example/a b", "https://other.example/a%20b"},
        {"http://other.example/", "http://other.example/"},
        {"новое.zip", "https://ovrel.example/app/updates/%D0%BD%D0%BE%D0%B2%D0%BE%D0%B5.zip"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.written);
        const QByteArray written = row.written;
        const AppcastItem read =
            only(feed(item(versionElement + "<link>" + written + "</link><enclosure url='" + written + "'/>")));
        EXPECT_EQ(textOf(read.item.fileURL), row.address);
        EXPECT_EQ(textOf(read.item.infoURL), row.address);
    }
}

TEST(Appcast, KeepsTheHostOfAnArchiveAsItIsWritten) {
    struct Row {
        const char* written;
        const char* kept;
    };
    const Row rows[] = {
        {"HTTPS://OVREL.example/app/a b", "HTTPS://OVREL.example/app/a%20b"},
        {"//OVREL.example/app/a", "https://OVREL.example/app/a"},
        {"a.tar.xz", ""},
        {"/app/a.tar.xz", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.written);
        const AppcastItem read =
            only(feed(item(versionElement + "<enclosure url='" + QByteArray(row.written) + "'/>")));
        EXPECT_EQ(read.item.fileAddress.toStdString(), row.kept);
    }
}

TEST(Appcast, TakesLengthsThatArePositiveNumbers) {
    struct Row {
        const char* written;
        std::uint64_t length;
    };
    const Row rows[] = {
        {"1", 1},
        {"007", 7},
        {"18446744073709551615", 18446744073709551615U},
        {"18446744073709551616", 0},
        {"0", 0},
        {"", 0},
        {"-1", 0},
        {"+1", 0},
        {"1 000", 0},
        {"1.5", 0},
        {"1e3", 0},
        {"0x10", 0},
        {"12 bytes", 0},
        {"\u0661", 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.written);
        const QByteArray archive = "<enclosure url='a' length='" + QByteArray(row.written) + "'/>";
        EXPECT_EQ(only(feed(item(versionElement + archive))).item.contentLength, row.length);
    }
}

TEST(Appcast, TakesTheNamesOfChannels) {
    struct Row {
        const char* written;
        const char* channel;
    };
    const Row rows[] = {
        {"beta", "beta"}, {"a_B.1-c", "a_B.1-c"}, {"тест", "тест"}, {"", ""},
        {"  ", ""},       {"be ta", ""},          {"beta!", ""},    {"a/b", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.written);
        const QByteArray channel = "<sparkle:channel>" + QByteArray(row.written) + "</sparkle:channel>";
        EXPECT_EQ(textOf(only(feed(item(versionElement + enclosure + channel))).channel), row.channel);
    }
}

TEST(Appcast, KnowsWhatIsInformationOnly) {
    struct Row {
        const char* what;
        QByteArray elements;
        bool isInformation; ///< for the host 2.3
    };
    const QByteArray link = "<link>https://ovrel.example/</link>";
    const auto hosts = [&](const QByteArray& children) {
        return link + enclosure + "<sparkle:informationalUpdate>" + children + "</sparkle:informationalUpdate>";
    };
    const Row rows[] = {
        {"an archive", enclosure, false},
        {"an archive and a link", link + enclosure, false},
        {"a link", link, true},
        {"a link and an archive without an address", link + "<enclosure/>", true},
        {"for everybody", hosts(""), true},
        {"for everybody, with blanks", hosts("\n \t"), true},
        {"for the host", hosts("<sparkle:version>2.3</sparkle:version>"), true},
        {"for the host, with blanks", hosts("<sparkle:version> 2.3\n</sparkle:version>"), true},
        {"for an equivalent version", hosts("<sparkle:version>2.3.0</sparkle:version>"), false},
        {"for another version", hosts("<sparkle:version>2.2</sparkle:version>"), false},
        {"for several versions", hosts("<sparkle:version>2.2</sparkle:version><sparkle:version>2.3</sparkle:version>"),
         true},
        {"for older versions", hosts("<sparkle:belowVersion>2.3</sparkle:belowVersion>"), false},
        {"for versions below a newer one", hosts("<sparkle:belowVersion>2.3.1</sparkle:belowVersion>"), true},
        {"for either", hosts("<sparkle:version>2.2</sparkle:version><sparkle:belowVersion>2.4</sparkle:belowVersion>"),
         true},
        {"for unknown ones", hosts("<sparkle:aboveVersion>2.4</sparkle:aboveVersion>"), true},
        {"for versions under another prefix",
         hosts("<a:version xmlns:a='http://www.andymatuschak.org/xml-namespaces/sparkle'>2.2</a:version>"), true},
        {"for the host, without a link",
         enclosure + "<sparkle:informationalUpdate><sparkle:version>2.3</sparkle:version>"
                     "</sparkle:informationalUpdate>",
         false},
        {"for everybody, with a link elsewhere",
         "<link>ftp://ovrel.example/</link>" + enclosure + "<sparkle:informationalUpdate/>", false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(only(feed(item(versionElement + row.elements))).item.isInformationOnlyUpdate, row.isInformation);
    }
}

} // namespace ovrel::test
