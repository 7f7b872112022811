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

/// The fields of an encoder that differ from those of a new one, such as "quality=70".
std::vector<std::string> changes(const avifEncoder& encoder);

/// The same of a description of pixels, apart from its size and pixels.
std::vector<std::string> changes(const avifRGBImage& source);

/// The same of an image, apart from its size and planes.
std::vector<std::string> changes(const avifImage& image);

/// What the encoder says of every image: sRGB with BT.601's matrix (ITU-T H.273), full range, straight alpha.
extern const std::vector<std::string> srgbImage;

/// What it says of every source.
extern const std::vector<std::string> premultipliedRgba;

} // namespace ovrel::test
