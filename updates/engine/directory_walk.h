/// \file directory_walk.h
/// Folders and files reached through descriptors, never through a symbolic link.
#pragma once

#include "platform/linux/file_descriptor.h"

#include <string>
#include <vector>

namespace ovrel {

/// \param name one component
/// \return nothing and errno unless `name` in `parent` is a folder itself
FileDescriptor openDirectoryIn(int parent, const std::string& name);

/// Names in an open folder, without "." and "..", in no order.
/// \throws std::system_error
std::vector<std::string> namesIn(int directory);

/// Removes all that the open folder `directory` holds, then `name` in `parent`, if that is an empty folder now. Never
/// follows a link and never enters another file system. Goes on after a failure.
/// \param directory what `name` was opened as: only this is emptied, whatever bears the name by now
/// \return false when something is left
bool removeDirectory(int parent, const std::string& name, int directory) noexcept;

} // namespace ovrel
