/// \file file_copy.h
/// The steps of FileSystem::copyFile(), the fastest first.
#pragma once

#include <filesystem>

namespace ovrel {

/// Makes the empty file `to` share all blocks of `from`.
/// \return false when the volume cannot; nothing has changed then
bool cloneBlocks(int from, int to);

/// Lets the system copy from the current place of `from` to that of `to`, and moves both places on. Stops early, and
/// without an error, wherever the system cannot do it.
void copyInSystem(int from, int to);

/// Copies what is left of `from` through a buffer.
/// \param source, copy names for errors
/// \throws FileError
void copyThroughBuffer(int from, int to, const std::filesystem::path& source, const std::filesystem::path& copy);

/// FileSystem::copyFile(). A link in the place of `from` is refused, and so is a file above maximumFileBytes. After a
/// failure the copy may stay, unfinished.
/// \throws FileError
void copyRegularFile(const std::filesystem::path& from, const std::filesystem::path& to);

} // namespace ovrel
