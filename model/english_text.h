/// \file english_text.h
/// The table of the interface's texts, for translators: the Russian text, which is the key, and the English one.
#pragma once

#include "model/app_language.h"

#include <QString>

#include <array>
#include <string_view>

namespace ovrel {

/// A text in both languages.
struct TextPair {
    std::u16string_view russian;
    std::u16string_view english;

    QString in(AppLanguage language) const;
};

/// In the order in which the interface was written. Each Russian text stands there once.
extern const std::array<TextPair, 53> englishTextPairs;

} // namespace ovrel
