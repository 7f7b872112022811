/// \file help_sections.h
/// The texts of the Help window.
#pragma once

#include "model/english_text.h"

#include <QString>

#include <array>

namespace ovrel {

/// A question of the user's and its answer, in one language.
struct HelpSection {
    QString question; ///< no two sections have the same
    QString answer;   ///< its paragraphs are separated by empty lines
};

/// A section in both languages.
struct HelpSectionText {
    TextPair question;
    TextPair answer;
};

/// In the order in which they are shown.
extern const std::array<HelpSectionText, 14> helpSectionTexts;

} // namespace ovrel
