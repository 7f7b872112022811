/// \file avif_double.h
/// Stands in for libavif and for the system's count of processors: encodes nothing, refuses what the test wants
/// refused, and remembers every call.
#pragma once

#include <avif/avif.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace ovrel::test {

/// One conversion of pixels, of a whole image or of a view of it.
struct Conversion {
    std::uint32_t top = 0; ///< row of the image where the view begins
    avifImage target{};
    avifRGBImage source{};
    std::thread::id thread;
};

/// The entry points of libavif act on the one that lives; there is one at a time.
class AvifDouble {
public:
    AvifDouble();
    ~AvifDouble();
    AvifDouble(const AvifDouble&) = delete;
    AvifDouble& operator=(const AvifDouble&) = delete;

    // What it shall do.
    long processors = 4;
    bool refusesImages = false;
    bool refusesEncoders = false;
    bool refusesEmptyImages = false;
    std::string refusedOption;
    avifResult ofAllocation = AVIF_RESULT_OK;
    avifResult ofView = AVIF_RESULT_OK;
    avifResult ofConversion = AVIF_RESULT_OK;
    avifResult ofWrite = AVIF_RESULT_OK;
    avifResult ofAdd = AVIF_RESULT_OK;
    avifResult ofFinish = AVIF_RESULT_OK;
    std::string diagnosis; ///< what new encoders say of their errors
    std::string output = "the file";
    std::function<void()> duringConversion; ///< called on the converting thread, several at once

    // What was done. Views and conversions, whose order is open, are not among the calls.
    std::vector<std::string> calls;
    std::vector<Conversion> conversions;
    avifEncoder encoderAtWork{}; ///< when it last got an image
    avifImage imageAtWork{};
    std::uint64_t durationAtWork = 0;
    avifAddImageFlags flagsAtWork = 0xffffffff;
    int planesReleased = 0;           ///< how often an image released planes that it called its own
    std::multiset<const void*> alive; ///< what was created and not released: images, views, encoders and outputs

    std::mutex mutex; ///< guards all but the first group
};

/// What a new encoder of the double holds, so that a test can see which fields keep their defaults.
avifEncoder encoderDefaults();

/// The same for the description of pixels.
avifRGBImage sourceDefaults();

} // namespace ovrel::test
