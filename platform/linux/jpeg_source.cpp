#include "platform/linux/color_profiles.h"
#include "platform/linux/decoders.h"
#include "platform/linux/exif_orientation.h"
#include "platform/linux/upright_rows.h"
#include "platform/memory.h"

#include <cstdio> // jpeglib.h needs it

#include <jpeglib.h>

#include <jerror.h>

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace ovrel {

namespace {

constexpr int exifMarker = JPEG_APP0 + 1;
constexpr int profileMarker = JPEG_APP0 + 2;

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

/// libjpeg's state and its callbacks. The library leaves a failed call by longjmp, so the callbacks, and the steps
/// given to attempt(), keep nothing on the stack that has a destructor; all that lives longer stands in here.
class Decompressor {
public:
    explicit Decompressor(const InputFile& file);
    ~Decompressor() { jpeg_destroy_decompress(&info); }
    Decompressor(const Decompressor&) = delete;
    Decompressor& operator=(const Decompressor&) = delete;

    /// Reads up to the first scan, keeping the segments of one APPn marker.
    bool readHead(int keptMarker);

    /// Whether anything stands between the head, just read, and the end of the picture.
    bool hasData() const;

    /// Prepares for rows; of a file with several scans reads them all.
    bool start();

    /// \return whether the row is there: stored in the file, or grey beside what is
    bool readRow(std::uint8_t* row);

    /// The profile of the APP2 segments, empty when there is none (ICC.1:2010, annex B).
    ColorSpace embeddedColorSpace(ColorModel model);

    /// Whether the file could not be read to its end. What came then is no picture to keep.
    bool deviceFailed() const { return deviceFailed_; }

    jpeg_decompress_struct info{};

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

    static Decompressor& of(j_common_ptr info) { return *static_cast<Decompressor*>(info->client_data); }
    static Decompressor& of(j_decompress_ptr info) { return *static_cast<Decompressor*>(info->client_data); }

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

Decompressor::Decompressor(const InputFile& file) : file_(file) {
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

boolean Decompressor::fillBuffer() {
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

void Decompressor::skip(long bytes) {
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
void Decompressor::countKeptMarker() {
    if (++keptMarkers_ > maximumKeptMarkers) {
        ERREXIT(&info, JERR_TOO_LITTLE_DATA);
    }
}

/// Called at least once in every scan.
void Decompressor::countScan() {
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
std::uint64_t Decompressor::endOfData() const {
    const auto components = static_cast<std::uint64_t>(std::max(info.num_components, 0));
    const std::uint64_t samples = std::uint64_t{info.image_width} * info.image_height * components;
    return std::min(file_.size(), maximumHeadBytes + samples * mostBytesOfSample);
}

void Decompressor::meetWarning() {
    // The decoder is at a marker before the scan is complete. It stays there unless further scans follow or restart
    // markers let it begin anew.
    const bool rests = info.unread_marker == JPEG_EOI || (!severalScans_ && info.restart_interval == 0);
    if (errors_.msg_code == JWRN_HIT_MARKER && rests) {
        endPicture();
    }
}

/// Called when the data of a scan is used up. After the first scan of several there is a coarse picture everywhere.
void Decompressor::endPicture() {
    if (info.input_scan_number != 1) {
        return;
    }
    if (info.input_iMCU_row == 0 && info.total_iMCU_rows > 1) {
        ERREXIT(&info, JERR_INPUT_EOF); // too little of the picture came for the rest to be filled with grey
    }
    const auto rowsInGroup = static_cast<std::uint32_t>(info.max_v_samp_factor) * DCTSIZE;
    endOfRows_ = std::min(endOfRows_, (info.input_iMCU_row + 1) * rowsInGroup);
}

bool Decompressor::readHead(int keptMarker) {
    constexpr unsigned wholeSegment = 0xFFFF;
    return attempt([&] {
        jpeg_save_markers(&info, keptMarker, wholeSegment);
        jpeg_read_header(&info, TRUE);
        severalScans_ = jpeg_has_multiple_scans(&info) != FALSE;
    });
}

/// ITU-T T.81, annex B.1.1: data are what is no marker; 0xFF begins one unless a zero follows, any number of 0xFF may
/// stand before it, and restart markers may come without data.
bool Decompressor::hasData() const {
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

bool Decompressor::start() {
    return attempt([&] { jpeg_start_decompress(&info); });
}

bool Decompressor::readRow(std::uint8_t* row) {
    if (!severalScans_ && info.output_scanline >= endOfRows_) {
        return false;
    }
    return attempt([&] { jpeg_read_scanlines(&info, &row, 1); });
}

ColorSpace Decompressor::embeddedColorSpace(ColorModel model) {
    JOCTET* bytes = nullptr;
    unsigned size = 0;
    attempt([&] { jpeg_read_icc_profile(&info, &bytes, &size); });
    const std::unique_ptr<JOCTET, decltype(&std::free)> profile(bytes, &std::free);
    return colorSpaceFromProfile({profile.get(), size}, model);
}

/// Exif 2.32, section 4.7.2: the first APP1 with this identifier; XMP uses APP1 as well.
std::uint8_t storedOrientation(const jpeg_decompress_struct& info) {
    constexpr std::string_view identifier("Exif\0\0", 6);
    for (jpeg_saved_marker_ptr marker = info.marker_list; marker != nullptr; marker = marker->next) {
        if (marker->data_length >= identifier.size() &&
            std::memcmp(marker->data, identifier.data(), identifier.size()) == 0) {
            return exifOrientation({marker->data, marker->data_length});
        }
    }
    return 1;
}

/// What libjpeg holds until the last scan is read: two bytes for every sample, in whole blocks.
std::uint64_t coefficientBytes(const jpeg_decompress_struct& info) {
    std::uint64_t bytes = 0;
    for (int i = 0; i < info.num_components; ++i) {
        bytes += blocksOf(info.comp_info[i]) * DCTSIZE2 * sizeof(JCOEF);
    }
    return bytes;
}

/// The sample in the middle between none and all, which a decoder without data arrives at (ITU-T T.81, annex A.3.1).
void fillWithGray(std::uint8_t* row, std::size_t bytes, PixelLayout layout) {
    constexpr std::uint8_t middle = 128;
    constexpr std::uint8_t opaque = 255;
    std::memset(row, middle, bytes);
    if (layout == PixelLayout::rgba8) {
        for (std::size_t alpha = 3; alpha < bytes; alpha += 4) {
            row[alpha] = opaque;
        }
    }
}

void invert(std::uint8_t* row, std::size_t bytes) {
    std::transform(row, row + bytes, row, [](std::uint8_t sample) { return static_cast<std::uint8_t>(~sample); });
}

class JpegSource final : public ImageSource {
public:
    JpegSource(InputFile file, const ImageProperties& properties) : file_(std::move(file)), properties_(properties) {}

    ImageFormat format() const override { return ImageFormat::jpeg; }
    std::size_t count() const override { return 1; }
    ImageProperties properties(std::size_t) const override { return properties_; }
    std::optional<Image> decode(std::size_t index) override;

private:
    InputFile file_;
    ImageProperties properties_;
};

std::optional<Image> JpegSource::decode(std::size_t) {
    Decompressor jpeg(file_);
    if (!jpeg.readHead(profileMarker)) {
        return std::nullopt;
    }
    jpeg_decompress_struct& info = jpeg.info;
    ColorModel model = ColorModel::rgb;
    switch (info.num_components) {
    case 1: model = ColorModel::gray; break;
    case 3: model = ColorModel::rgb; break;
    case 4: model = ColorModel::cmyk; break;
    default: return std::nullopt;
    }
    const bool inks = model == ColorModel::cmyk;
    const PixelLayout layout = inks ? PixelLayout::cmyk8 : PixelLayout::rgba8;
    info.out_color_space = inks ? JCS_CMYK : JCS_EXT_RGBA;

    ColorSpace colorSpace = jpeg.embeddedColorSpace(model);
    const std::uint64_t pictureBytes = std::uint64_t{info.image_width} * info.image_height * bytesPerPixel(layout);
    if (jpeg_has_multiple_scans(&info) && !fitsIntoMemory(pictureBytes + coefficientBytes(info))) {
        throw std::bad_alloc();
    }
    // Only when a first row has come is memory taken for the picture.
    std::vector<std::uint8_t> firstRow(info.image_width * bytesPerPixel(layout));
    if (!jpeg.hasData() || !jpeg.start() || !jpeg.readRow(firstRow.data())) {
        return std::nullopt;
    }
    UprightRows rows(info.image_width, info.image_height, layout, properties_.orientation);
    // Photoshop, and all who follow it, mark their pictures as Adobe's and store light instead of ink.
    const bool storesLight = inks && info.saw_Adobe_marker;
    bool more = true;
    for (std::uint32_t y = 0; y < info.image_height; ++y) {
        std::uint8_t* row = rows.row(y);
        if (y == 0) {
            std::copy(firstRow.begin(), firstRow.end(), row);
        } else {
            more = more && jpeg.readRow(row);
        }
        if (!more) {
            fillWithGray(row, rows.bytesPerRow(), layout);
        }
        if (storesLight) {
            invert(row, rows.bytesPerRow());
        }
    }
    return jpeg.deviceFailed() ? std::nullopt : std::optional(std::move(rows).finish(std::move(colorSpace)));
}

} // namespace

std::unique_ptr<ImageSource> openJpeg(InputFile file) {
    ImageProperties properties;
    {
        Decompressor jpeg(file);
        if (!jpeg.readHead(exifMarker)) {
            return nullptr;
        }
        properties.pixelWidth = jpeg.info.image_width;
        properties.pixelHeight = jpeg.info.image_height;
        properties.orientation = storedOrientation(jpeg.info);
    }
    return std::make_unique<JpegSource>(std::move(file), properties);
}

} // namespace ovrel
