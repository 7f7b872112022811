/// \file scan.h
/// Converter::scan() on any file system.
#pragma once

#include "conversion/input_item.h"
#include "platform/file_system.h"

#include <filesystem>
#include <span>
#include <vector>

namespace ovrel {

/// See Converter::scan().
/// \throws ConversionError when a given folder cannot be read, FileError for anything else
std::vector<InputItem> scan(FileSystem& fileSystem, std::span<const std::filesystem::path> urls, bool recursive);

/// What one scan finds in several paths, made of what a scan of each of them has found.
/// \param findings in the order of the paths
std::vector<InputItem> merged(std::vector<std::vector<InputItem>> findings);

} // namespace ovrel
