/// \file tree_mark.h
/// The mark by which the new tree of an update is known until it has started healthily.
#pragma once

#include "updates/installation/tree_calls.h"

#include <string>

namespace ovrel {

/// A token that no other update has: 32 lower-case hexadecimal digits. Throws std::system_error without randomness.
std::string newToken();
bool isToken(const std::string& text);

/// Throws std::system_error. `tree` is the open folder.
void markTree(TreeCalls& calls, int tree, const std::string& token);
void unmarkTree(TreeCalls& calls, int tree);

/// What stands under a name.
enum class TreeKind {
    none,     ///< no folder
    marked,   ///< the tree with the token
    unmarked, ///< any other
};
TreeKind treeKind(int folder, const std::string& name, const std::string& token);

} // namespace ovrel
