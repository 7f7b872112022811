#include "encoder/rgb_to_yuv.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <thread>

namespace ovrel {

namespace {

/// Takes about two milliseconds, far more than starting a thread. For every width that AV1 knows it also keeps the
/// offsets within a band below 2^32, where libavif's arithmetic wraps around.
constexpr std::uint32_t pixelsOfBand = 1U << 17U;

/// Rows of 4:2:0 chroma belong to two rows of pixels, so only the last band may have an odd number.
std::uint32_t rowsOfBand(std::uint32_t width) {
    return std::max(pixelsOfBand / width / 2 * 2, 2U);
}

/// libavif calls a view the owner of its planes once pixels were converted into it.
struct ViewRelease {
    void operator()(avifImage* view) const {
        view->imageOwnsYUVPlanes = AVIF_FALSE;
        view->imageOwnsAlphaPlane = AVIF_FALSE;
        avifImageDestroy(view);
    }
};

/// \param image has its planes
/// \param top even
avifResult convertBand(const avifImage& image, const avifRGBImage& rgb, std::uint32_t top, std::uint32_t rows) {
    const std::unique_ptr<avifImage, ViewRelease> view(avifImageCreateEmpty());
    if (view == nullptr) {
        return AVIF_RESULT_OUT_OF_MEMORY;
    }
    const avifCropRect band{0, top, image.width, rows};
    const avifResult result = avifImageSetViewRect(view.get(), &image, &band);
    if (result != AVIF_RESULT_OK) {
        return result;
    }
    avifRGBImage bandOfRgb = rgb;
    bandOfRgb.pixels += static_cast<std::size_t>(top) * rgb.rowBytes;
    bandOfRgb.height = rows;
    return avifImageRGBToYUV(view.get(), &bandOfRgb);
}

/// The bands of one picture, taken by whichever thread is free.
class Bands {
public:
    Bands(const avifImage& image, const avifRGBImage& rgb)
        : image_(image), rgb_(rgb), rows_(rowsOfBand(image.width)), count_(1 + (image.height - 1) / rows_) {}

    std::uint32_t count() const { return count_; }
    avifResult result() const { return result_.load(); }

    /// Converts bands until none is left or one has failed.
    void convert() {
        while (result_.load() == AVIF_RESULT_OK) {
            const std::uint32_t band = next_++;
            if (band >= count_) {
                return;
            }
            const std::uint32_t top = band * rows_;
            const avifResult result = convertBand(image_, rgb_, top, std::min(rows_, image_.height - top));
            if (result != AVIF_RESULT_OK) {
                result_.store(result);
            }
        }
    }

private:
    const avifImage& image_;
    const avifRGBImage& rgb_;
    const std::uint32_t rows_;
    const std::uint32_t count_;
    std::atomic<std::uint32_t> next_{0};
    std::atomic<avifResult> result_{AVIF_RESULT_OK};
};

/// \return when all threads have ended
void convertSideBySide(Bands& bands, std::uint32_t threads) {
    std::array<std::jthread, 7> helpers;
    try {
        for (std::size_t i = 0; i < helpers.size() && i + 1 < threads; ++i) {
            helpers[i] = std::jthread(&Bands::convert, &bands);
        }
    } catch (const std::exception&) {
        // The threads that could be started, at least this one, take all bands.
    }
    bands.convert();
}

} // namespace

avifResult convertRgbToYuv(avifImage& image, const avifRGBImage& rgb, int threads) noexcept {
    Bands bands(image, rgb);
    if (bands.count() == 1) {
        return avifImageRGBToYUV(&image, &rgb);
    }
    const avifResult allocated = avifImageAllocatePlanes(&image, AVIF_PLANES_ALL);
    if (allocated != AVIF_RESULT_OK) {
        return allocated;
    }
    convertSideBySide(bands, std::min(static_cast<std::uint32_t>(std::max(threads, 1)), bands.count()));
    return bands.result();
}

} // namespace ovrel
