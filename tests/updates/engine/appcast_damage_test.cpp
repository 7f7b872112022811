#include "tests/updates/engine/feed_text.h"

#include <gtest/gtest.h>

#include <QStringEncoder>

#include <initializer_list>
#include <string>

namespace ovrel::test {

namespace {

const std::string none = "none";
const std::string damaged = "The list of updates is damaged.";
const std::string tooLarge = "The list of updates is too large.";
const std::string somethingElse = "Something else came in place of the list of updates.";
const std::string noAddress = "A version in the list of updates has no download address.";
const std::string badAddress = "A version in the list of updates has an invalid download address.";
const std::string noNumber = "A version in the list of updates has no valid number.";
const std::string unknownWay = "The list of updates has a version that is installed in an unknown way.";

struct Row {
    const char* what;
    QByteArray feed;
    std::string fault;
};

void expectFaults(std::initializer_list<Row> rows) {
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(faultOf(row.feed), row.fault);
    }
}

QByteArray encoded(const QByteArray& text, QStringConverter::Encoding encoding, QStringConverter::Flags flags = {}) {
    return QStringEncoder(encoding, flags).encode(QString::fromUtf8(text));
}

QByteArray nested(int levels) {
    return QByteArray("<a>").repeated(levels) + QByteArray("</a>").repeated(levels);
}

QByteArray attributes(int count, const QByteArray& prefix) {
    QByteArray text;
    for (int index = 0; index < count; ++index) {
        text += ' ' + prefix + QByteArray::number(index) + "='u'";
    }
    return text;
}

/// A sound feed of exactly so many bytes.
QByteArray feedOfSize(qsizetype bytes) {
    const QByteArray text = feed(item(versionElement + enclosure));
    return text + QByteArray(bytes - text.size(), '\n');
}

} // namespace

TEST(AppcastDamage, IsWhatIsNoXml) {
    const QByteArray sound = item(versionElement + enclosure);
    expectFaults({
        {"a sound feed", feed(sound), none},
        {"nothing", "", damaged},
        {"blanks", " \n", damaged},
        {"words", "not found", damaged},
        {"a feed that ends early", feed(sound).chopped(8), damaged},
        {"a tag that ends early", "<rss", damaged},
        {"elements that overlap", feed("<item><title></item></title>"), damaged},
        {"something behind the feed", feed(sound) + "<rss/>", damaged},
        {"text behind the feed", feed(sound) + "x", damaged},
        {"text before the feed", "x" + feed(sound), damaged},
        {"a declaration behind a blank", " " + feed(sound), damaged},
        {"a later version of XML", "<?xml version='1.1'?><rss/>", damaged},
        {"an attribute twice", "<rss version='2.0' version='2.0'/>", damaged},
        {"an attribute twice under two prefixes",
         "<rss xmlns:a='http://www.andymatuschak.org/xml-namespaces/sparkle' sparkle:os='1' a:os='2'/>", damaged},
        {"a prefix without a declaration", feed("<dc:date/>"), damaged},
        {"an ampersand", feed(item("<title>a & b</title>" + versionElement + enclosure)), damaged},
        {"the end of a section of characters", feed(item("<title>]]></title>" + versionElement + enclosure)), damaged},
        {"two hyphens in a comment", feed("<!-- a -- b -->"), damaged},
        {"a nul byte", feed(QByteArray("a\0b", 3)), damaged},
        {"a nul byte behind the feed", feed(sound) + QByteArray(1, '\0'), damaged},
        {"a nul byte as a reference", feed("&#0;"), damaged},
        {"a control character", feed("\x01"), damaged},
        {"half of a pair as a reference", feed("&#xD800;"), damaged},
    });
}

