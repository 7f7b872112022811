/// \file open_folder.h
/// Folders reached through descriptors, never through a symbolic link.
#pragma once

#include "platform/linux/file_descriptor.h"

#include <string>
#include <vector>

namespace ovrel {

/// \param folder an open directory in which `name` is looked up; one step of a path
/// \return none and errno when it does not exist or is no folder
FileDescriptor openFolder(int folder, const std::string& name);

/// Names in an open folder, without "." and "..", in no order.
/// Throws std::system_error.
std::vector<std::string> namesIn(int folder);

} // namespace ovrel
