#include "conversion/still.h"

#include "conversion/browser_image.h"
#include "conversion/encoder_settings.h"
#include "conversion/errors.h"
#include "encoder/avif_encoder.h"
#include "platform/bitmap.h"

#include <array>
#include <cstdint>
#include <utility>

namespace ovrel {

void encodeCompact(Image&& image, const std::filesystem::path& file, double quality, int speed) {
    // The encoder counts bytes of a row in 32 bits.
    constexpr std::uint32_t firstTooWide = std::uint32_t{1} << 30;
    if (image.width >= firstTooWide) {
        throw memoryError();
    }
    const Bitmap bitmap = Bitmap::draw(std::move(image));
    std::array<char, encoderErrorCapacity> error{};
    if (!encode_avif_rgba(bitmap.pixels.data(), bitmap.width, bitmap.height, encoderQuality(quality), speed,
                          file.c_str(), error.data(), error.size())) {
        throw prefixedError("Ошибка AVIF: ", "AVIF error: ", error.data());
    }
}

void encodeWithSystem(Image&& image, const std::filesystem::path& file, double quality, const Services& services) {
    const std::unique_ptr<ImageDestination> destination =
        services.createDestination(file, ImageDestination::avifType, 1);
    if (!destination) {
        throw ConversionError("Не удалось создать AVIF", "Unable to create the AVIF file");
    }
    (void)encoderQuality(quality); // a value that is no number ends the program here as well
    destination->addImage(browserCompatibleImage(std::move(image)), quality);
    if (!destination->finalize()) {
        throw ConversionError("Ошибка кодирования AVIF", "AVIF encoding failed");
    }
}

} // namespace ovrel
