#include "fuzz/seeds.h"
#include "platform/linux/color_profiles.h"
#include "tests/support/avif_writer.h"
#include "tests/support/exif_writer.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/gif_writer.h"
#include "tests/support/heif_file.h"
#include "tests/support/heif_writer.h"
#include "tests/support/icc_profiles.h"
#include "tests/support/jpeg_writer.h"
#include "tests/support/png_writer.h"
#include "tests/support/webp_writer.h"

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ovrel::test {

namespace {

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

std::string beginningOf(const std::string& file, std::size_t percent) {
    return file.substr(0, file.size() * percent / 100);
}

void addJpegs(const Seeds& seeds) {
    const std::string profile = textOf(colorSpaceFromCicp(12, 13).profile);
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
    options.colors = JpegColors::cmyk;
    options.adobe = false;
    seeds.add("jpeg", "cmyk-ink", writeJpeg(inkPicture(), options));
    options = {};
    options.colors = JpegColors::rgb;
    constexpr std::uint8_t app1 = 0xE1;
    seeds.add("jpeg", "rgb-xmp",
              withSegments(writeJpeg(picture(255), options), jpegSegment(app1, "http://ns.adobe.com/")));
}

/// Files that end early: in the head, in the first scan, in a later one.
void addCutJpegs(const Seeds& seeds) {
    const Image tall = makeImage(9, 40, [](std::uint32_t x, std::uint32_t y) {
        return Rgba{static_cast<std::uint8_t>(x * 28), static_cast<std::uint8_t>(y * 6),
                    static_cast<std::uint8_t>((x * y) % 251), 255};
    });
    JpegOptions options;
    seeds.add("jpeg", "cut", beginningOf(writeJpeg(tall, options), 90));
    seeds.add("jpeg", "cut-head", beginningOf(writeJpeg(tall, options), 10));
    options.arithmetic = true;
    seeds.add("jpeg", "cut-arithmetic", beginningOf(writeJpeg(tall, options), 80));
    options = {};
    options.progressive = true;
    seeds.add("jpeg", "cut-progressive", beginningOf(writeJpeg(tall, options), 60));
    options = {};
    options.restartInterval = 1;
    seeds.add("jpeg", "cut-restarts", beginningOf(writeJpeg(tall, options), 85));
    // The last scan more often than anybody would store one.
    options = {};
    options.progressive = true;
    std::string scans = writeJpeg(picture(255), options);
    const std::string last = scans.substr(scans.rfind("\xFF\xDA"));
    for (int i = 0; i < 250; ++i) {
        scans.insert(scans.size() - 2, last, 0, last.size() - 2); // in front of EOI
    }
    seeds.add("jpeg", "scans", scans);
    // Of the picture itself nothing but a restart marker, and one whose rows end at once.
    const std::string whole = writeJpeg(tall);
    const std::size_t scan = whole.find("\xFF\xDA");
    constexpr std::size_t scanHeaderBytes = 14; // of three components
    seeds.add("jpeg", "no-data", whole.substr(0, scan + scanHeaderBytes) + "\xFF\xD0\xFF\xD9");
    seeds.add("jpeg", "few-data", whole.substr(0, scan + scanHeaderBytes + 2) + "\xFF\xD9");
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
    png.beforeImageData = {{"iCCP", pngProfile(textOf(colorSpaceFromCicp(12, 13).profile))}};
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
    gray.beforeImageData = {{"iCCP", pngProfile(textOf(grayProfile(2.2)))}};
    seeds.add("png", "gray-profile", writePng(gray));
}

void addDescribedPngs(const Seeds& seeds) {
    // White and the three primaries, x and y of each in hundred thousandths (PNG, third edition, section 11.3.2.1).
    std::string chromaticities;
    for (const std::uint32_t value : {31270U, 32900U, 68000U, 32000U, 26500U, 69000U, 15000U, 6000U}) {
        chromaticities += pngInteger(value);
    }
    PngPicture png = pngOf(picture(255));
    png.colorType = PngColorType::rgb;
    std::erase_if(png.samples, [i = 0](std::uint16_t) mutable { return i++ % 4 == 3; });
    png.transparency = {0, 0, 0};
    png.beforeImageData = {{"gAMA", pngInteger(45455)}, {"cHRM", chromaticities}};
    seeds.add("png", "chromaticities-gamma", writePng(png));
    png.beforeImageData = {{"cHRM", chromaticities}};
    seeds.add("png", "chromaticities", writePng(png));
    png.beforeImageData = {{"sRGB", std::string(1, '\0')}};
    seeds.add("png", "srgb", writePng(png));
    png.beforeImageData = {{"fcTL", pngFrameControl(0, 19, 13)}, {"acTL", pngAnimationControl(1)}};
    png.afterImageData = {{"acTL", pngAnimationControl(3)}, {"cICP", std::string("\x01\x0D\x00\x01", 4)}};
    const std::string whole = writePng(png);
    seeds.add("png", "apng-first", whole);
    seeds.add("png", "cut", beginningOf(whole, 60));
    // Few bytes of image data for many pixels, and none at all.
    const std::string head = pngSignature + pngChunk("IHDR", pngHeader(1000, 1000));
    seeds.add("png", "starved", head + pngChunk("IDAT", "x") + pngChunk("IEND", ""));
    seeds.add("png", "no-data", head + pngChunk("IEND", ""));
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
    seeds.add("gif", "cut", beginningOf(writeGif(content), 88));
}

void addOddGifs(const Seeds& seeds) {
    GifContent content;
    content.width = 40;
    content.height = 40;
    GifFrameBlock frame;
    frame.width = 40;
    frame.height = 40;
    // Enough different strings to use all codes up.
    for (std::uint32_t i = 0; i < 1600; ++i) {
        frame.pixels.push_back(static_cast<std::uint8_t>(i * i * 7 % 251));
    }
    frame.imageData = gifImageData(frame.pixels, 8);
    content.frames = {frame};
    seeds.add("gif", "no-palette", writeGif(content));
    content.palette = {{0, 0, 0}, {255, 0, 0}};
    content.frames[0].imageData.reset();
    content.frames[0].pixels.assign(1600, 1);
    GifFrameBlock outside = content.frames[0];
    outside.left = 41;
    GifFrameBlock wide = content.frames[0];
    wide.top = 20;
    wide.interlaced = true;
    wide.control = GifControl{0, 4, 1};
    GifFrameBlock unreadable = content.frames[0];
    unreadable.imageData = std::string("\x0C\x01\x00\x00", 4);
    GifFrameBlock empty = content.frames[0];
    empty.imageData = std::string("\x02\x00", 2);
    GifFrameBlock damaged = content.frames[0];
    damaged.imageData = std::string("\x02\x02\xFF\xFF\x00\x00", 6);
    content.frames = {outside, wide, unreadable, empty, damaged, wide};
    content.loop = GifLoop{0, "ANIMEXTS1.0"};
    seeds.add("gif", "odd", writeGif(content));
    const std::string header = gifHeader(4, 4, content.palette);
    const std::string comment("\x21\xFE\x02hi\x00", 6);
    seeds.add("gif", "empty", header + comment + gifApplication("XMP DataXMP", "x") + ";");
    seeds.add("gif", "cut-extension", header + comment.substr(0, 4));
    seeds.add("gif", "cut-control", header + std::string("\x21\xF9\x01\x01\x00", 5) + "\x2C");
}

void addWebps(const Seeds& seeds) {
    WebpMetadata metadata;
    seeds.add("webp", "lossless", writeWebp(picture(100)));
    metadata.exif = exifBlock(8);
    metadata.icc = textOf(colorSpaceFromCicp(12, 13).profile);
    seeds.add("webp", "lossy", writeWebp(picture(100), metadata, 40.0F));
    WebpAnimation animation;
    animation.width = 24;
    animation.height = 16;
    animation.frames = {{writeWebp(picture(100)), 0, 0}, {writeWebp(picture(0), {}, 30.0F), 4, 2, 50, false, true}};
    seeds.add("webp", "animation", writeWebpAnimation(animation));
    animation.frames.push_back(animation.frames.front());
    animation.metadata = metadata;
    animation.loops = 3;
    const std::string turned = writeWebpAnimation(animation);
    seeds.add("webp", "animation-turned", turned);
    seeds.add("webp", "animation-cut", beginningOf(turned, 97));
    seeds.add("webp", "opaque", writeWebp(picture(255), {}, 10.0F));
    seeds.add("webp", "cut", beginningOf(writeWebp(picture(100)), 70));
    seeds.add("webp", "cut-head", beginningOf(writeWebp(picture(100), metadata), 2));
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
    options.icc = textOf(colorSpaceFromCicp(12, 13).profile);
    seeds.add("avif", "cropped-profile", writeAvif(picture(255), options));
    std::vector<Image> frames;
    frames.push_back(picture(255));
    frames.push_back(picture(50));
    seeds.add("avif", "sequence", writeAvifSequence(frames));
    options = {};
    options.repetitionCount = 2;
    options.depth = 12;
    const std::string repeated = writeAvifSequence(frames, options);
    seeds.add("avif", "sequence-repeated", repeated);
    seeds.add("avif", "sequence-cut", beginningOf(repeated, 80));
    options = {};
    options.chroma = AvifChroma::none;
    options.matrix = 1;
    options.alpha = false;
    options.icc = textOf(grayProfile(1.8));
    const std::string gray = writeAvif(picture(255), options);
    seeds.add("avif", "gray-profile", gray);
    seeds.add("avif", "gray-cut", beginningOf(gray, 95));
    options = {};
    options.premultiplied = true;
    options.matrix = 1;
    options.fullRange = false;
    options.turns = 3;
    options.crop = AvifCrop{0, 1, 18, 12};
    seeds.add("avif", "premultiplied-cropped-turned", writeAvif(picture(100), options));
}

void addHeifs(const Seeds& seeds) {
    const auto add = [&](const std::string& name, std::uint8_t alpha, const HeifOptions& options) {
        std::vector<Image> images;
        images.push_back(picture(alpha));
        if (name.ends_with("two")) {
            images.push_back(picture(255));
        }
        if (const std::optional<std::string> file = writeHeif(images, options)) {
            seeds.add("heif", name, *file);
            seeds.add("heif", name + "-cut", beginningOf(*file, 90));
        }
    };
    HeifOptions options;
    options.orientation = 6;
    add("hevc", 100, options);
    options.icc = textOf(displayP3Profile());
    add("hevc-profile-two", 255, options);
    options.icc = textOf(grayProfile(2.2));
    options.premultiplied = true;
    add("hevc-gray-profile", 100, options);
    options = {};
    options.depth = 10;
    options.statesCicp = true;
    options.primaries = 12;
    add("hevc-deep", 255, options);
    options = {};
    options.compression = HeifCompression::av1;
    add("av1", 100, options);
    // AV1 under a brand of HEIF, which needs no encoder of libheif's.
    std::string general = writeAvif(picture(100));
    constexpr std::size_t majorBrandOffset = 8;
    seeds.add("heif", "avif", general.replace(majorBrandOffset, 4, "mif1"));
    seeds.add("heif", "avif-sequence", general.replace(majorBrandOffset, 4, "msf1"));
}

/// Pictures that are made of others, and of what is none.
void addDerivedHeifs(const Seeds& seeds) {
    constexpr std::uint32_t side = 64;
    constexpr std::uint64_t missing = 99;
    const std::optional<HeifItem> picture = hevcItem(2, makeImage(side, side, Rgba{90, 120, 30, 255}));
    if (!picture) {
        return;
    }
    const HeifItem exif{3, "Exif", {}, std::string(4, '\0') + exifBlock(6)};
    for (const HeifItem& derived :
         {gridItem(1, 1, 2, 2 * side, side), overlayItem(1, 2, side, side), identityItem(1, side, side)}) {
        const std::vector<std::uint64_t> parts(derived.type == "iden" ? 1 : 2, picture->id);
        const std::string whole = heifFile({derived, *picture, exif}, {{"dimg", 1, parts}, {"cdsc", exif.id, {1}}});
        seeds.add("heif", derived.type, whole);
        seeds.add("heif", derived.type + "-cut", beginningOf(whole, 90));
        seeds.add("heif", derived.type + "-exif", heifFile({derived, *picture, exif}, {{"dimg", 1, {exif.id}}}));
        seeds.add("heif", derived.type + "-missing", heifFile({derived, *picture}, {{"dimg", 1, {missing}}}));
    }
}

/// What decides how a decoded picture becomes an upright one in sRGB.
void addColorsAndTurns(const Seeds& seeds) {
    for (std::uint16_t orientation = 2; orientation <= 8; ++orientation) {
        JpegOptions options;
        options.exif = exifBlock(orientation);
        options.colors = JpegColors::gray;
        const Image tall = makeImage(9, 70, [](std::uint32_t x, std::uint32_t y) {
            return Rgba{static_cast<std::uint8_t>(x * 28), static_cast<std::uint8_t>(y * 3), 0, 255};
        });
        seeds.add("image", "turned-" + std::to_string(orientation), writeJpeg(tall, options));
    }
    // ITU-T H.273, tables 2 and 3: primaries and transfer.
    for (const auto& [primaries, transfer] :
         {std::pair(1, 16), std::pair(4, 4), std::pair(5, 5), std::pair(6, 8), std::pair(8, 17), std::pair(9, 18),
          std::pair(11, 1), std::pair(22, 13)}) {
        PngPicture png = pngOf(picture(100));
        const std::string codePoints{static_cast<char>(primaries), static_cast<char>(transfer), '\0', '\x01'};
        png.beforeImageData = {{"cICP", codePoints}};
        seeds.add("image", "code-points-" + std::to_string(primaries), writePng(png));
    }
    JpegOptions options;
    options.profile = textOf(savedProfile([](cmsContext context) { return cmsCreate_sRGBProfileTHR(context); }));
    seeds.add("image", "srgb-profile", writeJpeg(picture(255), options));
    options.profile = "no profile";
    seeds.add("image", "no-profile", writeJpeg(picture(255), options));
    options.profile = textOf(grayProfile(2.2));
    seeds.add("image", "other-profile", writeJpeg(picture(255), options));
    options.colors = JpegColors::gray;
    options.profile = textOf(displayP3Profile());
    seeds.add("image", "gray-by-rgb-profile", writeJpeg(picture(255), options));
    options.colors = JpegColors::cmyk;
    options.profile = textOf(inkProfile());
    seeds.add("image", "ink-profile", writeJpeg(inkPicture(), options));
    seeds.add("image", "unknown-brand",
              std::string("\0\0\0\x14"
                          "ftypqt  \0\0\0\0none",
                          20));
    seeds.add("image", "compatible-brand",
              std::string("\0\0\0\x18"
                          "ftypmif1\0\0\0\0miafavif",
                          24));
    seeds.add("image", "no-picture", "text");
}

void addExifs(const Seeds& seeds) {
    seeds.add("exif", "little", exifBlock(6));
    seeds.add("exif", "big", exifBlock(3, TiffByteOrder::big));
    seeds.add("exif", "with-identifier", std::string("Exif\0\0", 6) + exifBlock(8));
    seeds.add("exif", "invalid", exifBlock(9));
    // One entry; some writers store the orientation in four bytes.
    seeds.add("exif", "long", std::string("MM\0\x2A\0\0\0\x08\0\x01\x01\x12\0\x04\0\0\0\x01\0\0\0\x07", 22));
    seeds.add("exif", "other-type", std::string("MM\0\x2A\0\0\0\x08\0\x01\x01\x12\0\x02\0\0\0\x01\0\x07\0\0", 22));
    seeds.add("exif", "other-magic", std::string("MM\0\x2B\0\0\0\x08", 8));
}

} // namespace

void addPictureSeeds(const Seeds& seeds) {
    addJpegs(seeds);
    addCutJpegs(seeds);
    addPngs(seeds);
    addDescribedPngs(seeds);
    addGifs(seeds);
    addOddGifs(seeds);
    addWebps(seeds);
    addAvifs(seeds);
    addHeifs(seeds);
    addDerivedHeifs(seeds);
    addColorsAndTurns(seeds);
    addExifs(seeds);
}

} // namespace ovrel::test
