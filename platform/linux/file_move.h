/// \file file_move.h
/// The ways to rename a file without replacing another, the best first.
#pragma once

#include <filesystem>

namespace ovrel {

/// How a way went.
enum class MoveResult {
    moved,
    taken,       ///< something else has the name; nothing has changed
    failed,      ///< errno says why
    unsupported, ///< the volume has no such way; nothing has changed
};

/// In one step, by the system's own call.
MoveResult moveByRename(const std::filesystem::path& from, const std::filesystem::path& to);

/// By a second name for the file; for a moment it has both. NFS and older ZFS need this.
MoveResult moveByLink(const std::filesystem::path& from, const std::filesystem::path& to);

/// By taking the name with an empty file first and replacing that. For volumes that have neither of the above (exFAT
/// and several network shares through FUSE), where only an ordinary rename exists, and that alone could replace a file
/// that another program has just written; what one writes into the empty file before it is replaced is lost. The empty
/// file stays after a crash between the two steps, and where the volume refuses to rename and to remove it; that is a
/// failure then, never a taken name.
MoveResult moveByPlaceholder(const std::filesystem::path& from, const std::filesystem::path& to);

/// FileSystem::moveWithoutReplacing(): the first of these ways that the volume has.
/// \return false when the name is taken
/// \throws FileError (writing)
[[nodiscard]] bool moveFile(const std::filesystem::path& from, const std::filesystem::path& to);

} // namespace ovrel
