// Writes small files of every kind for the fuzz targets to begin with: make_fuzz_seeds FOLDER

#include "platform/linux/color_profiles.h"
#include "tests/support/avif_writer.h"
#include "tests/support/exif_writer.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/gif_writer.h"
#include "tests/support/heif_writer.h"
#include "tests/support/jpeg_writer.h"
#include "tests/support/png_writer.h"
#include "tests/support/webp_writer.h"
#include "tests/updates/engine/tar_writer.h"
#include "updates/installation/clean_environment.h"
#include "updates/installation/installer_order.h"
#include "updates/installation/journal.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;

constexpr std::array<const char*, 6> pictures = {"avif", "gif", "heif", "jpeg", "png", "webp"};

/// Puts each seed into the folder of its own target and pictures also into that of the target for all formats.
class Seeds {
public:
    explicit Seeds(fs::path folder) : folder_(std::move(folder)) {}

    void add(const std::string& target, const std::string& name, const std::string& bytes) const {
        write(folder_ / target, name, bytes);
        if (std::find(pictures.begin(), pictures.end(), target) != pictures.end()) {
            write(folder_ / "image", target + "-" + name, bytes);
        }
    }

private:
    static void write(const fs::path& folder, const std::string& name, const std::string& bytes) {
        fs::create_directories(folder);
        std::ofstream stream(folder / name, std::ios::binary);
        stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        stream.close();
        if (!stream) {
            throw std::runtime_error("cannot write " + (folder / name).native());
        }
    }

    fs::path folder_;
};

Image picture(std::uint8_t alpha) {
    return makeImage(19, 13, [&](std::uint32_t x, std::uint32_t y) {
        return Rgba{static_cast<std::uint8_t>(x * 13), static_cast<std::uint8_t>(y * 19),
                    static_cast<std::uint8_t>((x ^ y) * 16), x < 10 ? std::uint8_t{255} : alpha};
    });
}

Image inkPicture() {
    Image image = picture(200);
    image.layout = PixelLayout::cmyk8;
    image.colorSpace.model = ColorModel::cmyk;
    return image;
}

std::string asText(const std::vector<std::uint8_t>& bytes) {
    return {bytes.begin(), bytes.end()};
}

void addJpegs(const Seeds& seeds) {
    const std::string profile = asText(colorSpaceFromCicp(12, 13).profile);
    JpegOptions options;
    seeds.add("jpeg", "plain", writeJpeg(picture(255), options));
    options.exif = exifBlock(6);
    options.profile = profile;
    seeds.add("jpeg", "turned-profile", writeJpeg(picture(255), options));
    options = {};
    options.progressive = true;
    options.horizontalSubsampling = 2;
    options.verticalSubsampling = 2;
    seeds.add("jpeg", "progressive", writeJpeg(picture(255), options));
    options = {};
    options.arithmetic = true;
    seeds.add("jpeg", "arithmetic", writeJpeg(picture(255), options));
    options = {};
    options.restartInterval = 1;
    options.scanForEachComponent = true;
    seeds.add("jpeg", "restarts", writeJpeg(picture(255), options));
    options = {};
    options.colors = JpegColors::gray;
    seeds.add("jpeg", "gray", writeJpeg(picture(255), options));
    for (const JpegColors colors : {JpegColors::cmyk, JpegColors::ycck}) {
        options.colors = colors;
        seeds.add("jpeg", colors == JpegColors::cmyk ? "cmyk" : "ycck", writeJpeg(inkPicture(), options));
    }
}

void addPngs(const Seeds& seeds) {
    PngPicture png = pngOf(picture(100));
    seeds.add("png", "rgba", writePng(png));
    png.interlaced = true;
    png.afterImageData = {{"eXIf", exifBlock(5)}};
    seeds.add("png", "interlaced-turned", writePng(png));
    png = pngOf(picture(100));
    png.beforeImageData = {{"acTL", pngAnimationControl(2)}, {"gAMA", pngInteger(100000)}};
    seeds.add("png", "apng-gamma", writePng(png));
    png.beforeImageData = {{"iCCP", pngProfile(asText(colorSpaceFromCicp(12, 13).profile))}};
    seeds.add("png", "profile", writePng(png));
    png.beforeImageData = {{"cICP", std::string("\x0C\x0D\x00\x01", 4)}};
    seeds.add("png", "cicp", writePng(png));
    png.beforeImageData.clear();
    png.bitDepth = 16;
    seeds.add("png", "deep", writePng(png));
    PngPicture palette;
    palette.width = 5;
    palette.height = 3;
    palette.colorType = PngColorType::palette;
    palette.bitDepth = 2;
    palette.palette = {{10, 20, 30}, {200, 100, 50}, {0, 0, 0}, {255, 255, 255}};
    palette.transparency = {0, 128};
    palette.samples = {0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2};
    seeds.add("png", "palette", writePng(palette));
    PngPicture gray = palette;
    gray.colorType = PngColorType::gray;
    gray.palette.clear();
    gray.transparency = {2};
    seeds.add("png", "gray", writePng(gray));
}

