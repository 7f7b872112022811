/// \file display_text.h
/// Text on its way to a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ovrel::cli {

/// Whether a terminal could take the character for a command, or let it move the text around it: controls, line and
/// paragraph separators, and those that change the writing direction.
bool isControl(char16_t character);

/// `bytes` as UTF-8 on one line: what is not UTF-8 and every control becomes U+FFFD.
std::string displayable(std::string_view bytes);

/// Columns that UTF-8 text takes on a terminal, by the C library's table for the current LC_CTYPE.
std::size_t columnsOf(std::string_view text);

/// The beginning of `text` that fits into `columns`, ending in "…" where something was cut off.
std::string cut(std::string_view text, std::size_t columns);

} // namespace ovrel::cli
