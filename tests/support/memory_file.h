/// \file memory_file.h
/// Input files without a folder.
#pragma once

#include "platform/linux/input_file.h"

#include <string_view>

namespace ovrel::test {

/// A file in memory that holds `bytes`.
InputFile memoryFile(std::string_view bytes);

} // namespace ovrel::test
