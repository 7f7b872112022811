/// \file text.h
/// Names of files as text: to be shown, and to be compared without regard to case.
#pragma once

#include <string>
#include <string_view>

namespace ovrel {

/// \return `bytes` with every sequence that is not UTF-8 replaced by U+FFFD. Any thread.
std::string validUtf8(std::string_view bytes);

/// \return `bytes` with A … Z lowered and all others as they are, whatever the locale. Any thread.
std::string lowerCaseAscii(std::string_view bytes);

} // namespace ovrel
