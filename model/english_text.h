/// \file english_text.h
/// The table of the interface's texts, for translators: the Russian text, which is the key, and the English one.
#pragma once

#include <array>
#include <string_view>

namespace ovrel {

struct TextPair {
    std::u16string_view russian; ///< unique in the table
    std::u16string_view english;
};

/// In the order in which the interface was written.
extern const std::array<TextPair, 53> englishTextPairs;

} // namespace ovrel
