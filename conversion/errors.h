/// \file errors.h
/// The failures that several steps of a conversion word alike.
#pragma once

#include "conversion/conversion_error.h"

#include <string>

namespace ovrel {

/// The same text in both languages behind a prefix that is translated: the encoder words its failures in English only.
inline ConversionError prefixedError(const std::string& russianPrefix, const std::string& englishPrefix,
                                     const std::string& text) {
    return ConversionError(russianPrefix + text, englishPrefix + text);
}

inline ConversionError unreadableImageError() {
    return ConversionError("Не удалось прочитать изображение", "Unable to read the image");
}

inline ConversionError damagedImageError() {
    return ConversionError("Изображение повреждено или не поддерживается", "The image is damaged or unsupported");
}

inline ConversionError memoryError() {
    return ConversionError("Недостаточно памяти для изображения", "Not enough memory to process the image");
}

/// \param number of the frame, from 1
inline ConversionError framePreparationError(const std::string& number) {
    return prefixedError("Не удалось подготовить кадр GIF ", "Unable to prepare GIF frame ", number);
}

} // namespace ovrel
