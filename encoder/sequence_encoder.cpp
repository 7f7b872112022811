#include "encoder/avif_encoder.h"

#include "encoder/avif_handles.h"
#include "encoder/encoder_setup.h"
#include "encoder/error_text.h"
#include "encoder/output_file.h"

#include <cstddef>
#include <cstdint>

using namespace ovrel;

avif_sequence* avif_sequence_create(std::int32_t quality, std::int32_t speed, std::int32_t repetition_count,
                                    char* error, std::size_t error_capacity) {
    const ErrorText text{error, error_capacity};
    EncoderHandle encoder(avifEncoderCreate());
    if (encoder == nullptr) {
        text.fail("Cannot allocate animation encoder");
        return nullptr;
    }
    configureEncoder(*encoder, quality, speed);
    encoder->timescale = 1000;
    encoder->repetitionCount = repetition_count;
    const avifResult result = setCodecOptions(*encoder, quality);
    if (result != AVIF_RESULT_OK) {
        text.fail(avifResultToString(result));
        return nullptr;
    }
    return encoder.release();
}

bool avif_sequence_add(avif_sequence* sequence, const std::uint8_t* pixels, std::uint32_t width, std::uint32_t height,
                       std::uint64_t duration, char* error, std::size_t error_capacity) {
    const ErrorText text{error, error_capacity};
    // ISO/IEC 14496-12, 12.1.3: a track's sample entry holds the size in 16 bits.
    constexpr std::uint32_t longestSide = 65535;
    if (duration == 0 || sequence == nullptr || pixels == nullptr || width == 0 || height == 0 || width > longestSide ||
        height > longestSide) {
        return text.fail("Invalid animation frame");
    }
    const ImageHandle image(avifImageCreate(width, height, 8, AVIF_PIXEL_FORMAT_YUV420));
    if (image == nullptr) {
        return text.fail("Cannot allocate animation frame");
    }
    avifResult result = fillImage(*image, pixels);
    if (result != AVIF_RESULT_OK) {
        return text.fail(result, *sequence);
    }
    result = avifEncoderAddImage(sequence, image.get(), duration, AVIF_ADD_IMAGE_FLAG_NONE);
    return result == AVIF_RESULT_OK || text.fail(result, *sequence);
}

bool avif_sequence_finish(avif_sequence* sequence, const char* output_path, char* error, std::size_t error_capacity) {
    const ErrorText text{error, error_capacity};
    avifRWData output = AVIF_DATA_EMPTY;
    const BytesHandle outputHandle(&output);
    const avifResult result = avifEncoderFinish(sequence, &output);
    if (result != AVIF_RESULT_OK) {
        return text.fail(result, *sequence);
    }
    switch (writeOutputFile(output_path, output)) {
    case OutputFileResult::notCreated: return text.fail("Cannot create animation file");
    case OutputFileResult::notFinished: return text.fail("Cannot finish animation file");
    case OutputFileResult::written: break;
    }
    return true;
}

void avif_sequence_destroy(avif_sequence* sequence) {
    if (sequence != nullptr) {
        avifEncoderDestroy(sequence);
    }
}
