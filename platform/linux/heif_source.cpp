#include "platform/linux/decoders.h"

#include "platform/linux/av1_image.h"
#include "platform/linux/color_profiles.h"
#include "platform/linux/heif_boxes.h"
#include "platform/linux/heif_derivation.h"
#include "platform/linux/heif_handles.h"
#include "platform/linux/heif_work.h"
#include "platform/linux/memory_watch.h"
#include "platform/linux/upright_rows.h"
#include "platform/memory.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <new>
#include <optional>
#include <span>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace ovrel {

namespace {

/// The side of a square that holds as many pixels as a picture may have, as libheif itself has it. What is below is
/// compared with the memory that is left.
constexpr int largestSquare = 32768;

/// Sets what libheif refuses before it takes memory. Its limits on items, extents and blocks are sound as they are.
void setLimits(heif_context* context) {
    heif_context_set_maximum_image_size_limit(context, largestSquare);
#if LIBHEIF_HAVE_VERSION(1, 19, 0)
    heif_context_get_security_limits(context)->max_color_profile_size = ColorSpace::maximumProfileBytes;
#endif
}

bool holds(HeifBytes bytes, std::string_view name) {
    return std::search(bytes.begin(), bytes.end(), name.begin(), name.end()) != bytes.end();
}

/// \return whether `name` stands anywhere in the file but among the compressed data
bool names(HeifBytes bytes, std::string_view name) {
    while (!bytes.empty()) {
        const HeifBytes from = bytes;
        const std::optional<Box> box = takeBox(bytes);
        const HeifBytes whole = from.first(from.size() - bytes.size());
        if (box && box->type != boxType("mdat") && holds(whole, name)) {
            return true;
        }
    }
    return false;
}

/// Whether any picture is AV1: each of these has the property av1C (AV1 Image File Format, section 2.2.1).
bool holdsAv1(HeifBytes bytes) {
    return names(bytes, "av1C");
}

/// The file's pictures, the primary one first; thumbnails, masks and tiles are none.
std::vector<heif_item_id> picturesOf(heif_context* context) {
    heif_item_id primary = 0;
    if (!succeeded(heif_context_get_primary_image_ID(context, &primary))) {
        return {};
    }
    std::vector<heif_item_id> ids(static_cast<std::size_t>(heif_context_get_number_of_top_level_images(context)));
    heif_context_get_list_of_top_level_image_IDs(context, ids.data(), static_cast<int>(ids.size()));
    std::erase(ids, primary);
    ids.insert(ids.begin(), primary);
    return ids;
}

HeifHandle pictureOf(heif_context* context, heif_item_id id) {
    const MemoryWatch memory;
    heif_image_handle* handle = nullptr;
    if (!succeeded(heif_context_get_image_handle(context, id, &handle))) {
        memory.check();
        return nullptr;
    }
    return HeifHandle(handle);
}

bool isDeep(const heif_image_handle* handle) {
    return heif_image_handle_get_luma_bits_per_pixel(handle) > 8;
}

/// \return whether red, green and blue are the same but for what compression makes of them
template <typename Sample>
bool isGrayRow(const std::uint8_t* row, std::size_t pixels) {
    constexpr int tolerance = std::numeric_limits<Sample>::max() / 32;
    for (std::size_t x = 0; x < pixels; ++x) {
        std::array<Sample, 3> color;
        std::memcpy(color.data(), row + x * 4 * sizeof(Sample), sizeof color);
        const auto [least, most] = std::minmax_element(color.begin(), color.end());
        if (*most - *least > tolerance) {
            return false;
        }
    }
    return true;
}

bool isGray(const Image& image) {
    const auto isGrayHere = image.layout == PixelLayout::rgba16 ? isGrayRow<std::uint16_t> : isGrayRow<std::uint8_t>;
    for (std::uint32_t y = 0; y < image.height; ++y) {
        if (!isGrayHere(image.row(y), image.width)) {
            return false;
        }
    }
    return true;
}

/// libheif gives grey pictures as RGB, and its older versions do not tell that they were grey. So a grey profile counts
/// where no colours are found; it could not describe any.
ColorSpace embeddedColorSpace(std::span<const std::uint8_t> profile, const Image& image) {
    ColorSpace space = colorSpaceFromProfile(profile, ColorModel::gray);
    const bool fits = space.model == ColorModel::rgb || (!space.profile.empty() && isGray(image));
    return fits ? space : ColorSpace();
}

ColorSpace colorSpaceOf(const heif_image_handle* handle, const Image& image) {
    const std::size_t size = heif_image_handle_get_raw_color_profile_size(handle);
    if (size != 0 && size <= ColorSpace::maximumProfileBytes) {
        std::vector<std::uint8_t> profile(size);
        if (succeeded(heif_image_handle_get_raw_color_profile(handle, profile.data()))) {
            return embeddedColorSpace(profile, image);
        }
    }
    heif_color_profile_nclx* stated = nullptr;
    const heif_error error = heif_image_handle_get_nclx_color_profile(handle, &stated);
    const HeifNclx nclx(stated); // given for numbers that libheif does not know, too
    if (succeeded(error) && nclx) {
        return colorSpaceFromCicp(static_cast<std::uint16_t>(nclx->color_primaries),
                                  static_cast<std::uint16_t>(nclx->transfer_characteristics));
    }
    return {};
}

std::uint64_t largestSideOf(const heif_image_handle* handle) {
    return static_cast<std::uint64_t>(
        std::max({heif_image_handle_get_width(handle), heif_image_handle_get_height(handle),
                  heif_image_handle_get_ispe_width(handle), heif_image_handle_get_ispe_height(handle)}));
}

/// Pixels that the file states for a picture, or for what it is cropped from, as they are coded.
std::uint64_t statedPixels(const heif_image_handle* handle) {
    const auto pixels = [](int width, int height) {
        return codedPixels(static_cast<std::uint32_t>(std::max(width, 0)),
                           static_cast<std::uint32_t>(std::max(height, 0)));
    };
    return std::max(pixels(heif_image_handle_get_width(handle), heif_image_handle_get_height(handle)),
                    pixels(heif_image_handle_get_ispe_width(handle), heif_image_handle_get_ispe_height(handle)));
}

/// \throws std::bad_alloc when the picture will not fit
void requireMemory(const heif_image_handle* handle, const HevcCost& cost) {
    // Four planes, a turned copy of them, the interleaved picture, and ours.
    constexpr std::uint64_t samples = 16;
    const std::uint64_t pixels = std::max(statedPixels(handle), cost.largestPicture);
    if (!fitsIntoMemory(pixels * samples * (isDeep(handle) ? 2 : 1))) {
        throw std::bad_alloc();
    }
}

/// libde265 waits for ever for a picture when the system grants none of its threads, so one is asked for beforehand.
/// \throws std::bad_alloc when there is none, most of all for want of memory or by a limit on processes
void requireThread() {
    try {
        std::thread([] {}).join();
    } catch (const std::system_error&) {
        throw std::bad_alloc();
    }
}

/// Has libheif refuse a grid whose own size is not within the sides that the file states for the picture.
void limitSides(heif_context* context, const heif_image_handle* handle) {
    constexpr std::uint64_t least = 4096; // coded pictures and tiles may be larger than what is shown of them
    const std::uint64_t side = std::clamp<std::uint64_t>(largestSideOf(handle) + 1, least, largestSquare);
    heif_context_set_maximum_image_size_limit(context, static_cast<int>(side));
}

/// Spreads the samples of a row from `bits` to sixteen bits.
/// \param from two bytes a sample, the low one first
void copyDeepRow(const std::uint8_t* from, std::uint8_t* to, std::size_t samples, unsigned bits) {
    constexpr std::uint32_t largest = std::numeric_limits<std::uint16_t>::max();
    const std::uint32_t largestHere = (1U << bits) - 1;
    for (std::size_t i = 0; i < samples; ++i) {
        const std::uint32_t stored = from[2 * i] + 256U * from[2 * i + 1];
        const std::uint32_t value = std::min(stored, largestHere);
        const auto spread = static_cast<std::uint16_t>((value * largest + largestHere / 2) / largestHere);
        std::memcpy(to + i * sizeof spread, &spread, sizeof spread);
    }
}

/// Divides the colour of a row's pixels by their alpha.
template <typename Sample>
void straighten(std::uint8_t* row, std::size_t pixels) {
    constexpr std::uint32_t largest = std::numeric_limits<Sample>::max();
    for (std::size_t x = 0; x < pixels; ++x) {
        std::array<Sample, 4> pixel;
        std::memcpy(pixel.data(), row + x * sizeof pixel, sizeof pixel);
        const std::uint32_t alpha = pixel[3];
        for (std::size_t channel = 0; channel < 3; ++channel) {
            const std::uint32_t color = alpha == 0 ? 0 : (pixel[channel] * largest + alpha / 2) / alpha;
            pixel[channel] = static_cast<Sample>(std::min(color, largest));
        }
        std::memcpy(row + x * sizeof pixel, pixel.data(), sizeof pixel);
    }
}

class HeifSource final : public ImageSource {
public:
    HeifSource(std::vector<std::uint8_t> bytes, HeifContext context, std::vector<heif_item_id> ids)
        : bytes_(std::move(bytes)), context_(std::move(context)), ids_(std::move(ids)) {}

