#include "tests/support/exif_writer.h"

#include <cstddef>

namespace ovrel::test {

namespace {

constexpr std::uint16_t typeShort = 3;

class TiffWriter {
public:
    explicit TiffWriter(TiffByteOrder order) : order_(order) {}

    void number(std::uint32_t value, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) {
            const std::size_t place = order_ == TiffByteOrder::big ? size - 1 - i : i;
            bytes_.push_back(static_cast<char>(value >> (place * 8) & 0xFF));
        }
    }

    void shortEntry(std::uint16_t tag, std::uint16_t value) {
        number(tag, 2);
        number(typeShort, 2);
        number(1, 4);
        number(value, 2);
        number(0, 2);
    }

    std::string bytes() const { return bytes_; }

private:
    TiffByteOrder order_;
    std::string bytes_;
};

} // namespace

std::string exifBlock(std::uint16_t orientation, TiffByteOrder order) {
    constexpr std::uint16_t orientationTag = 0x0112;
    constexpr std::uint16_t resolutionUnitTag = 0x0128;
    constexpr std::uint16_t inch = 2;
    TiffWriter tiff(order);
    tiff.number(order == TiffByteOrder::big ? 0x4D4D : 0x4949, 2);
    tiff.number(42, 2);
    tiff.number(8, 4); // IFD0 follows at once
    tiff.number(2, 2);
    tiff.shortEntry(orientationTag, orientation);
    tiff.shortEntry(resolutionUnitTag, inch);
    tiff.number(0, 4); // no IFD1
    return tiff.bytes();
}

StoredPlace storedPlace(std::uint16_t orientation, std::uint32_t x, std::uint32_t y, std::uint32_t width,
                        std::uint32_t height) {
    switch (orientation) {
    case 2: return {width - 1 - x, y};              // first row at the top, first column at the right
    case 3: return {width - 1 - x, height - 1 - y}; // bottom, right
    case 4: return {x, height - 1 - y};             // bottom, left
    case 5: return {y, x};                          // first row at the left, first column at the top
    case 6: return {y, height - 1 - x};             // right, top
    case 7: return {width - 1 - y, height - 1 - x}; // right, bottom
    case 8: return {width - 1 - y, x};              // left, bottom
    default: return {x, y};
    }
}

} // namespace ovrel::test
