/// \file utf8.h
/// Names of files as text that can be shown.
#pragma once

#include <string>
#include <string_view>

namespace ovrel {

/// \return `bytes` with every sequence that is not UTF-8 replaced by U+FFFD. Any thread.
std::string validUtf8(std::string_view bytes);

} // namespace ovrel
