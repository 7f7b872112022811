#include "tests/support/hevc_units.h"

#include "tests/support/bit_writer.h"

#include <vector>

namespace ovrel::test {

namespace {

/// ITU-T H.265, section 7.4.1.1.
std::string withPreventionBytes(const std::vector<std::uint8_t>& bytes) {
    std::string payload;
    int zeros = 0;
    for (const std::uint8_t byte : bytes) {
        if (zeros == 2 && byte <= 3) {
            payload += '\x03';
            zeros = 0;
        }
        zeros = byte == 0 ? zeros + 1 : 0;
        payload += static_cast<char>(byte);
    }
    return payload;
}

void writeProfile(BitWriter& writer, std::uint8_t byte) {
    constexpr int profileBytes = 11;
    for (int i = 0; i < profileBytes; ++i) {
        writer.bits(byte, 8);
    }
}

} // namespace

std::string hevcUnit(unsigned type, const std::string& payload, unsigned layer) {
    const unsigned header = type << 9 | layer << 3 | 1;
    return std::string{static_cast<char>(header >> 8), static_cast<char>(header & 0xFFU)} + payload;
}

std::string hevcParameterUnit(const HevcParameters& parameters) {
    constexpr unsigned level = 93;
    constexpr unsigned sequenceParameterSet = 33;
    BitWriter writer;
    writer.bits(0, 4).bits(parameters.furtherLayers, 3).bits(1, 1);
    writeProfile(writer, parameters.profileByte);
    writer.bits(level, 8);
    for (unsigned i = 0; i < parameters.furtherLayers; ++i) {
        writer.bits(3, 2);
    }
    writer.bits(0, parameters.furtherLayers > 0 ? 2 * (8 - parameters.furtherLayers) : 0);
    for (unsigned i = 0; i < parameters.furtherLayers; ++i) {
        writeProfile(writer, parameters.profileByte);
        writer.bits(level, 8);
    }
    writer.exponentialGolomb(0).exponentialGolomb(parameters.chromaFormat);
    writer.bits(0, parameters.chromaFormat == 3 ? 1 : 0);
    writer.exponentialGolomb(parameters.width).exponentialGolomb(parameters.height).bits(1, 1);
    return hevcUnit(sequenceParameterSet, withPreventionBytes(writer.bytes()));
}

std::string hevcSlice(bool isFirstOfPicture) {
    constexpr unsigned instantRefresh = 19;
    return hevcUnit(instantRefresh, isFirstOfPicture ? "\xAF" : "\x2F");
}

std::string withLength(const std::string& unit) {
    std::string length;
    for (int shift = 24; shift >= 0; shift -= 8) {
        length += static_cast<char>(unit.size() >> shift & 0xFFU);
    }
    return length + unit;
}

} // namespace ovrel::test
