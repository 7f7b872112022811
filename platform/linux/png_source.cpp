#include "platform/linux/color_profiles.h"
#include "platform/linux/decoders.h"
#include "platform/linux/png_chunks.h"
#include "platform/linux/upright_rows.h"
#include "platform/memory.h"

#include <png.h>

#include <bit>
#include <csetjmp>
#include <cstdlib>
#include <limits>
#include <new>
#include <span>
#include <utility>

namespace ovrel {

namespace {

struct PngDeleter {
    png_infop info = nullptr;

    void operator()(png_structp png) const {
        png_infop ownInfo = info;
        png_destroy_read_struct(&png, &ownInfo, nullptr);
    }
};
using Png = std::unique_ptr<png_struct, PngDeleter>;

/// Image data may go on behind the last row, and libpng unpacks all of it to find its end. So much is let through, as
/// some files hold bytes that belong to nothing; a row takes less.
constexpr std::uint64_t mostSurplusBytes = std::uint64_t{256} << 10;

/// What libpng asks for while it works.
struct Supply {
    FileReader reader;
    bool lacksMemory = false; ///< whether memory was ever refused; of errors libpng tells only in words
    std::uint64_t mostBytes = std::numeric_limits<std::uint64_t>::max(); ///< that the current call may still read
};

/// Calls libpng through `step`. The library leaves a failed call by longjmp, so a step, and whatever libpng calls back
/// during it, keeps nothing on the stack that has a destructor; all that lives longer stands outside.
/// \return whether the call came back without an error
template <typename Step>
bool returnsFrom(const Png& png, const Step& step) {
    if (setjmp(png_jmpbuf(png.get())) != 0) {
        return false;
    }
    step();
    return true;
}

/// The same.
/// \throws std::bad_alloc when memory was refused, also where libpng would do without: a profile may be missing then
template <typename Step>
bool attempt(const Png& png, const Step& step) {
    const bool returned = returnsFrom(png, step);
    if (static_cast<const Supply*>(png_get_io_ptr(png.get()))->lacksMemory) {
        throw std::bad_alloc();
    }
    return returned;
}

[[noreturn]] void leave(png_structp png, png_const_charp) {
    png_longjmp(png, 1);
}

void ignoreWarning(png_structp, png_const_charp) {}

void readBytes(png_structp png, png_bytep into, std::size_t count) {
    auto* supply = static_cast<Supply*>(png_get_io_ptr(png));
    if (count > supply->mostBytes || supply->reader.read({into, count}) < count) {
        png_error(png, "the file ends early");
    }
    supply->mostBytes -= count;
}

png_voidp takeMemory(png_structp png, png_alloc_size_t bytes) {
    void* memory = std::malloc(bytes);
    if (memory == nullptr) {
        static_cast<Supply*>(png_get_mem_ptr(png))->lacksMemory = true;
    }
    return memory;
}

/// \param supply its reader stands at the first chunk and has read before, so that it needs no new memory while libpng
///        waits
Png makePng(Supply& supply) {
    Png png(
        png_create_read_struct_2(PNG_LIBPNG_VER_STRING, nullptr, leave, ignoreWarning, &supply, takeMemory, nullptr));
    if (!png) {
        throw std::bad_alloc();
    }
    png.get_deleter().info = png_create_info_struct(png.get());
    if (png.get_deleter().info == nullptr) {
        throw std::bad_alloc();
    }
    png_set_read_fn(png.get(), &supply, readBytes);
    return png;
}

png_infop infoOf(const Png& png) {
    return png.get_deleter().info;
}

/// Reads all chunks in front of the image data. Of the ancillary ones only those that say something about colours are
/// looked at, so that text and the like cost nothing however far it unpacks.
bool readHead(const Png& png) {
    return attempt(png, [&] {
        constexpr int namesInList = 4;
        static constexpr png_byte used[] = "iCCP\0sRGB\0gAMA\0cHRM";
        constexpr int signatureBytes = 8;
        constexpr png_uint_32 keptChunks = 16; // of those that may come many times, none of which is used
        png_set_sig_bytes(png.get(), signatureBytes);
        png_set_keep_unknown_chunks(png.get(), PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
        png_set_keep_unknown_chunks(png.get(), PNG_HANDLE_CHUNK_AS_DEFAULT, used, namesInList);
        png_set_user_limits(png.get(), PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_set_chunk_malloc_max(png.get(), ColorSpace::maximumProfileBytes);
        png_set_chunk_cache_max(png.get(), keptChunks);
        png_set_benign_errors(png.get(), 1);
        png_read_info(png.get(), infoOf(png));
    });
}

/// RFC 1951: 258 bytes, the longest copy, cost two bits at least. Less image data cannot fill the picture, so it is
/// damaged and no memory need be taken for it.
bool imageDataMaySuffice(const Png& png, std::uint64_t imageDataBytes) {
    constexpr std::uint64_t mostBytesFromOne = std::uint64_t{258} * 4;
    const std::uint64_t rows = png_get_image_height(png.get(), infoOf(png));
    return imageDataBytes * mostBytesFromOne / png_get_rowbytes(png.get(), infoOf(png)) >= rows;
}

bool isGray(const Png& png) {
    return (png_get_color_type(png.get(), infoOf(png)) & PNG_COLOR_MASK_COLOR) == 0;
}

std::span<const std::uint8_t> embeddedProfile(const Png& png) {
    png_charp name = nullptr;
    int compression = 0;
    png_bytep profile = nullptr;
    png_uint_32 size = 0;
    if (png_get_iCCP(png.get(), infoOf(png), &name, &compression, &profile, &size) == 0) {
        return {};
    }
    return {profile, size};
}

std::optional<Chromaticities> statedChromaticities(const Png& png) {
    Chromaticities c;
    if (png_get_cHRM(png.get(), infoOf(png), &c.white[0], &c.white[1], &c.red[0], &c.red[1], &c.green[0], &c.green[1],
                     &c.blue[0], &c.blue[1]) == 0) {
        return std::nullopt;
    }
    return c;
}

/// PNG, third edition, section 4.3: cICP goes before sRGB, that before gAMA and cHRM.
ColorSpace describedColorSpace(const Png& png, const PngChunks& chunks) {
    if (chunks.codePoints) {
        return colorSpaceFromCicp(chunks.codePoints->primaries, chunks.codePoints->transfer);
    }
    if (png_get_valid(png.get(), infoOf(png), PNG_INFO_sRGB) != 0) {
        return {};
    }
    const std::optional<Chromaticities> chromaticities = statedChromaticities(png);
    double gamma = 0; // Section 11.3.2.2: the power that turned light into samples.
    if (png_get_gAMA(png.get(), infoOf(png), &gamma) != 0 && gamma > 0) {
        return colorSpaceFromGamma(1 / gamma, chromaticities.value_or(srgbChromaticities));
    }
    return chromaticities ? colorSpaceFromChromaticities(*chromaticities) : ColorSpace{};
}

ColorSpace colorSpaceOf(const Png& png, const PngChunks& chunks) {
    const ColorModel model = isGray(png) ? ColorModel::gray : ColorModel::rgb;
    ColorSpace space = colorSpaceFromProfile(embeddedProfile(png), model);
    if (space.profile.empty()) {
        space = describedColorSpace(png, chunks);
    }
    if (space.profile.empty()) {
        space.model = model;
    }
    return space;
}

/// Has every kind of picture come out as RGBA with 8 or 16 bits in the machine's byte order.
bool startRgba(const Png& png) {
    return attempt(png, [&] {
        constexpr png_uint_32 opaque = 0xFFFF;
        png_set_expand(png.get());
        png_set_gray_to_rgb(png.get());
        png_set_add_alpha(png.get(), opaque, PNG_FILLER_AFTER);
        if constexpr (std::endian::native == std::endian::little) {
            png_set_swap(png.get());
        }
        png_set_interlace_handling(png.get());
        png_read_update_info(png.get(), infoOf(png));
    });
}

bool readRow(const Png& png, png_bytep row) {
    constexpr std::uint64_t mostGrowth = 2; // RFC 1951, section 3.2.4: what does not pack is stored
    auto* supply = static_cast<Supply*>(png_get_io_ptr(png.get()));
    supply->mostBytes = mostGrowth * png_get_rowbytes(png.get(), infoOf(png)) + mostSurplusBytes;
    return attempt(png, [&] { png_read_row(png.get(), row, nullptr); });
}

bool readRows(const Png& png, std::uint32_t height, UprightRows& rows) {
    for (std::uint32_t y = 0; y < height; ++y) {
        if (!readRow(png, rows.row(y))) {
            return false;
        }
    }
    return true;
}

/// Every pass adds its pixels to rows that hold those of the passes before.
bool readPasses(const Png& png, std::uint32_t height, UprightRows& rows) {
    std::uint8_t* const first = rows.row(0);
    for (int pass = 0; pass < PNG_INTERLACE_ADAM7_PASSES; ++pass) {
        for (std::uint32_t y = 0; y < height; ++y) {
            if (!readRow(png, first + y * rows.bytesPerRow())) {
                return false;
            }
        }
    }
    return true;
}

bool readTail(const Png& png) {
    static_cast<Supply*>(png_get_io_ptr(png.get()))->mostBytes = std::numeric_limits<std::uint64_t>::max();
    return attempt(png, [&] { png_read_end(png.get(), nullptr); });
}

class PngSource final : public ImageSource {
public:
    PngSource(InputFile file, const PngChunks& chunks) : file_(std::move(file)), chunks_(chunks) {}

    ImageFormat format() const override { return ImageFormat::png; }
    std::size_t count() const override { return chunks_.imageCount; }
    ImageProperties properties(std::size_t) const override {
        return {chunks_.width, chunks_.height, chunks_.orientation, {}, {}};
    }
    std::optional<Image> decode(std::size_t index) override;

private:
    InputFile file_;
    PngChunks chunks_;
};

std::optional<Image> PngSource::decode(std::size_t index) {
    if (index != 0) {
        return std::nullopt; // Only GIF animations are converted, so the frames behind the default image stay unread.
    }
    Supply supply{FileReader(file_)};
    std::array<std::uint8_t, 8> signature{};
    if (supply.reader.read(signature) < signature.size()) {
        return std::nullopt;
    }
    const Png png = makePng(supply);
    if (!readHead(png) || !imageDataMaySuffice(png, chunks_.imageDataBytes)) {
        return std::nullopt;
    }
    // Asked for now, since the transformations below change what libpng says of the file.
    ColorSpace colorSpace = colorSpaceOf(png, chunks_);
    const std::uint32_t width = png_get_image_width(png.get(), infoOf(png));
    const std::uint32_t height = png_get_image_height(png.get(), infoOf(png));
    const bool deep = png_get_bit_depth(png.get(), infoOf(png)) == 16;
    const bool interlaced = png_get_interlace_type(png.get(), infoOf(png)) != PNG_INTERLACE_NONE;
    const PixelLayout layout = deep ? PixelLayout::rgba16 : PixelLayout::rgba8;
    // An interlaced picture that is turned is held twice; libpng keeps two rows of its own.
    constexpr std::uint64_t rowsOfLibpng = 2;
    const std::uint64_t pictures = interlaced && chunks_.orientation != 1 ? 2 : 1;
    if (!fitsIntoMemory((pictures * height + rowsOfLibpng) * width * bytesPerPixel(layout))) {
        throw std::bad_alloc();
    }
    UprightRows rows(width, height, layout, chunks_.orientation, interlaced ? height : UprightRows::defaultStrip);
    const bool complete =
        startRgba(png) && (interlaced ? readPasses(png, height, rows) : readRows(png, height, rows)) && readTail(png);
    return complete ? std::optional(std::move(rows).finish(std::move(colorSpace))) : std::nullopt;
}

} // namespace

std::unique_ptr<ImageSource> openPng(InputFile file) {
    const std::optional<PngChunks> chunks = readPngChunks(file);
    return chunks ? std::make_unique<PngSource>(std::move(file), *chunks) : nullptr;
}

} // namespace ovrel