TEST(AppcastDamage, IsEveryDocumentType) {
    QByteArray bomb = "<!ENTITY a0 \"aaaaaaaaaa\">";
    for (int level = 1; level < 10; ++level) {
        const QByteArray lower = "&a" + QByteArray::number(level - 1) + ";";
        bomb += "<!ENTITY a" + QByteArray::number(level) + " \"" + lower.repeated(10) + "\">";
    }
    expectFaults({
        {"alone", "<!DOCTYPE rss><rss/>", damaged},
        {"of a system", "<!DOCTYPE rss SYSTEM 'https://ovrel.example/app/rss.dtd'><rss/>", damaged},
        {"of the public", "<!DOCTYPE html PUBLIC '-//W3C//DTD XHTML 1.0 Strict//EN' 'xhtml1.dtd'><html/>", damaged},
        {"with an entity", "<!DOCTYPE rss [<!ENTITY a 'b'>]><rss>&a;</rss>", damaged},
        {"with an entity from a file", "<!DOCTYPE rss [<!ENTITY a SYSTEM 'file:///etc/passwd'>]><rss>&a;</rss>",
         damaged},
        {"with entities that multiply", "<!DOCTYPE rss [" + bomb + "]><rss>&a9;</rss>", damaged},
        {"with an entity that holds itself", "<!DOCTYPE rss [<!ENTITY a '&a;'>]><rss>&a;</rss>", damaged},
        {"with a default for an attribute", "<!DOCTYPE rss [<!ATTLIST rss a CDATA 'b'>]><rss/>", damaged},
        {"an entity without one", "<rss>&a;</rss>", damaged},
        {"an entity of HTML", "<rss>&nbsp;</rss>", damaged},
        {"the entities of XML", "<rss>&lt;&gt;&amp;&quot;&apos;</rss>", none},
        {"the words in notes",
         feed(item("<description><![CDATA[<!DOCTYPE html>]]></description>" + versionElement + enclosure)), none},
        {"the words in a comment", feed("<!-- <!DOCTYPE rss> -->"), none},
    });
}

TEST(AppcastDamage, IsEveryEncodingButOne) {
    const QByteArray plain = "<rss><channel><title>\u041E</title></channel></rss>";
    const QByteArray named = "<?xml version='1.0' encoding='NAME'?><rss/>";
    const auto naming = [&](const char* name) { return QByteArray(named).replace("NAME", name); };
    expectFaults({
        {"UTF-8", plain, none},
        {"with the mark of byte order", "\xEF\xBB\xBF" + plain, none},
        {"by name", naming("UTF-8"), none},
        {"by its name in small letters", naming("utf-8"), none},
        {"no UTF-8", "<rss>\xFF</rss>", damaged},
        {"a character that is cut off", "<rss>\xD0</rss>", damaged},
        {"a character that is longer than it has to be", "<rss>\xC0\xBC</rss>", damaged},
        {"half of a pair", "<rss>\xED\xA0\x80</rss>", damaged},
        {"UTF-16", encoded(plain, QStringConverter::Utf16LE), damaged},
        {"UTF-16 with the mark of byte order",
         encoded(plain, QStringConverter::Utf16BE, QStringConverter::Flag::WriteBom), damaged},
        {"UTF-32", encoded(plain, QStringConverter::Utf32LE), damaged},
        {"UTF-16 by name", naming("UTF-16"), damaged},
        {"Latin 1 by name", naming("ISO-8859-1"), damaged},
        {"Cyrillic by name", naming("windows-1251"), damaged},
        {"ASCII by name", naming("US-ASCII"), damaged},
        {"no encoding by name", naming("bogus"), damaged},
    });
}

