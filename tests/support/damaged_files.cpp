#include "tests/support/damaged_files.h"

#include "tests/support/memory_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <random>
#include <string_view>

namespace ovrel::test {

namespace {

/// Damage can claim any number of frames, but more than this many show nothing new.
constexpr std::size_t framesLookedAt = 32;

/// \return the sum of the samples, so that they are read; of a huge picture only the beginning
unsigned sumOf(const Image& image) {
    constexpr std::size_t mostBytes = std::size_t{128} << 10;
    unsigned sum = 0;
    for (std::size_t i = 0; i < std::min(image.samples.size(), mostBytes); ++i) {
        sum += image.samples.data()[i];
    }
    return sum;
}

void expectSoundImages(std::string_view bytes, const OpenSource& open) {
    try {
        const std::unique_ptr<ImageSource> source = open(memoryFile(bytes));
        if (!source) {
            return;
        }
        ASSERT_GE(source->count(), 1U);
        volatile unsigned seen = 0;
        for (std::size_t index = 0; index < std::min(source->count(), framesLookedAt); ++index) {
            const ImageProperties properties = source->properties(index);
            ASSERT_GE(properties.orientation, 1);
            ASSERT_LE(properties.orientation, 8);
            if (const std::optional<Image> image = source->decode(index)) {
                ASSERT_GE(image->width, 1U);
                ASSERT_GE(image->height, 1U);
                ASSERT_EQ(image->samples.size(), image->height * image->bytesPerRow());
                seen = seen + sumOf(*image);
            }
        }
    } catch (const std::bad_alloc&) {
        // A damaged size may well be too large.
    }
}

} // namespace

void expectToSurviveTruncation(const std::string& file, const OpenSource& open, std::size_t step) {
    for (std::size_t size = 0; size < file.size(); size += step) {
        SCOPED_TRACE(size);
        expectSoundImages(std::string_view(file).substr(0, size), open);
    }
}

void expectToSurviveBitFlips(const std::string& file, const OpenSource& open, unsigned rounds, std::uint32_t seed) {
    constexpr unsigned mostFlips = 4;
    constexpr unsigned bitsPerByte = 8;
    std::mt19937 random(seed); // its sequence is the same everywhere; that of the distributions is not
    for (unsigned round = 0; round < rounds; ++round) {
        SCOPED_TRACE(round);
        std::string damaged = file;
        for (unsigned flips = 1 + random() % mostFlips; flips > 0; --flips) {
            char& byte = damaged[random() % damaged.size()];
            byte = static_cast<char>(byte ^ (1 << random() % bitsPerByte));
        }
        expectSoundImages(damaged, open);
    }
}

} // namespace ovrel::test
