/// \file color_scheme.h
/// Dark or light.
#pragma once

#include <cstdint>

namespace ovrel {

enum class ColorScheme : std::uint8_t { light, dark };

} // namespace ovrel
