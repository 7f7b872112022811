#include "encoder/avif_encoder.h"

#include "encoder/avif_handles.h"
#include "encoder/encoder_setup.h"
#include "encoder/error_text.h"
#include "encoder/output_file.h"

#include <cstddef>
#include <cstdint>

using namespace ovrel;

namespace {

/// As unsigned numbers, negative values are too large as well. The width is bounded so that a row's bytes fit 32 bits.
bool areValid(const std::uint8_t* pixels, std::uint32_t width, std::uint32_t height, std::int32_t quality,
              std::int32_t speed) {
    return static_cast<std::uint32_t>(quality) <= AVIF_QUALITY_BEST &&
           static_cast<std::uint32_t>(speed) <= AVIF_SPEED_FASTEST && width < (1U << 30U) && pixels != nullptr &&
           width != 0 && height != 0;
}

} // namespace

bool encode_avif_rgba(const std::uint8_t* pixels, std::uint32_t width, std::uint32_t height, std::int32_t quality,
                      std::int32_t speed, const char* output_path, char* error, std::size_t error_capacity) {
    const ErrorText text{error, error_capacity};
    if (!areValid(pixels, width, height, quality, speed)) {
        return text.fail("Invalid encoding parameters");
    }
    const ImageHandle image(avifImageCreate(width, height, 8, AVIF_PIXEL_FORMAT_YUV420));
    const EncoderHandle encoder(avifEncoderCreate());
    if (image == nullptr || encoder == nullptr) {
        return text.fail("Cannot allocate AVIF encoder");
    }
    avifRWData output = AVIF_DATA_EMPTY;
    const BytesHandle outputHandle(&output);

    avifResult result = fillImage(*image, pixels);
    if (result != AVIF_RESULT_OK) {
        return text.fail(result, *encoder);
    }
    configureEncoder(*encoder, quality, speed);
    encoder->tileRowsLog2 = 0;
    encoder->tileColsLog2 = 0;
    result = setCodecOptions(*encoder, quality);
    if (result != AVIF_RESULT_OK) {
        return text.fail(result, *encoder);
    }
    result = avifEncoderWrite(encoder.get(), image.get(), &output);
    if (result != AVIF_RESULT_OK) {
        return text.fail(result, *encoder);
    }
    switch (writeOutputFile(output_path, output)) {
    case OutputFileResult::notCreated: return text.fail("Cannot create output file");
    case OutputFileResult::notFinished: return text.fail("Cannot finish output file");
    case OutputFileResult::written: break;
    }
    return true;
}
