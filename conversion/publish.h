/// \file publish.h
/// Giving a finished file its final name.
#pragma once

#include "conversion/input_item.h"
#include "platform/file_system.h"

#include <cstdint>
#include <filesystem>

namespace ovrel {

/// The folder for the result of `item`: as deep below `output` as its source lay below the folder that was added.
std::filesystem::path resultFolder(const InputItem& item, const std::filesystem::path& output);

/// The names for a result, in the order in which they are tried: base.avif, base-2.avif, …, where base is the source's
/// name without its last extension.
/// \param number from 1
std::filesystem::path resultName(const InputItem& item, std::uint64_t number);

/// Flushes `temporary` and moves it, within `folder`, to the first of the names by resultName() that is free. Any
/// thread, several at once into one folder: a name that another writer takes first is passed over. After a crash of the
/// computer a final name never holds less than the whole file, where the volume can flush and rename without replacing;
/// where it can not, see FileSystem::flush() and moveWithoutReplacing().
/// \return the new name
/// \throws FileError; `temporary` is still there then
std::filesystem::path publish(FileSystem& fileSystem, const std::filesystem::path& temporary, const InputItem& item,
                              const std::filesystem::path& folder);

} // namespace ovrel
