/// \file tree_removal.h
/// Removes trees that an update has no more use for, and nothing that belongs to the user.
#pragma once

#include "updates/installation/tree_calls.h"

#include <string>
#include <vector>

namespace ovrel {

/// What a removed tree held that no installation had brought.
struct KeptFiles {
    std::string folder;             ///< its name beside the installation now; empty when nothing had to be kept
    std::vector<std::string> files; ///< paths in that folder, sorted; the first 1000

    bool empty() const { return folder.empty(); }
};

/// Removes a tree of the installation: the files that its own list names, and the folders that are empty then. What
/// remains is the user's; it gets the visible name `keptName`, or that with a number where it is taken. A tree without
/// a list that can be read is kept whole in this way. Files that the list names are taken for the installation's even
/// when the user has changed them.
///
/// Throws std::system_error when something of the installation's cannot be removed; the tree may be removed again then.
KeptFiles removeInstalledTree(TreeCalls& calls, int parent, const std::string& name, const std::string& keptName);

/// Removes a folder with all that it holds, following no symbolic link and crossing to no other volume. Goes on after a
/// failure. What does not exist is removed already.
/// \return false when something remains
bool removeTree(int parent, const std::string& name) noexcept;

/// \param folder what `name` was opened as: only this is emptied, whatever bears the name by now, and the name goes
///        only if it is that of an empty folder then
bool removeTree(int parent, const std::string& name, int folder) noexcept;

} // namespace ovrel