    ImageFormat format() const override { return ImageFormat::heif; }
    std::size_t count() const override { return ids_.size(); }

    /// Sizes are those after the file's own turns and crops, which libheif applies.
    ImageProperties properties(std::size_t index) const override {
        ImageProperties properties;
        if (const HeifHandle handle = pictureOf(context_.get(), ids_[index])) {
            properties.pixelWidth = static_cast<std::uint32_t>(std::max(heif_image_handle_get_width(handle.get()), 0));
            properties.pixelHeight =
                static_cast<std::uint32_t>(std::max(heif_image_handle_get_height(handle.get()), 0));
        }
        return properties;
    }

    std::optional<Image> decode(std::size_t index) override {
        const HeifHandle handle = pictureOf(context_.get(), ids_[index]);
        if (!handle) {
            return std::nullopt;
        }
        const HevcCost cost = hevcCostOf(bytes_, ids_[index]);
        if (!isWithin(cost, statedPixels(handle.get()))) {
            return std::nullopt;
        }
        requireMemory(handle.get(), cost);
        requireThread();
        limitSides(context_.get(), handle.get());
        heif_image* decoded = nullptr;
        const heif_chroma chroma =
            isDeep(handle.get()) ? heif_chroma_interleaved_RRGGBBAA_LE : heif_chroma_interleaved_RGBA;
        const MemoryWatch memory;
        const heif_error error = heif_decode_image(handle.get(), &decoded, heif_colorspace_RGB, chroma, nullptr);
        const HeifImage image(decoded);
        // A limit that is exceeded comes as a lack of memory as well.
        if (error.code == heif_error_Memory_allocation_error &&
            error.subcode != heif_suberror_Security_limit_exceeded) {
            throw std::bad_alloc();
        }
        if (!succeeded(error) || !image) {
            memory.check();
            return std::nullopt;
        }
        return copied(*image, *handle);
    }

private:
    static std::optional<Image> copied(const heif_image& image, const heif_image_handle& handle) {
        int stride = 0;
        const std::uint8_t* pixels = heif_image_get_plane_readonly(&image, heif_channel_interleaved, &stride);
        const int width = heif_image_get_width(&image, heif_channel_interleaved);
        const int height = heif_image_get_height(&image, heif_channel_interleaved);
        const int bits = heif_image_get_bits_per_pixel_range(&image, heif_channel_interleaved);
        const bool deep = isDeep(&handle);
        if (pixels == nullptr || width < 1 || height < 1 || bits < 1 || bits > (deep ? 16 : 8)) {
            return std::nullopt;
        }
        constexpr std::size_t channels = 4;
        const auto columns = static_cast<std::uint32_t>(width);
        UprightRows rows(columns, static_cast<std::uint32_t>(height), deep ? PixelLayout::rgba16 : PixelLayout::rgba8,
                         1);
        const bool premultiplied = heif_image_handle_is_premultiplied_alpha(&handle) != 0;
        for (std::uint32_t y = 0; y < static_cast<std::uint32_t>(height); ++y) {
            const std::uint8_t* from = pixels + y * static_cast<std::size_t>(stride);
            std::uint8_t* to = rows.row(y);
            if (deep) {
                copyDeepRow(from, to, columns * channels, static_cast<unsigned>(bits));
            } else {
                std::memcpy(to, from, rows.bytesPerRow());
            }
            if (premultiplied) {
                deep ? straighten<std::uint16_t>(to, columns) : straighten<std::uint8_t>(to, columns);
            }
        }
        Image picture = std::move(rows).finish({});
        picture.colorSpace = colorSpaceOf(&handle, picture);
        return picture;
    }

