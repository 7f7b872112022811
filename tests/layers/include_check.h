/// \file include_check.h
/// Compares every #include of a source tree with the table of layers. Qt that a file may not include, it may not reach
/// through the program's headers either; libraries stay the affair of the file that includes them.
#pragma once

#include "tests/layers/layer_table.h"

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace ovrel::test {

struct IncludeReport {
    std::vector<std::string> faults;              ///< "FILE:LINE: what is wrong", in no order
    std::map<std::string, std::size_t> filesRead; ///< how many in each layer
};

/// Reads every C and C++ file below `root` except hidden and unchecked folders.
/// \param qtHeaders the folder that holds QtCore/, QtGui/ and so on: a header's place there tells its module
IncludeReport checkIncludes(const LayerTable& table, const std::filesystem::path& root,
                            const std::filesystem::path& qtHeaders);

} // namespace ovrel::test
