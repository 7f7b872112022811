#include "tests/support/heif_writer.h"

#include <libheif/heif.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <stdexcept>

/// Leaks of the encoder for HEVC itself are none of ours; the leak sanitizer asks for this function.
extern "C" const char* __lsan_default_suppressions() { // NOLINT(bugprone-reserved-identifier)
    return "leak:libx265";
}

namespace ovrel::test {

namespace {

struct ContextDeleter {
    void operator()(heif_context* context) const noexcept { heif_context_free(context); }
};
struct EncoderDeleter {
    void operator()(heif_encoder* encoder) const noexcept { heif_encoder_release(encoder); }
};
struct ImageDeleter {
    void operator()(heif_image* image) const noexcept { heif_image_release(image); }
};
struct OptionsDeleter {
    void operator()(heif_encoding_options* options) const noexcept { heif_encoding_options_free(options); }
};
struct NclxDeleter {
    void operator()(heif_color_profile_nclx* nclx) const noexcept { heif_nclx_color_profile_free(nclx); }
};

using Encoder = std::unique_ptr<heif_encoder, EncoderDeleter>;
using HeifImage = std::unique_ptr<heif_image, ImageDeleter>;
using Nclx = std::unique_ptr<heif_color_profile_nclx, NclxDeleter>;

constexpr std::size_t channels = 4;
constexpr std::size_t alphaChannel = 3;

void require(const heif_error& error) {
    if (error.code != heif_error_Ok) {
        throw std::runtime_error(error.message);
    }
}

bool isOpaque(const Image& image) {
    for (std::size_t i = alphaChannel; i < image.samples.size(); i += channels) {
        if (image.samples.data()[i] != 255) {
            return false;
        }
    }
    return true;
}

heif_chroma chromaFor(bool deep, bool alpha) {
    if (deep) {
        return alpha ? heif_chroma_interleaved_RRGGBBAA_LE : heif_chroma_interleaved_RRGGBB_LE;
    }
    return alpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB;
}

Nclx nclxOf(const HeifOptions& options) {
    Nclx nclx(heif_nclx_color_profile_alloc());
    require(heif_nclx_color_profile_set_color_primaries(nclx.get(), options.primaries));
    require(heif_nclx_color_profile_set_transfer_characteristics(nclx.get(), options.transfer));
    nclx->matrix_coefficients = heif_matrix_coefficients_ITU_R_BT_601_6;
    nclx->full_range_flag = 1;
    return nclx;
}

HeifImage heifImageOf(const Image& image, const HeifOptions& options) {
    const auto width = static_cast<int>(image.width);
    const auto height = static_cast<int>(image.height);
    const bool deep = options.depth > 8;
    const std::size_t written = isOpaque(image) ? alphaChannel : channels;
    heif_image* created = nullptr;
    require(heif_image_create(width, height, heif_colorspace_RGB, chromaFor(deep, written == channels), &created));
    HeifImage converted(created);
    require(heif_image_add_plane(created, heif_channel_interleaved, width, height, static_cast<int>(options.depth)));
    int stride = 0;
    std::uint8_t* plane = heif_image_get_plane(created, heif_channel_interleaved, &stride);
    for (std::uint32_t y = 0; y < image.height; ++y) {
        std::uint8_t* to = plane + y * static_cast<std::size_t>(stride);
        for (std::size_t i = 0; i < image.width * channels; ++i) {
            if (i % channels >= written) {
                continue;
            }
            const unsigned sample = image.row(y)[i] * ((1U << options.depth) - 1) / 255;
            *to++ = static_cast<std::uint8_t>(sample & 0xFF);
            if (deep) {
                *to++ = static_cast<std::uint8_t>(sample >> 8);
            }
        }
    }
    if (!options.icc.empty()) {
        require(heif_image_set_raw_color_profile(created, "prof", options.icc.data(), options.icc.size()));
    }
    if (options.statesCicp) {
        require(heif_image_set_nclx_color_profile(created, nclxOf(options).get()));
    }
    heif_image_set_premultiplied_alpha(created, options.premultiplied ? 1 : 0);
    return converted;
}

heif_error append(heif_context*, const void* data, std::size_t size, void* bytes) {
    static_cast<std::string*>(bytes)->append(static_cast<const char*>(data), size);
    return {heif_error_Ok, heif_suberror_Unspecified, "Success"};
}

} // namespace

std::optional<std::string> writeHeif(std::span<const Image> images, const HeifOptions& options) {
    const std::unique_ptr<heif_context, ContextDeleter> context(heif_context_alloc());
    heif_encoder* found = nullptr;
    const heif_compression_format format =
        options.compression == HeifCompression::hevc ? heif_compression_HEVC : heif_compression_AV1;
    if (heif_context_get_encoder_for_format(context.get(), format, &found).code != heif_error_Ok) {
        return std::nullopt;
    }
    const Encoder encoder(found);
    require(heif_encoder_set_lossy_quality(found, 95));
    const std::unique_ptr<heif_encoding_options, OptionsDeleter> encoding(heif_encoding_options_alloc());
    encoding->image_orientation = static_cast<heif_orientation>(options.orientation);
    if (options.statesCicp) {
        encoding->macOS_compatibility_workaround_no_nclx_profile = 0; // which would leave it out
    }
    for (const Image& image : images) {
        const HeifImage converted = heifImageOf(image, options);
        require(heif_context_encode_image(context.get(), converted.get(), found, encoding.get(), nullptr));
    }
    std::string bytes;
    heif_writer writer{1, append};
    require(heif_context_write(context.get(), &writer, &bytes));
    return bytes;
}

} // namespace ovrel::test
