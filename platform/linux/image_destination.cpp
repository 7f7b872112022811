#include "platform/image_destination.h"

#include "platform/bitmap.h"
#include "platform/linux/file_descriptor.h"
#include "platform/linux/heif_handles.h"
#include "platform/linux/memory_watch.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ovrel {

namespace {

const heif_encoder_descriptor* av1Encoder() {
    loadHeifPlugins();
    const heif_encoder_descriptor* descriptor = nullptr;
    return heif_get_encoder_descriptors(heif_compression_AV1, nullptr, &descriptor, 1) > 0 ? descriptor : nullptr;
}

constexpr std::size_t alphaByte = 3;

bool isOpaque(const Image& image) {
    const std::uint8_t* alpha = image.samples.data() + alphaByte;
    const std::size_t pixels = std::size_t{image.width} * image.height;
    for (std::size_t i = 0; i < pixels; ++i) {
        if (alpha[i * 4] != 255) {
            return false;
        }
    }
    return true;
}

/// sRGB as full-range YCbCr with the matrix that JPEG uses: ITU-T H.273 code points 1, 13 and 6.
HeifNclx srgbNclx() {
    HeifNclx nclx(heif_nclx_color_profile_alloc());
    if (nclx) {
        nclx->color_primaries = heif_color_primaries_ITU_R_BT_709_5;
        nclx->transfer_characteristics = heif_transfer_characteristic_IEC_61966_2_1;
        nclx->matrix_coefficients = heif_matrix_coefficients_ITU_R_BT_601_6;
        nclx->full_range_flag = 1;
    }
    return nclx;
}

/// Attaches what the file shall say of its colours.
bool describeColors(heif_image& image, const ColorSpace& space) {
    if (space.profile.empty()) {
        const HeifNclx nclx = srgbNclx();
        return nclx && succeeded(heif_image_set_nclx_color_profile(&image, nclx.get()));
    }
    return succeeded(heif_image_set_raw_color_profile(&image, "prof", space.profile.data(), space.profile.size()));
}

/// Copies the rows of an rgba8 image; the alpha is left out where it says nothing.
HeifImage heifImageFrom(const Image& image) {
    const bool withAlpha = !isOpaque(image);
    const int width = static_cast<int>(image.width);
    const int height = static_cast<int>(image.height);
    heif_image* created = nullptr;
    if (!succeeded(heif_image_create(width, height, heif_colorspace_RGB,
                                     withAlpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB,
                                     &created))) {
        return nullptr;
    }
    HeifImage copy(created);
    if (!succeeded(heif_image_add_plane(copy.get(), heif_channel_interleaved, width, height, 8))) {
        return nullptr;
    }
    int stride = 0;
    std::uint8_t* plane = heif_image_get_plane(copy.get(), heif_channel_interleaved, &stride);
    if (plane == nullptr) {
        return nullptr;
    }
    for (std::uint32_t y = 0; y < image.height; ++y) {
        const std::uint8_t* from = image.row(y);
        std::uint8_t* to = plane + y * static_cast<std::size_t>(stride);
        if (withAlpha) {
            std::memcpy(to, from, image.bytesPerRow());
            continue;
        }
        for (std::size_t x = 0; x < image.width; ++x) {
            std::memcpy(to + x * 3, from + x * 4, 3);
        }
    }
    return describeColors(*copy, image.colorSpace) ? std::move(copy) : nullptr;
}

/// A copy in the writer's terms: rgba8 in sRGB or in the image's own RGB space.
Image writableCopy(const Image& image) {
    Image copy{image.width, image.height, image.layout, PixelBuffer::zeroed(image.height, image.bytesPerRow()),
               image.colorSpace};
    std::memcpy(copy.samples.data(), image.samples.data(), image.samples.size());
    return image.colorSpace.model == ColorModel::rgb ? reducedTo8Bits(std::move(copy))
                                                     : convertedToSrgb(std::move(copy));
}

heif_error writeToFile(heif_context*, const void* data, std::size_t size, void* file) {
    const bool complete =
        writeAll(static_cast<const FileDescriptor*>(file)->get(), {static_cast<const std::byte*>(data), size});
    return {complete ? heif_error_Ok : heif_error_Encoding_error,
            complete ? heif_suberror_Unspecified : heif_suberror_Cannot_write_output_data,
            complete ? "Success" : "Short write"};
}

class HeifDestination final : public ImageDestination {
public:
    HeifDestination(FileDescriptor file, HeifEncoder encoder)
        : file_(std::move(file)), encoder_(std::move(encoder)), context_(heif_context_alloc()) {}

    void addImage(const Image& image, double lossyCompressionQuality) override {
        const bool writable = image.layout == PixelLayout::rgba8 && image.colorSpace.model == ColorModel::rgb;
        image_ = writable ? heifImageFrom(image) : heifImageFrom(writableCopy(image));
        // libheif counts quality from 0 to 100.
        quality_ = static_cast<int>(std::lround(std::clamp(lossyCompressionQuality, 0.0, 1.0) * 100.0));
    }

    bool finalize() override {
        const bool encoded = image_ && context_ && encode() && write();
        // A full network share may show only here; a descriptor that a signal interrupts is closed all the same.
        return (file_.close() == 0 || errno == EINTR) && encoded;
    }

private:
    bool encode() {
        HeifEncodingOptions options(heif_encoding_options_alloc());
        const HeifNclx nclx = srgbNclx();
        if (!options || !nclx || !succeeded(heif_encoder_set_lossy_quality(encoder_.get(), quality_))) {
            return false;
        }
        options->output_nclx_profile = nclx.get();
        heif_image_handle* handle = nullptr;
        const MemoryWatch memory;
        const heif_error error =
            heif_context_encode_image(context_.get(), image_.get(), encoder_.get(), options.get(), &handle);
        const HeifHandle released(handle);
        // libheif 1.15 calls it a success, too, when it got no memory to tell the encoder of the colours' range.
        memory.check();
        image_.reset();
        return succeeded(error);
    }

    bool write() {
        heif_writer writer{1, writeToFile};
        return succeeded(heif_context_write(context_.get(), &writer, &file_));
    }

    FileDescriptor file_;
    HeifEncoder encoder_;
    HeifContext context_;
    HeifImage image_;
    int quality_ = 0;
};

} // namespace

std::vector<std::string> ImageDestination::typeIdentifiers() {
    std::vector<std::string> types;
    if (av1Encoder() != nullptr) {
        types.emplace_back(avifType);
    }
    return types;
}

std::unique_ptr<ImageDestination> ImageDestination::create(const std::filesystem::path& file, std::string_view type,
                                                           std::size_t imageCount) {
    const heif_encoder_descriptor* descriptor = av1Encoder();
    if (type != avifType || imageCount != 1 || descriptor == nullptr) {
        return nullptr;
    }
    heif_encoder* created = nullptr;
    if (!succeeded(heif_context_get_encoder(nullptr, descriptor, &created))) {
        return nullptr;
    }
    HeifEncoder encoder(created);
    constexpr mode_t everybody = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
    FileDescriptor opened(
        uninterrupted([&] { return ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, everybody); }));
    if (!opened) {
        return nullptr;
    }
    return std::make_unique<HeifDestination>(std::move(opened), std::move(encoder));
}

} // namespace ovrel