void addGifs(const Seeds& seeds) {
    GifContent content;
    content.width = 6;
    content.height = 4;
    content.palette = {{0, 0, 0}, {255, 0, 0}, {0, 255, 0}, {0, 0, 255}};
    content.loop = GifLoop{3};
    GifFrameBlock frame;
    frame.width = 6;
    frame.height = 4;
    frame.pixels.assign(24, 1);
    frame.control = GifControl{10, 1, std::nullopt};
    content.frames.push_back(frame);
    seeds.add("gif", "still", writeGif(content));
    frame = {};
    frame.left = 4;
    frame.top = 1;
    frame.width = 4;
    frame.height = 2;
    frame.pixels = {0, 1, 2, 3, 3, 2, 1, 0};
    frame.palette = {{9, 9, 9}, {99, 99, 99}};
    frame.interlaced = true;
    for (const std::uint8_t disposal : std::initializer_list<std::uint8_t>{2, 3, 0}) {
        frame.control = GifControl{5, disposal, 0};
        content.frames.push_back(frame);
    }
    seeds.add("gif", "animation", writeGif(content));
}

void addWebps(const Seeds& seeds) {
    WebpMetadata metadata;
    seeds.add("webp", "lossless", writeWebp(picture(100)));
    metadata.exif = exifBlock(8);
    metadata.icc = asText(colorSpaceFromCicp(12, 13).profile);
    seeds.add("webp", "lossy", writeWebp(picture(100), metadata, 40.0F));
    WebpAnimation animation;
    animation.width = 24;
    animation.height = 16;
    animation.frames = {{writeWebp(picture(100)), 0, 0}, {writeWebp(picture(0), {}, 30.0F), 4, 2, 50, false, true}};
    seeds.add("webp", "animation", writeWebpAnimation(animation));
}

void addAvifs(const Seeds& seeds) {
    AvifOptions options;
    seeds.add("avif", "plain", writeAvif(picture(100), options));
    options.depth = 10;
    options.chroma = AvifChroma::halved;
    options.matrix = 6;
    options.primaries = 12;
    options.turns = 1;
    options.mirror = 0;
    seeds.add("avif", "deep-turned", writeAvif(picture(100), options));
    options = {};
    options.crop = AvifCrop{2, 2, 10, 8};
    options.icc = asText(colorSpaceFromCicp(12, 13).profile);
    seeds.add("avif", "cropped-profile", writeAvif(picture(255), options));
    std::vector<Image> frames;
    frames.push_back(picture(255));
    frames.push_back(picture(50));
    seeds.add("avif", "sequence", writeAvifSequence(frames));
}

void addHeifs(const Seeds& seeds) {
    std::vector<Image> images;
    images.push_back(picture(100));
    for (const HeifCompression compression : {HeifCompression::hevc, HeifCompression::av1}) {
        HeifOptions options;
        options.compression = compression;
        options.orientation = 6;
        if (const std::optional<std::string> file = writeHeif(images, options)) {
            seeds.add("heif", compression == HeifCompression::hevc ? "hevc" : "av1", *file);
        }
    }
}

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

void addManifests(const Seeds& seeds) {
    seeds.add("manifest", "plain",
              R"({"application": "ovrel", "version": "2.4", "system": "linux", "architecture": "x86_64"})");
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

} // namespace

} // namespace ovrel::test

int main(int count, char** arguments) {
    using namespace ovrel::test;
    if (count != 2) {
        std::fputs("usage: make_fuzz_seeds FOLDER\n", stderr);
        return 2;
    }
    try {
        const Seeds seeds(arguments[1]);
        addJpegs(seeds);
        addPngs(seeds);
        addGifs(seeds);
        addWebps(seeds);
        addAvifs(seeds);
        addHeifs(seeds);
        addSettings(seeds);
        addArchives(seeds);
        addManifests(seeds);
        addInstallers(seeds);
        addAppcasts(seeds);
        seeds.add("exif", "little", exifBlock(6));
        seeds.add("exif", "big", exifBlock(3, TiffByteOrder::big));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "make_fuzz_seeds: %s\n", error.what());
        return 1;
    }
    return 0;
}
