/// \file avif_encoder.h
/// Writes AVIF files (AV1 Image File Format 1.1) through libavif with the libaom encoder. Usable from C11 and C++.
///
/// All pixels are 8-bit RGBA in sRGB, four bytes a pixel in the order R, G, B, A, colour premultiplied by alpha, rows
/// packed tightly from the top. Files hold 8-bit 4:2:0 full range with CICP 1/13/6 (ITU-T H.273) and straight alpha
/// that is always lossless. No function keeps state of its own: different calls and handles are independent and may
/// run on any threads at once.
///
/// Every failure is a false or null result and an English text in the caller's buffer, cut to `error_capacity` bytes
/// with its terminating NUL; the buffer is untouched on success. A capacity of 0 takes no text.
#ifndef OVREL_ENCODER_AVIF_ENCODER_H
#define OVREL_ENCODER_AVIF_ENCODER_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Encodes one picture and writes it to `output_path`, which is created or truncated after the encode has succeeded.
/// \param pixels width × height × 4 bytes; only read
/// \param width 1 … 2^30 - 1
/// \param height at least 1
/// \param quality 0 (worst) … 100 (lossless)
/// \param speed 0 (slowest, smallest file) … 10 (fastest)
/// \param output_path in the file system's encoding; a partly written file is left to the caller
/// \return whether the whole file was written
bool encode_avif_rgba(const uint8_t* pixels, uint32_t width, uint32_t height, int32_t quality, int32_t speed,
                      const char* output_path, char* error, size_t error_capacity);

/// An animation in the making. Used by one thread at a time.
typedef struct avifEncoder avif_sequence; // NOLINT(modernize-use-using): C has no other way

/// Starts an animation whose durations count milliseconds.
/// \param quality 0 … 100, not checked
/// \param speed 0 … 10, not checked
/// \param repetition_count how often it repeats after the first time; -1 without end
/// \return the animation, to be released with avif_sequence_destroy(), or null
avif_sequence* avif_sequence_create(int32_t quality, int32_t speed, int32_t repetition_count, char* error,
                                    size_t error_capacity);

/// Encodes the next frame. The pixels may be released afterwards.
/// \param width, height 1 … 65535, the same for every frame
/// \param duration milliseconds, at least 1
bool avif_sequence_add(avif_sequence* sequence, const uint8_t* pixels, uint32_t width, uint32_t height,
                       uint64_t duration, char* error, size_t error_capacity);

/// Writes the animation. Called once, after the last frame; the animation still has to be released.
bool avif_sequence_finish(avif_sequence* sequence, const char* output_path, char* error, size_t error_capacity);

/// Releases an animation, finished or not. Null is allowed.
void avif_sequence_destroy(avif_sequence* sequence);

#ifdef __cplusplus
}
#endif

#endif
