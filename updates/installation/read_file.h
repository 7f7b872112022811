/// \file read_file.h
/// Small files, whole.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace ovrel {

/// \param file an open file, read from where it stands to its end
/// \return nothing when it cannot be read or holds more than `limitBytes`
std::optional<std::string> readWhole(int file, std::size_t limitBytes);

/// The printable ASCII characters in the first line of a file, which is looked for in its first 200 bytes.
/// \param file an open file
/// \return empty also when it cannot be read
std::string readFirstLine(int file);

} // namespace ovrel
