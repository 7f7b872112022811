#include "platform/linux/exif_orientation.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace ovrel {

namespace {

/// Numbers of a TIFF structure in its byte order; 0 for what lies outside.
class TiffBytes {
public:
    TiffBytes(std::span<const std::uint8_t> bytes, bool bigEndian) : bytes_(bytes), bigEndian_(bigEndian) {}

    std::uint32_t number(std::size_t offset, std::size_t size) const {
        if (offset > bytes_.size() || size > bytes_.size() - offset) {
            return 0;
        }
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            value = value << 8 | bytes_[offset + (bigEndian_ ? i : size - 1 - i)];
        }
        return value;
    }

private:
    std::span<const std::uint8_t> bytes_;
    bool bigEndian_;
};

constexpr std::uint8_t upright = 1;

} // namespace

std::uint8_t exifOrientation(std::span<const std::uint8_t> exif) {
    // Exif 2.32, section 4.7.2: APP1 begins with this identifier; other containers leave it away.
    constexpr std::array<std::uint8_t, 6> identifier{'E', 'x', 'i', 'f', 0, 0};
    if (exif.size() >= identifier.size() && std::equal(identifier.begin(), identifier.end(), exif.begin())) {
        exif = exif.subspan(identifier.size());
    }
    // TIFF 6.0, section 2: byte order, 42, offset of IFD0.
    constexpr std::size_t headerBytes = 8;
    constexpr std::uint32_t magic = 42;
    if (exif.size() < headerBytes || exif[0] != exif[1] || (exif[0] != 'I' && exif[0] != 'M')) {
        return upright;
    }
    const TiffBytes tiff(exif, exif[0] == 'M');
    if (tiff.number(2, 2) != magic) {
        return upright;
    }
    // An IFD is the number of its entries, then entries of 12 bytes: tag, type, count, value.
    constexpr std::size_t entryBytes = 12;
    constexpr std::uint32_t orientationTag = 0x0112;
    constexpr std::uint32_t typeShort = 3;
    constexpr std::uint32_t typeLong = 4; // some writers store every number so
    const std::size_t directory = tiff.number(4, 4);
    const std::size_t entries = tiff.number(directory, 2);
    for (std::size_t i = 0; i < entries; ++i) {
        const std::size_t entry = directory + 2 + i * entryBytes;
        if (tiff.number(entry, 2) != orientationTag) {
            continue;
        }
        const std::uint32_t type = tiff.number(entry + 2, 2);
        const std::uint32_t value = type == typeShort  ? tiff.number(entry + 8, 2)
                                    : type == typeLong ? tiff.number(entry + 8, 4)
                                                       : 0;
        return value >= 1 && value <= 8 ? static_cast<std::uint8_t>(value) : upright;
    }
    return upright;
}

} // namespace ovrel
