/// \file directory_enumerator.h
/// The walk of FileSystem::enumerate().
#pragma once

#include "platform/file_system.h"

#include <filesystem>
#include <memory>

#include <sys/types.h>

namespace ovrel {

/// FileSystem::enumerate(). One descriptor is open at a time, however deep the folders are.
std::unique_ptr<DirectoryEnumerator> openDirectory(const std::filesystem::path& folder, bool recursive);

/// What an entry of the open directory `directory` is.
/// \param type as readdir(3) gives it; volumes that give DT_UNKNOWN are asked about each entry
/// \return the bits S_IFMT of st_mode, or 0 and errno when the volume does not tell
mode_t entryType(int directory, const char* name, unsigned char type);

} // namespace ovrel
