/// \file same_content.h
/// Whether a result is whole.
#pragma once

#include <string>

namespace ovrel::test {

/// \return whether `found`, the bytes of an AVIF file, shows and says all that `expected` does. Their bytes may differ:
///         an animation states when it was made.
bool haveSameContent(const std::string& found, const std::string& expected);

} // namespace ovrel::test
