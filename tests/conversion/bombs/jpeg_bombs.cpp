#include "tests/conversion/bombs/bomb.h"

#include "tests/conversion/bombs/bomb_bytes.h"
#include "tests/support/exif_writer.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/jpeg_writer.h"

#include <random>
#include <string_view>

namespace ovrel::test {

namespace {

using namespace std::string_literals;

constexpr std::uint32_t largestSide = 65'500; // what libjpeg takes; ITU-T T.81, annex B.2.2 allows 35 more
constexpr std::uint64_t gibi = std::uint64_t{1} << 30;

const std::string endOfImage = "\xFF\xD9"s;

std::string gray(const JpegOptions& options, std::uint32_t side = 16) {
    JpegOptions ofGray = options;
    ofGray.colors = JpegColors::gray;
    return writeJpeg(makeImage(side, side, Rgba{90, 90, 90, 255}), ofGray);
}

JpegOptions progressive(bool arithmetic = false) {
    JpegOptions options;
    options.progressive = true;
    options.arithmetic = arithmetic;
    return options;
}

/// Progressive, with nearly all coefficients other than zero.
std::string noise(std::uint32_t side) {
    std::minstd_rand random(1);
    const auto sample = [&] { return static_cast<std::uint8_t>(random() >> 8); };
    JpegOptions options = progressive();
    options.colors = JpegColors::gray;
    options.quality = 100;
    return writeJpeg(makeImage(side, side,
                               [&](std::uint32_t, std::uint32_t) {
                                   const std::uint8_t value = sample();
                                   return Rgba{value, value, value, 255};
                               }),
                     options);
}

/// `file` with another size in its header.
/// \param startOfFrame the second byte of the marker: its number names the kind of coding
std::string claiming(std::uint32_t side, std::uint8_t startOfFrame, const std::string& file) {
    // ITU-T T.81, annex B.2.2: marker, length and precision, then height and width.
    constexpr std::size_t distance = 5;
    return withBytesBehind(file, {"\xFF"s + static_cast<char>(startOfFrame)}, distance,
                           bigEndianBytes(side, 2) + bigEndianBytes(side, 2));
}

// Annex B, table B.1.
constexpr std::uint8_t baseline = 0xC0;
constexpr std::uint8_t progressiveHuffman = 0xC2;
constexpr std::uint8_t sequentialArithmetic = 0xC9;
constexpr std::uint8_t progressiveArithmetic = 0xCA;

/// `file` with its last scan written that often again.
std::string withMoreScans(const std::string& file, std::size_t count) {
    const std::string startOfScan = "\xFF\xDA"s;
    const std::size_t end = file.size() - endOfImage.size();
    const std::size_t last = file.rfind(startOfScan);
    return file.substr(0, end) + repeated(file.substr(last, end - last), count) + endOfImage;
}

/// A multi-picture index (CIPA DC-007, section 5.2) that claims more pictures than there are bytes in the world.
std::string manyPictures() {
    const std::string format = "MPF\0"s;
    const std::string directory = "MM\0*"s + bigEndianBytes(8, 4) + bigEndianBytes(2, 2) + //
                                  bigEndianBytes(0xB001, 2) + bigEndianBytes(4, 2) + bigEndianBytes(1, 4) +
                                  bigEndianBytes(0xFFFFFFFF, 4) + //
                                  bigEndianBytes(0xB002, 2) + bigEndianBytes(7, 2) + bigEndianBytes(0xFFFFFFFF, 4) +
                                  bigEndianBytes(8, 4) + bigEndianBytes(8, 4);
    constexpr std::uint8_t app2 = 0xE2;
    return withSegments(gray({}), jpegSegment(app2, format + directory)) + gray({});
}

/// Exif whose directory claims 65535 entries, follows itself and ends nowhere.
std::string circularExif() {
    constexpr std::uint8_t app1 = 0xE1;
    const std::string entries = repeated(
        bigEndianBytes(0x010F, 2) + bigEndianBytes(2, 2) + bigEndianBytes(0xFFFFFFFF, 4) + bigEndianBytes(8, 4), 5'000);
    return withSegments(
        gray({}), jpegSegment(app1, "Exif\0\0MM\0*"s + bigEndianBytes(8, 4) + bigEndianBytes(65'535, 2) + entries));
}

std::string restartsOnly() {
    JpegOptions options;
    options.restartInterval = 1;
    const std::string file = gray(options, 8);
    std::string restarts;
    for (std::size_t i = 0; i < 8; ++i) {
        restarts += "\xFF"s + static_cast<char>(0xD0 + i);
    }
    return claiming(2'000, baseline, file.substr(0, file.size() - endOfImage.size())) + repeated(restarts, 7'812) +
           endOfImage;
}

std::string inks() {
    Image image = makeImage(16, 16, Rgba{10, 20, 30, 40});
    image.layout = PixelLayout::cmyk8;
    image.colorSpace.model = ColorModel::cmyk;
    JpegOptions options;
    options.colors = JpegColors::cmyk;
    return writeJpeg(image, options);
}

std::string manySegments() {
    constexpr std::uint8_t comment = 0xFE;
    return withSegments(gray({}), repeated(jpegSegment(comment, ""), 10'000'000));
}

} // namespace

std::vector<Bomb> jpegBombs() {
    JpegOptions arithmetic;
    arithmetic.arithmetic = true;
    const auto row = [](const char* name, Ending ending, std::function<std::string()> bytes) {
        return Bomb{name, "a.jpg", ending, std::move(bytes)};
    };
    std::vector<Bomb> bombs{
        row("JpegOfTenThousandScans", Ending::damaged, [] { return withMoreScans(gray(progressive()), 10'000); }),
        row("JpegOfManyScansOfManyDetails", Ending::converted, [] { return withMoreScans(noise(1'000), 190); }),
        row("JpegOfManyScansOfALargePicture", Ending::damaged,
            [] { return withMoreScans(claiming(6'000, progressiveHuffman, gray(progressive())), 180); }),
        row("ArithmeticJpegOfManyScansOfALargePicture", Ending::damaged,
            [] { return withMoreScans(claiming(6'000, progressiveArithmetic, gray(progressive(true))), 180); }),
        row("ArithmeticJpegOfAsManyScansAsEncodersWrite", Ending::converted,
            [] { return withMoreScans(claiming(2'000, progressiveArithmetic, gray(progressive(true))), 14); }),
        row("JpegOfTheLargestSize", Ending::lacksMemory, [] { return claiming(largestSide, baseline, gray({})); }),
        row("ProgressiveJpegOfTheLargestSize", Ending::lacksMemory,
            [] { return claiming(largestSide, progressiveHuffman, gray(progressive())); }),
        row("ArithmeticJpegOfTheLargestSize", Ending::lacksMemory,
            [arithmetic] { return claiming(largestSide, sequentialArithmetic, gray(arithmetic)); }),
        row("ArithmeticJpegWithLittleData", Ending::converted,
            [arithmetic] { return claiming(2'000, sequentialArithmetic, gray(arithmetic)); }),
        row("JpegOfInksOfTheLargestSize", Ending::lacksMemory, [] { return claiming(largestSide, baseline, inks()); }),
        row("JpegOfNothingButRestarts", Ending::converted, restartsOnly),
        row("JpegOfTenMillionComments", Ending::damaged, manySegments),
        row("JpegOfManyPictures", Ending::converted, manyPictures),
        row("JpegWithCircularExif", Ending::converted, circularExif),
    };
    bombs.push_back({"JpegWithoutEnd", "a.jpg", Ending::damaged, [] { return "\xFF\xD8\xFF\xE0"s; }, 1024 * gibi});
    bombs.push_back({"JpegWithBillionsOfZerosBetweenScans", "a.jpg", Ending::converted,
                     [] {
                         const std::string file = gray(progressive());
                         return file.substr(0, file.size() - endOfImage.size());
                     },
                     3 * gibi});
    return bombs;
}

} // namespace ovrel::test
