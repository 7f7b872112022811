#include "conversion/encoding_mode.h"

namespace ovrel {

std::string_view rawValue(EncodingMode mode) {
    return mode == EncodingMode::efficient ? "Компактный · libaom" : "Системный · Apple";
}

std::optional<EncodingMode> encodingModeFromRawValue(std::string_view text) {
    for (const EncodingMode mode : allEncodingModes) {
        if (rawValue(mode) == text) {
            return mode;
        }
    }
    return std::nullopt;
}

} // namespace ovrel
