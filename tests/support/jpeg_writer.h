/// \file jpeg_writer.h
/// JPEG files of every kind, written by libjpeg. A description that it refuses ends the program.
#pragma once

#include "platform/image.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace ovrel::test {

/// How the samples are stored (ITU-T T.871, Adobe Technical Note 5116).
enum class JpegColors {
    gray,  ///< of an rgba8 picture
    yCbCr, ///< of an rgba8 picture
    rgb,   ///< of an rgba8 picture
    cmyk,  ///< of a cmyk8 picture
    ycck,  ///< of a cmyk8 picture
};

struct JpegOptions {
    JpegColors colors = JpegColors::yCbCr;
    int quality = 95;              ///< 1 … 100
    int horizontalSubsampling = 1; ///< pixels for one sample of chroma in a row, 1 … 4
    int verticalSubsampling = 1;   ///< the same in a column, 1 … 4
    bool progressive = false;
    bool arithmetic = false;
    bool scanForEachComponent = false; ///< sequential, but not interleaved
    unsigned restartInterval = 0;      ///< MCUs between restart markers, 0 for none

    /// Marks CMYK as Adobe does and stores it inverted; YCCK is always so.
    bool adobe = true;

    std::string exif;    ///< a TIFF structure, see exifBlock(); none when empty
    std::string profile; ///< ICC profile; none when empty
};

/// \param image rgba8, whose alpha is left away, or cmyk8, as the colours demand
std::string writeJpeg(const Image& image, const JpegOptions& options = {});

/// A marker segment as it stands in a file: 0xFF, the marker, the length, the content of at most 65533 bytes.
std::string jpegSegment(std::uint8_t marker, std::string_view content);

/// `file` with `segments` right behind its first two bytes, SOI.
std::string withSegments(std::string file, std::string_view segments);

} // namespace ovrel::test
