/// \file jpeg_decompressor.h
/// libjpeg, reading a file within limits that keep hostile ones from costing far more than their size.
#pragma once

#include "platform/image.h"
#include "platform/linux/input_file.h"

#include <cstdio> // jpeglib.h needs it

#include <jpeglib.h>

#include <jerror.h>

#include <array>
#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>

namespace ovrel {

/// libjpeg's state and its callbacks. The library leaves a failed call by longjmp, so the callbacks, and the steps
/// given to attempt(), keep nothing on the stack that has a destructor; all that lives longer stands in here.
/// The file must live longer. One thread at a time.
class JpegDecompressor {
public:
    /// \throws std::bad_alloc
    explicit JpegDecompressor(const InputFile& file);
    ~JpegDecompressor() { jpeg_destroy_decompress(&info); }
    JpegDecompressor(const JpegDecompressor&) = delete;
    JpegDecompressor& operator=(const JpegDecompressor&) = delete;

    /// Reads up to the first scan, keeping the segments of one APPn marker.
    /// \return false when the head is damaged or beyond a limit
    /// \throws std::bad_alloc
    bool readHead(int keptMarker);

    /// Whether anything stands between the head, just read, and the end of the picture.
    bool hasData() const;

    /// Bytes that the library holds of a file with several scans until the last one is read.
    std::uint64_t coefficientBytes() const;

    /// Prepares for rows; of a file with several scans reads them all.
    /// \return false when the data are damaged or beyond a limit
    /// \throws std::bad_alloc
    bool start();

    /// \return whether the row is there: stored in the file, or grey beside what is
    /// \throws std::bad_alloc
    bool readRow(std::uint8_t* row);

    /// The profile of the APP2 segments, empty when there is none (ICC.1:2010, annex B).
    /// \throws std::bad_alloc
    ColorSpace embeddedColorSpace(ColorModel model);

    /// Whether the file could not be read to its end. What came then is no picture to keep.
    bool deviceFailed() const { return deviceFailed_; }

    jpeg_decompress_struct info{}; ///< its fields are set between the steps

private:
    /// \return whether the library came back from `step` without a fatal error
    /// \throws std::bad_alloc when it had too little memory
    template <typename Step>
    bool attempt(const Step& step) {
        if (setjmp(failure_) != 0) {
            if (errors_.msg_code == JERR_OUT_OF_MEMORY) {
                throw std::bad_alloc();
            }
            return false;
        }
        step();
        return true;
    }

    static JpegDecompressor& of(j_common_ptr info) { return *static_cast<JpegDecompressor*>(info->client_data); }
    static JpegDecompressor& of(j_decompress_ptr info) { return *static_cast<JpegDecompressor*>(info->client_data); }

    boolean fillBuffer();
    void skip(long bytes);
    void meetWarning();
    void countKeptMarker();
    void countScan();
    std::uint64_t endOfData() const;
    void endPicture();

    const InputFile& file_;
    std::uint64_t position_ = 0;
    std::array<JOCTET, std::size_t{64} << 10> buffer_{};
    bool deviceFailed_ = false;
    int keptMarkers_ = 0;
    int countedScans_ = 0;
    std::uint64_t passedBlocks_ = 0; ///< in the scans so far
    bool severalScans_ = false;
    std::uint32_t endOfRows_ = std::numeric_limits<std::uint32_t>::max(); ///< behind the last row of which some came
    jpeg_error_mgr errors_{};
    jpeg_source_mgr source_{};
    jpeg_progress_mgr progress_{};
    std::jmp_buf failure_{};
};

} // namespace ovrel