    std::vector<std::uint8_t> bytes_; ///< libheif reads them as it goes
    HeifContext context_;
    std::vector<heif_item_id> ids_;
};

} // namespace

std::unique_ptr<ImageSource> openHeif(InputFile file) {
    std::optional<std::vector<std::uint8_t>> bytes = file.readAll();
    if (!bytes) {
        return nullptr;
    }
    // libheif never decodes AV1 here: its dav1d and a newer one of libavif's may share the process, where functions of
    // the same name take structures of another size.
    if (holdsAv1(*bytes)) {
        return openAv1Image(std::move(*bytes));
    }
    if (derivesTooDeeply(*bytes)) {
        return nullptr;
    }
    loadHeifPlugins();
    const MemoryWatch memory;
    HeifContext context(heif_context_alloc());
    if (!context) {
        throw std::bad_alloc();
    }
    heif_context_set_max_decoding_threads(context.get(), 0);
    setLimits(context.get());
    if (!succeeded(heif_context_read_from_memory_without_copy(context.get(), bytes->data(), bytes->size(), nullptr))) {
        memory.check();
        return nullptr;
    }
    std::vector<heif_item_id> ids = picturesOf(context.get());
    if (ids.empty()) {
        memory.check();
        return nullptr;
    }
    return std::make_unique<HeifSource>(std::move(*bytes), std::move(context), std::move(ids));
}

} // namespace ovrel
