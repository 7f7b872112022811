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

} // namespace ovrel
