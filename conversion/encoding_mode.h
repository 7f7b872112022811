/// \file encoding_mode.h
/// The two ways to encode a still image.
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace ovrel {

enum class EncodingMode {
    efficient, ///< libavif with libaom
    system,    ///< the system's image writer; GIFs take libaom all the same
};

/// All modes in the order in which they are offered.
inline constexpr std::array allEncodingModes{EncodingMode::efficient, EncodingMode::system};

/// Internal identifier, UTF-8; never shown.
std::string_view rawValue(EncodingMode mode);

/// \return nothing unless `text` is exactly one of the identifiers
std::optional<EncodingMode> encodingModeFromRawValue(std::string_view text);

} // namespace ovrel
