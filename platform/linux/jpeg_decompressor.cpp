#include "platform/linux/jpeg_decompressor.h"

#include "platform/linux/color_profiles.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace ovrel {

namespace {

/// Encoders write up to about 20 scans. Each costs a pass over all coefficients, however few bytes it takes.
constexpr int maximumScans = 200;

/// So in a large picture scans are limited by the blocks of coefficients that they pass over: encoders go over each
/// block up to eight times. A block takes half a microsecond at worst.
constexpr std::uint64_t maximumPasses = 12;
constexpr std::uint64_t alwaysAllowedBlocks = std::uint64_t{1} << 23;

/// Compressed samples take less than this; the rest of a file is padding, which is read no further.
constexpr std::uint64_t mostBytesOfSample = 8;

/// Exif and profiles are kept in memory until the first scan. Theirs are 16 MiB at most; the rest is room for what
/// cameras put in between.
constexpr std::uint64_t maximumHeadBytes = std::uint64_t{64} << 20;

/// A profile has 255 segments at most (ICC.1:2010, annex B.4), Exif one; this leaves room for what cameras add.
constexpr int maximumKeptMarkers = 4096;

std::uint64_t blocksOf(const jpeg_component_info& component) {
    return std::uint64_t{component.width_in_blocks} * component.height_in_blocks;
}

} // namespace

JpegDecompressor::JpegDecompressor(const InputFile& file) : file_(file) {
    info.err = jpeg_std_error(&errors_);
    info.client_data = this;
    errors_.error_exit = [](j_common_ptr common) { std::longjmp(of(common).failure_, 1); };
    errors_.emit_message = [](j_common_ptr common, int level) {
        if (level < 0) {
            of(common).meetWarning();
        } else if (common->err->msg_code == JTRC_MISC_MARKER) {
            of(common).countKeptMarker();
        }
    };
    source_.init_source = [](j_decompress_ptr) {};
    source_.fill_input_buffer = [](j_decompress_ptr decompress) { return of(decompress).fillBuffer(); };
    source_.skip_input_data = [](j_decompress_ptr decompress, long bytes) { of(decompress).skip(bytes); };
    source_.resync_to_restart = jpeg_resync_to_restart;
    source_.term_source = [](j_decompress_ptr) {};
    progress_.progress_monitor = [](j_common_ptr common) { of(common).countScan(); };
    if (!attempt([&] { jpeg_create_decompress(&info); })) {
        throw std::bad_alloc();
    }
    info.src = &source_;
    info.progress = &progress_;
}

boolean JpegDecompressor::fillBuffer() {
    if (info.input_scan_number == 0 && position_ > maximumHeadBytes) {
        ERREXIT(&info, JERR_INPUT_EOF);
    }
    const std::uint64_t end = endOfData();
    std::size_t count = position_ < end ? file_.readAt(position_, buffer_) : 0;
    if (count == 0 && position_ < end) {
        deviceFailed_ = true;
        ERREXIT(&info, JERR_FILE_READ);
    }
    position_ += count;
    if (count == 0) {
        // ITU-T T.81, annex B.2.1: a picture ends with EOI. Met early it makes the library stop reading, not fail. An
        // arithmetic decoder goes on with zeros, which are data like any other, so it is stopped here.
        constexpr std::array<JOCTET, 2> endOfImage{0xFF, JPEG_EOI};
        std::copy(endOfImage.begin(), endOfImage.end(), buffer_.begin());
        count = endOfImage.size();
        if (info.arith_code) {
            endPicture();
        }
    }
    source_.next_input_byte = buffer_.data();
    source_.bytes_in_buffer = count;
    return TRUE;
}

void JpegDecompressor::skip(long bytes) {
    if (bytes <= 0) {
        return;
    }
    const auto count = static_cast<std::size_t>(bytes);
    const std::size_t buffered = std::min(count, source_.bytes_in_buffer);
    source_.next_input_byte += buffered;
    source_.bytes_in_buffer -= buffered;
    position_ += count - buffered;
}

/// libjpeg walks the list of kept segments to append one, so very many of them would cost hours.
void JpegDecompressor::countKeptMarker() {
    if (++keptMarkers_ > maximumKeptMarkers) {
        ERREXIT(&info, JERR_TOO_LITTLE_DATA);
    }
}

