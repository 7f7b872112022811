#include "fuzz/seeds.h"
#include "tests/updates/engine/tar_writer.h"
#include "updates/installation/clean_environment.h"
#include "updates/installation/installer_order.h"
#include "updates/installation/journal.h"

#include <string>
#include <utility>
#include <vector>

namespace ovrel::test {

namespace {

void addSettings(const Seeds& seeds) {
    seeds.add("settings", "least", "enabled=true");
    seeds.add("settings", "off", "# all of it\r\nenabled = false\r\nupdates_enabled=false\r\n");
    const std::string folder = "https://" OVREL_PUBLISHER_HOST "/app/";
    seeds.add("settings", "full",
              "\uFEFFsettings_version = 1\nenabled = true\nversion = 2 & a + \u0439\nupdates_enabled = true\n"
              "update_feed_url = " +
                  folder + "feed.xml\nbanner_base_url = " + folder +
                  "banners/\n"
                  "en_banner_enabled = true\nen_image = en.avif\nen_url = https://example.com/\nen_alt = text\n"
                  "ru_banner_enabled = false\nru_image = RU.AVIF\nru_url = https://example.com/\nru_alt =\n");
    seeds.add("settings", "other-version", "enabled=true\nsettings_version=2");
    seeds.add("settings", "long-version", "enabled=true\nversion=" + std::string(81, '7'));
    seeds.add("settings", "no-pair", "enabled");
    seeds.add("settings", "twice", "enabled=true\nenabled=true");
    seeds.add("settings", "feed-elsewhere",
              "enabled=true\nupdates_enabled=true\nupdate_feed_url=" + folder + "feed.txt\nbanner_base_url=" + folder +
                  "b?q\nen_url=https://a@b/\nru_url=https://b/\nru_image=../x.avif");
    // Where a server may send whoever asks for the settings.
    for (const auto& [name, address] :
         {std::pair("absolute", folder + "x%2525.txt"),
          std::pair("host", std::string("//" OVREL_PUBLISHER_HOST ":443/app/y")),
          std::pair("path", std::string("/app/a;b/./c\\z")), std::pair("query", std::string("?q")),
          std::pair("fragment", std::string("#f")), std::pair("relative", std::string("sub/../%zz")),
          std::pair("outside", std::string("/app/%252e%252e/")), std::pair("control", std::string("/app/%01"))}) {
        seeds.add("settings", std::string("redirect-") + name, address);
    }
}

void addArchives(const Seeds& seeds) {
    for (const auto& [name, format] :
         {std::pair("pax", TarFormat::pax), std::pair("gnu", TarFormat::gnu), std::pair("ustar", TarFormat::ustar)}) {
        TarOptions options;
        options.format = format;
        options.filter = TarFilter::none;
        seeds.add("archive", name, writeTar({tarFolder("o"), tarFile("o/file"), tarLink("o/link", "file")}, options));
        std::vector<TarEntry> odd{
            tarFolder("o"), tarFile("o/" + std::string(format == TarFormat::ustar ? 80 : 120, 'n')), tarFile("o/Й")};
        odd.push_back(tarLink("o/up", "../../x"));
        odd.push_back({"o/hard", TarKind::hardLink, "o/file"});
        odd.push_back({"o/fifo", TarKind::fifo, ""});
        options.withAttributes = true;
        seeds.add("archive", std::string(name) + "-odd", writeTar(odd, options));
    }
}

/// Archives with one entry each that is refused.
void addRefusedArchives(const Seeds& seeds) {
    TarOptions options;
    options.filter = TarFilter::none;
    const auto add = [&](const std::string& name, const TarEntry& entry) {
        seeds.add("archive", name, writeTar({tarFolder("o"), tarFile("o/file"), entry}, options));
    };
    add("hard-link", {"o/hard", TarKind::hardLink, "o/file"});
    add("fifo", {"o/fifo", TarKind::fifo, ""});
    add("twice", tarFile("o/FILE"));
    add("outside", tarLink("o/up", "../x"));
    add("long-path", tarFile("o/" + std::string(4200, 'n')));
    add("long-link", tarLink("o/link", std::string(4200, 'n')));
    add("no-folder", tarFile("o/none/file"));
    add("second-top", tarFolder("p"));
    add("control", tarFile("o/\x07"));
    seeds.add("archive", "empty", writeTar({}, options));
}

void addManifests(const Seeds& seeds) {
    seeds.add("manifest", "plain",
              R"({"application": "ovrel", "version": "2.4", "system": "linux", "architecture": "x86_64"})");
    seeds.add("manifest", "other-program",
              R"({"application": "x", "version": "2.4", "system": "linux", "architecture": "x86_64"})");
    seeds.add("manifest", "other-system",
              R"({"application": "ovrel", "version": "3", "system": "x", "architecture": "x86_64"})");
    seeds.add("manifest", "control", R"({"application": "\u0007", "version": "2.4", "system": "linux"})");
    seeds.add("manifest", "no-object", "[]");
    seeds.add("manifest", "odd", R"({"application": 1, "version": "\u0000", "system": [], "architecture": null})");
}

void addInstallers(const Seeds& seeds) {
    const InstallerOrder order{.name = "ovrel",
                               .install = {.version = "2.4",
                                           .staging = ".ovrel-update-1",
                                           .top = "ovrel 2.4",
                                           .installed = {.device = 1, .inode = 2},
                                           .staged = {.device = 3, .inode = 4}},
                               .program = "bin/ovrel"};
    seeds.add("installer_order", "plain", formatEnvironment(formatInstallerOrder(order)));
    InstallerOrder counted = order;
    counted.watchMilliseconds = 600000;
    seeds.add("installer_order", "counted", formatEnvironment(formatInstallerOrder(counted)));
    seeds.add("installer_order", "environment", formatEnvironment({"HOME=/", "LD_PRELOAD=x", "HOME=/x", "=", "x"}));
    const Journal journal{
        .token = std::string(32, 'a'), .version = "2.4", .staging = ".ovrel-update-1", .top = "ovrel\n2.4"};
    seeds.add("journal", "plain", formatJournal(journal));
}

/// Most of a feed's rules in two files.
void addAppcasts(const Seeds& seeds) {
    const std::string root =
        "<rss version=\"2.0\" xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\"><channel>";
    const std::string end = "</channel></rss>";
    seeds.add("appcast", "least",
              "<rss><channel><item><sparkle:version>2.4</sparkle:version><enclosure url='a'/></item>" + end);
    seeds.add("appcast", "information",
              root +
                  "<item><title>t</title><title xml:lang='ru'>\u0442</title><link>https://example.com/</link>"
                  "<sparkle:version>2.4b1</sparkle:version><sparkle:informationalUpdate>"
                  "<sparkle:version>2.3</sparkle:version><sparkle:belowVersion>2.2</sparkle:belowVersion>"
                  "</sparkle:informationalUpdate><enclosure url='Ovrel_2.5.zip' sparkle:os='macos'/></item>" +
                  end);
    seeds.add("appcast", "full",
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n" + root +
                  "<item><description><![CDATA[<b>\u043D</b>\n---en---\nn]]></description>"
                  "<sparkle:version>2.5 (7)</sparkle:version>"
                  "<sparkle:shortVersionString>2.5</sparkle:shortVersionString>"
                  "<sparkle:minimumSystemVersion>2.31</sparkle:minimumSystemVersion>"
                  "<sparkle:maximumSystemVersion>3</sparkle:maximumSystemVersion>"
                  "<sparkle:minimumUpdateVersion>2.0</sparkle:minimumUpdateVersion>"
                  "<sparkle:minimumAutoupdateVersion>2.0</sparkle:minimumAutoupdateVersion>"
                  "<sparkle:channel>beta</sparkle:channel><enclosure url=\"https://example.com/a b\" length=\"7\" "
                  "sparkle:os=\"linux-x86_64\" sparkle:edSignature=\"c2ln\" sparkle:version=\"2.6\" "
                  "sparkle:installationType=\"application\" sparkle:deltaFrom=\"\"/></item>" +
                  end);
}

/// Feeds that are refused, and releases that are not for everybody.
void addOddAppcasts(const Seeds& seeds) {
    const auto feedOf = [](const std::string& items) { return "<rss><channel>" + items + "</channel></rss>"; };
    const auto itemOf = [](const std::string& version, const std::string& attributes, const std::string& rest = "") {
        return "<item><sparkle:version>" + version + "</sparkle:version><enclosure url='a.tar.xz' " + attributes +
               "/>" + rest + "</item>";
    };
    seeds.add("appcast", "no-version", feedOf("<item><enclosure url='ovrel.tar.xz'/></item>"));
    seeds.add("appcast", "version-in-name", feedOf("<item><enclosure url='ovrel_2.4.tar.xz'/></item>"));
    seeds.add("appcast", "no-address", feedOf("<item><sparkle:version>2.4</sparkle:version></item>"));
    seeds.add("appcast", "invalid-address", feedOf("<item><enclosure url='ftp://a/b'/></item>"));
    seeds.add("appcast", "package",
              feedOf(itemOf("2.4", "sparkle:installationType='package'") + itemOf("2.4", "sparkle:deltaFrom='2.3'")));
    seeds.add("appcast", "unknown-type", feedOf(itemOf("2.4", "sparkle:installationType='magic'")));
    seeds.add("appcast", "older", feedOf(itemOf("2.2", "length='x'", "<sparkle:channel>b c</sparkle:channel>")));
    seeds.add("appcast", "same", feedOf(itemOf("2.3", "") + "<title>t</title>"));
    seeds.add("appcast", "too-old",
              feedOf(itemOf("2.4", "", "<sparkle:minimumSystemVersion>9</sparkle:minimumSystemVersion>")));
    seeds.add("appcast", "too-new",
              feedOf(itemOf("2.4", "", "<sparkle:maximumSystemVersion>1</sparkle:maximumSystemVersion>")));
    seeds.add("appcast", "several",
              feedOf(itemOf("2.4", "sparkle:os='linux'") + itemOf("2.10b2", "sparkle:os='linux-x86_64'") +
                     itemOf("3.0", "sparkle:os='windows'") +
                     "<item><sparkle:version>2.10.0</sparkle:version><enclosure url='//example.com/a'/></item>"));
    seeds.add("appcast", "latin", "<?xml version='1.0' encoding='latin1'?>" + feedOf(itemOf("2.4", "")));
    seeds.add("appcast", "document-type", "<!DOCTYPE rss>" + feedOf(itemOf("2.4", "")));
    std::string deep;
    for (const char* tag : {"<a>", "</a>"}) {
        for (int depth = 0; depth < 17; ++depth) {
            deep += tag;
        }
    }
    seeds.add("appcast", "deep", feedOf(deep));
    seeds.add("appcast", "no-feed", "<html/>");
}

} // namespace

void addUpdateSeeds(const Seeds& seeds) {
    addSettings(seeds);
    addArchives(seeds);
    addRefusedArchives(seeds);
    addManifests(seeds);
    addInstallers(seeds);
    addAppcasts(seeds);
    addOddAppcasts(seeds);
}

} // namespace ovrel::test