TEST(AppcastDamage, IsWhatIsOutOfBounds) {
    const QByteArray item1 = item(versionElement + enclosure);
    expectFaults({
        {"as large as it may be", feedOfSize(appcastLimitBytes), none},
        {"a byte larger", feedOfSize(appcastLimitBytes + 1), tooLarge},
        {"2 MiB", feedOfSize(2 * appcastLimitBytes), tooLarge},
        {"as deep as it may be", "<rss>" + nested(15) + "</rss>", none},
        {"a level deeper", "<rss>" + nested(16) + "</rss>", damaged},
        {"as deep as fits", nested(appcastLimitBytes / 7), damaged},
        {"as deep as fits without an end", QByteArray("<a>").repeated(appcastLimitBytes / 3), damaged},
        {"many items", feed(item1.repeated(5000)), none},
        {"as many elements as there may be", "<rss>" + QByteArray("<a/>").repeated(19'999) + "</rss>", none},
        {"an element more", "<rss>" + QByteArray("<a/>").repeated(20'000) + "</rss>", damaged},
        {"as many attributes as there may be", "<rss" + attributes(64, "a") + "/>", none},
        {"an attribute more", "<rss" + attributes(65, "a") + "/>", damaged},
        {"as many attributes as fit", "<rss" + attributes(90'000, "a") + "/>", damaged},
        {"as many namespaces as there may be", "<rss" + attributes(64, "xmlns:a") + "/>", none},
        {"a namespace more", "<rss" + attributes(65, "xmlns:a") + "/>", damaged},
        {"as many namespaces as fit", "<rss" + attributes(50'000, "xmlns:a") + "/>", damaged},
        {"as many references as fit", "<rss>" + QByteArray("&lt;").repeated(250'000) + "</rss>", none},
        {"as much text as fits", "<rss><![CDATA[" + QByteArray(1'000'000, 'x') + "]]></rss>", none},
    });
}

TEST(AppcastDamage, IsNoFeed) {
    expectFaults({
        {"a page", "<html><body><p>Please sign in.</p></body></html>", somethingElse},
        {"another kind of feed", "<feed xmlns='http://www.w3.org/2005/Atom'/>", somethingElse},
        {"an item", item(versionElement + enclosure), somethingElse},
        {"its name in capitals", "<RSS/>", somethingElse},
        {"a feed without a channel", "<rss/>", none},
        {"a feed without items", feed(""), none},
    });
}

TEST(AppcastDamage, IsOneInvalidItem) {
    const QByteArray sound = item(versionElement + enclosure);
    const auto withVersion = [](const QByteArray& elements) { return item(versionElement + elements); };
    const auto withAddress = [&](const QByteArray& address) {
        return withVersion("<enclosure url=\"" + address + "\"/>");
    };
    const auto withType = [&](const QByteArray& type) {
        return withVersion("<enclosure url='https://ovrel.example/a' sparkle:installationType='" + type + "'/>");
    };
    const QByteArray link = "<link>https://ovrel.example/</link>";
    const struct {
        const char* what;
        QByteArray item;
        std::string fault;
    } rows[] = {
        {"no invalid one", sound, none},
        {"nothing in it", item(""), noAddress},
        {"no version", item(enclosure), noNumber},
        {"a version of blanks", item("<sparkle:version> \t\n</sparkle:version>" + enclosure), noNumber},
        {"a version in no namespace", item("<version>2.4</version>" + enclosure), noNumber},
        {"no version, and a link", item(link), noNumber},
        {"a version as long as it may be",
         item("<sparkle:version>" + QByteArray(64, '1') + "</sparkle:version>" + enclosure), none},
        {"a version that is longer", item("<sparkle:version>" + QByteArray(65, '1') + "</sparkle:version>" + enclosure),
         noNumber},
        {"a version that is longer in bytes",
         item("<sparkle:version>" + QByteArray("\u00e9").repeated(33) + "</sparkle:version>" + enclosure), noNumber},
        {"a version that would be two folders", item("<sparkle:version>2/4</sparkle:version>" + enclosure), noNumber},
        {"a version that would be another folder", item("<sparkle:version>..</sparkle:version>" + enclosure), noNumber},
        {"neither archive nor link", withVersion(""), noAddress},
        {"a link elsewhere and no archive", withVersion("<link>ftp://ovrel.example/</link>"), noAddress},
        {"an empty link and no archive", withVersion("<link> </link>"), noAddress},
        {"a link and no archive", withVersion(link), none},
        {"an archive without an address", withVersion("<enclosure length='7'/>"), noAddress},
        {"an archive with an empty address", withAddress(" "), noAddress},
        {"an archive without an address, and a link", withVersion(link + "<enclosure length='7'/>"), none},
        {"https", withAddress("https://ovrel.example/a"), none},
        {"http", withAddress("http://ovrel.example/a"), none},
        {"capitals", withAddress("HTTPS://ovrel.example/a"), none},
        {"ftp", withAddress("ftp://ovrel.example/a"), badAddress},
        {"a file", withAddress("file:///tmp/a"), badAddress},
        {"data", withAddress("data:text/plain,a"), badAddress},
        {"a script", withAddress("javascript:alert(1)"), badAddress},
        {"https without a host", withAddress("https:///a"), badAddress},
        {"a broken address", withAddress("https://[::1/a"), badAddress},
        {"a quotation mark in the address", withAddress("https://ovrel.example/&quot;a"), badAddress},
        {"ftp, and a link", withVersion(link + "<enclosure url='ftp://ovrel.example/a'/>"), badAddress},
        {"an application", withType("application"), none},
        {"a package", withType("package"), none},
        {"a package that asks", withType("interactive-package"), none},
        {"an unknown type", withType("tarball"), unknownWay},
        {"a type in capitals", withType("Application"), unknownWay},
        {"no type", withType(" "), none},
        {"an unknown type for another system",
         withVersion("<enclosure url='https://ovrel.example/a' sparkle:os='windows' "
                     "sparkle:installationType='msi'/>"),
         unknownWay},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(faultOf(feed(row.item)), row.fault);
        EXPECT_EQ(faultOf(feed(sound + row.item + sound)), row.fault);
    }
}

TEST(AppcastDamage, IsNothingOutsideOfTheItems) {
    expectFaults({
        {"an invalid item beside the channel", "<rss><item/><channel/></rss>", none},
        {"an invalid item deeper in the channel", feed("<group><item/></group>"), none},
        {"an invalid item in an item", feed(item(versionElement + enclosure + "<item/>")), none},
        {"an item of another namespace", feed("<a:item xmlns:a='b'/>"), none},
    });
}

} // namespace ovrel::test
