/// \file dropped_files.h
/// Files and folders that come from another program.
#pragma once

#include <filesystem>
#include <vector>

class QMimeData;

namespace ovrel {

/// Whether any of what is offered is a file or folder of this computer.
bool holdsFiles(const QMimeData& offered);

/// Those files and folders, in their order; anything else is left out.
std::vector<std::filesystem::path> filesOf(const QMimeData& dropped);

} // namespace ovrel
