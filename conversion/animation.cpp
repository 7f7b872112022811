#include "conversion/animation.h"

#include "conversion/encoder_settings.h"
#include "conversion/errors.h"
#include "encoder/avif_encoder.h"
#include "platform/bitmap.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>

namespace ovrel {

namespace {

struct SequenceDeleter {
    void operator()(avif_sequence* sequence) const noexcept { avif_sequence_destroy(sequence); }
};

using ErrorText = std::array<char, encoderErrorCapacity>;

/// A GIF that states n loops plays n times in all; AVIF counts the repetitions after the first time.
std::int32_t repetitionCount(std::optional<std::int64_t> loopCount) {
    constexpr std::int32_t withoutEnd = -1;
    if (!loopCount) {
        return 0;
    }
    if (*loopCount == 0) {
        return withoutEnd;
    }
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(*loopCount - 1, 0, std::numeric_limits<std::int32_t>::max()));
}

std::uint64_t durationMilliseconds(const ImageProperties& properties) {
    constexpr double missingDelaySeconds = 0.1;
    constexpr double senselessDelayMilliseconds = 100.0;
    constexpr double most = 0x1p62;
    const double seconds =
        properties.gifUnclampedDelayTime.value_or(properties.gifDelayTime.value_or(missingDelaySeconds));
    const double milliseconds =
        seconds > 0.0 && std::isfinite(seconds) ? std::round(seconds * 1000.0) : senselessDelayMilliseconds;
    return static_cast<std::uint64_t>(std::clamp(milliseconds, 1.0, most));
}

ConversionError animationError(const ErrorText& text) {
    return prefixedError("Ошибка анимации: ", "Animation encoding failed: ", text.data());
}

/// The pixels of a frame lie in one memory from decoding to encoding, so wherever it runs out they cannot be prepared.
Bitmap prepareFrame(ImageSource& source, std::size_t index, const std::string& number) {
    try {
        std::optional<Image> frame = source.decode(index);
        if (!frame) {
            throw prefixedError("Не удалось прочитать кадр GIF ", "Unable to read GIF frame ", number);
        }
        return Bitmap::draw(std::move(*frame));
    } catch (const std::bad_alloc&) {
        throw framePreparationError(number);
    }
}

} // namespace

void encodeGIF(ImageSource& source, const std::filesystem::path& file, double quality, int speed) {
    ErrorText error{};
    const std::unique_ptr<avif_sequence, SequenceDeleter> sequence(avif_sequence_create(
        encoderQuality(quality), speed, repetitionCount(source.gifLoopCount()), error.data(), error.size()));
    if (!sequence) {
        throw animationError(error);
    }
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    for (std::size_t index = 0; index < source.count(); ++index) {
        const std::string number = std::to_string(index + 1);
        const Bitmap bitmap = prepareFrame(source, index, number);
        if (index == 0) {
            width = bitmap.width;
            height = bitmap.height;
        } else if (bitmap.width != width || bitmap.height != height) {
            throw framePreparationError(number);
        }
        if (!avif_sequence_add(sequence.get(), bitmap.pixels.data(), bitmap.width, bitmap.height,
                               durationMilliseconds(source.properties(index)), error.data(), error.size())) {
            throw prefixedError("Кадр ", "Frame ", number + ": " + error.data());
        }
    }
    if (!avif_sequence_finish(sequence.get(), file.c_str(), error.data(), error.size())) {
        throw animationError(error);
    }
}

} // namespace ovrel
