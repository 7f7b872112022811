#include "platform/linux/hevc_work.h"

#include "platform/linux/heif_boxes.h"

#include <algorithm>
#include <vector>

namespace ovrel {

namespace {

/// More than the longest that stands before the size in a sequence parameter set.
constexpr std::size_t parameterBytes = 192;

/// ITU-T H.265, section 7.3.1.1: the byte 3 behind two zero bytes is there only so that no start code comes about.
std::vector<std::uint8_t> withoutPreventionBytes(HeifBytes payload) {
    std::vector<std::uint8_t> bytes;
    int zeros = 0;
    for (const std::uint8_t byte : payload.first(std::min(payload.size(), parameterBytes))) {
        if (zeros >= 2 && byte == 3) {
            zeros = 0;
            continue;
        }
        zeros = byte == 0 ? zeros + 1 : 0;
        bytes.push_back(byte);
    }
    return bytes;
}

/// Reads the most significant bit first.
class BitReader {
public:
    explicit BitReader(std::vector<std::uint8_t> bytes) : bytes_(std::move(bytes)) {}

    /// Whether bits were asked for that are not there.
    bool isExhausted() const { return isExhausted_; }

    std::uint32_t bit() {
        if (position_ / 8 >= bytes_.size()) {
            isExhausted_ = true;
            return 0;
        }
        const std::uint32_t value = bytes_[position_ / 8] >> (7 - position_ % 8) & 1U;
        ++position_;
        return value;
    }

    std::uint32_t bits(unsigned count) {
        std::uint32_t value = 0;
        for (unsigned i = 0; i < count; ++i) {
            value = value << 1 | bit();
        }
        return value;
    }

    void skip(unsigned count) { bits(count); }

    /// ITU-T H.265, section 9.2: as many zeros as bits follow the one behind them.
    std::uint64_t exponentialGolomb() {
        constexpr unsigned mostZeros = 32;
        unsigned zeros = 0;
        while (!isExhausted_ && bit() == 0) {
            if (++zeros > mostZeros) {
                isExhausted_ = true;
            }
        }
        return isExhausted_ ? 0 : (std::uint64_t{1} << zeros) - 1 + bits(zeros);
    }

private:
    std::vector<std::uint8_t> bytes_;
    std::size_t position_ = 0; ///< in bits
    bool isExhausted_ = false;
};

/// ITU-T H.265, section 7.3.3.
void skipProfileAndLevel(BitReader& reader, unsigned furtherLayers) {
    constexpr unsigned profileBits = 88;
    constexpr unsigned levelBits = 8;
    constexpr unsigned mostFurtherLayers = 8;
    reader.skip(profileBits + levelBits);
    unsigned bitsOfLayers = 0;
    for (unsigned layer = 0; layer < furtherLayers; ++layer) {
        bitsOfLayers += reader.bit() != 0 ? profileBits : 0;
        bitsOfLayers += reader.bit() != 0 ? levelBits : 0;
    }
    if (furtherLayers > 0) {
        reader.skip(2 * (mostFurtherLayers - furtherLayers));
    }
    reader.skip(bitsOfLayers);
}

/// ITU-T H.265, section 7.3.2.2.1, up to the size.
/// \param payload behind the unit's header
std::uint64_t pixelsOfParameterSet(HeifBytes payload) {
    BitReader reader(withoutPreventionBytes(payload));
    reader.skip(4); // sps_video_parameter_set_id
    const unsigned furtherLayers = reader.bits(3);
    reader.skip(1); // sps_temporal_id_nesting_flag
    skipProfileAndLevel(reader, furtherLayers);
    reader.exponentialGolomb(); // sps_seq_parameter_set_id
    constexpr std::uint64_t withoutSubsampling = 3;
    if (reader.exponentialGolomb() == withoutSubsampling) {
        reader.skip(1); // separate_colour_plane_flag
    }
    const std::uint64_t width = reader.exponentialGolomb();
    const std::uint64_t height = reader.exponentialGolomb();
    return reader.isExhausted() ? HevcWork::unlimited : boundedProduct(width, height);
}

} // namespace

void HevcWork::addUnits(HeifBytes data) {
    while (!data.empty()) {
        const std::uint64_t length = takeNumber(data, 4);
        addUnit(takeBytes(data, length));
    }
}

void HevcWork::addUnit(HeifBytes unit) {
    // ITU-T H.265, section 7.3.1.2: a zero bit, six bits of type, six of layer, three of temporal layer. Types below 32
    // are slices, whose first bit is set in the first one of a picture (section 7.3.6.1).
    constexpr std::size_t headerBytes = 2;
    constexpr std::uint64_t sequenceParameterSet = 33;
    constexpr std::uint64_t pictureParameterSet = 34;
    constexpr std::uint64_t firstOther = 32;
    constexpr std::uint8_t firstBit = 0x80;
    if (unit.size() <= headerBytes) {
        return;
    }
    const std::uint64_t header = takeNumber(unit, headerBytes);
    const std::uint64_t type = header >> 9 & 0x3FU;
    const bool isOfBaseLayer = (header >> 3 & 0x3FU) == 0;
    if (!isOfBaseLayer) {
        return; // which decoders of pictures leave out
    }
    if (type == sequenceParameterSet) {
        largestPicture_ = std::max(largestPicture_, pixelsOfParameterSet(unit));
    } else if (type == pictureParameterSet) {
        ++pictureParameterSets_;
    } else if (type < firstOther) {
        ++slices_;
        pictures_ += (unit.front() & firstBit) != 0 ? 1 : 0;
    }
}

std::uint64_t HevcWork::pixels() const {
    constexpr std::uint64_t setsOfPicture = 8; // encoders write one
    constexpr std::uint64_t mostSets = 64;     // ITU-T H.265, section 7.4.3.3.1: their numbers go to 63
    if (pictureParameterSets_ > mostSets) {
        return unlimited;
    }
    const std::uint64_t pictures = std::max(std::uint64_t{1}, pictures_);
    return boundedProduct(largestPicture_, pictures + pictureParameterSets_ / setsOfPicture);
}

std::uint64_t HevcWork::slicePixels() const {
    return boundedProduct(largestPicture_, slices_);
}

} // namespace ovrel
