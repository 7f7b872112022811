/// \file about_text.h
/// What the About window tells of the program.
#pragma once

#include "model/english_text.h"

#include <array>

namespace ovrel {

/// In the order in which they are shown.
extern const std::array<TextPair, 5> aboutParagraphs;

} // namespace ovrel