/// Called at least once in every scan.
void JpegDecompressor::countScan() {
    if (info.input_scan_number == countedScans_) {
        return;
    }
    countedScans_ = info.input_scan_number;
    for (int i = 0; i < info.comps_in_scan; ++i) {
        passedBlocks_ += blocksOf(*info.cur_comp_info[i]);
    }
    std::uint64_t blocks = 0;
    for (int i = 0; i < info.num_components; ++i) {
        blocks += blocksOf(info.comp_info[i]);
    }
    if (countedScans_ > maximumScans || passedBlocks_ > std::max(alwaysAllowedBlocks, maximumPasses * blocks)) {
        ERREXIT(&info, JERR_TOO_LITTLE_DATA);
    }
}

/// Where reading stops: at the end of the file, or where no picture of this size could reach.
std::uint64_t JpegDecompressor::endOfData() const {
    const auto components = static_cast<std::uint64_t>(std::max(info.num_components, 0));
    const std::uint64_t samples = std::uint64_t{info.image_width} * info.image_height * components;
    return std::min(file_.size(), maximumHeadBytes + samples * mostBytesOfSample);
}

void JpegDecompressor::meetWarning() {
    // The decoder is at a marker before the scan is complete. It stays there unless further scans follow or restart
    // markers let it begin anew.
    const bool rests = info.unread_marker == JPEG_EOI || (!severalScans_ && info.restart_interval == 0);
    if (errors_.msg_code == JWRN_HIT_MARKER && rests) {
        endPicture();
    }
}

/// Called when the data of a scan is used up. After the first scan of several there is a coarse picture everywhere.
void JpegDecompressor::endPicture() {
    if (info.input_scan_number != 1) {
        return;
    }
    if (info.input_iMCU_row == 0 && info.total_iMCU_rows > 1) {
        ERREXIT(&info, JERR_INPUT_EOF); // too little of the picture came for the rest to be filled with grey
    }
    const auto rowsInGroup = static_cast<std::uint32_t>(info.max_v_samp_factor) * DCTSIZE;
    endOfRows_ = std::min(endOfRows_, (info.input_iMCU_row + 1) * rowsInGroup);
}

bool JpegDecompressor::readHead(int keptMarker) {
    constexpr unsigned wholeSegment = 0xFFFF;
    return attempt([&] {
        jpeg_save_markers(&info, keptMarker, wholeSegment);
        jpeg_read_header(&info, TRUE);
        severalScans_ = jpeg_has_multiple_scans(&info) != FALSE;
    });
}

/// ITU-T T.81, annex B.1.1: data are what is no marker; 0xFF begins one unless a zero follows, any number of 0xFF may
/// stand before it, and restart markers may come without data.
bool JpegDecompressor::hasData() const {
    constexpr std::uint8_t markerPrefix = 0xFF;
    FileReader reader(file_);
    reader.seek(position_ - source_.bytes_in_buffer);
    std::uint8_t byte = 0;
    bool inMarker = false;
    const std::uint64_t end = endOfData();
    while (reader.position() < end && reader.read({&byte, 1}) == 1) {
        const bool isRestart = byte >= JPEG_RST0 && byte <= JPEG_RST0 + 7;
        if (byte == markerPrefix) {
            inMarker = true;
        } else if (inMarker && isRestart) {
            inMarker = false;
        } else {
            return !inMarker || byte != JPEG_EOI; // behind another marker follow further scans
        }
    }
    return false;
}

/// Two bytes for every sample, in whole blocks.
std::uint64_t JpegDecompressor::coefficientBytes() const {
    std::uint64_t bytes = 0;
    for (int i = 0; i < info.num_components; ++i) {
        bytes += blocksOf(info.comp_info[i]) * DCTSIZE2 * sizeof(JCOEF);
    }
    return bytes;
}

bool JpegDecompressor::start() {
    return attempt([&] { jpeg_start_decompress(&info); });
}

bool JpegDecompressor::readRow(std::uint8_t* row) {
    if (!severalScans_ && info.output_scanline >= endOfRows_) {
        return false;
    }
    return attempt([&] { jpeg_read_scanlines(&info, &row, 1); });
}

ColorSpace JpegDecompressor::embeddedColorSpace(ColorModel model) {
    JOCTET* bytes = nullptr;
    unsigned size = 0;
    attempt([&] { jpeg_read_icc_profile(&info, &bytes, &size); });
    const std::unique_ptr<JOCTET, decltype(&std::free)> profile(bytes, &std::free);
    return colorSpaceFromProfile({profile.get(), size}, model);
}

} // namespace ovrel
