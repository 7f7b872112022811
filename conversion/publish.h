/// \file publish.h
/// Giving a finished file its final name.
#pragma once

#include "conversion/input_item.h"
#include "platform/file_system.h"

#include <filesystem>

namespace ovrel {

/// Flushes `temporary` and moves it, within `folder`, to the first free of the names base.avif, base-2.avif, …, where
/// base is the source's name without its last extension. Any thread, several at once into one folder: a name that
/// another writer takes first is passed over. After a crash of the computer a final name never holds less than the
/// whole file.
/// \return the new name
/// \throws FileError; `temporary` is still there then
std::filesystem::path publish(FileSystem& fileSystem, const std::filesystem::path& temporary, const InputItem& item,
                              const std::filesystem::path& folder);

} // namespace ovrel
