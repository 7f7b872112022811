/// \file bit_writer.h
/// Fields that do not keep to bytes.
#pragma once

#include <bit>
#include <cstdint>
#include <vector>

namespace ovrel::test {

/// Writes the most significant bit first.
class BitWriter {
public:
    BitWriter& bits(std::uint64_t value, unsigned count) {
        for (unsigned i = count; i-- > 0;) {
            if (used_ % 8 == 0) {
                bytes_.push_back(0);
            }
            bytes_.back() |= static_cast<std::uint8_t>((value >> i & 1U) << (7 - used_ % 8));
            ++used_;
        }
        return *this;
    }

    /// ITU-T H.265, section 9.2.
    BitWriter& exponentialGolomb(std::uint64_t value) {
        const auto width = static_cast<unsigned>(std::bit_width(value + 1));
        return bits(0, width - 1).bits(value + 1, width);
    }

    const std::vector<std::uint8_t>& bytes() const { return bytes_; }

private:
    std::vector<std::uint8_t> bytes_;
    unsigned used_ = 0; ///< bits
};

} // namespace ovrel::test
