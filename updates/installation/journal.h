/// \file journal.h
/// What an update has begun and not yet ended, so that the next start of the program can end it.
#pragma once

#include "updates/installation/installation_place.h"
#include "updates/installation/tree_calls.h"

#include <optional>
#include <string>
#include <string_view>

namespace ovrel {

enum class JournalState {
    exchanging, ///< the new tree is about to take the installation's place, or just has
    installed,  ///< the new tree is in place and has not yet started healthily; the previous one is kept
    confirmed,  ///< the new tree has started healthily; the previous one is being removed
    undoing,    ///< the previous tree is about to take its place back, or just has
    failed,     ///< the previous tree is in place again; the version of the new one is to be remembered as failed
};

/// The journal of one update. It names no inodes: a volume that is mounted again or restored has others. The new tree
/// is known by its mark instead (tree_mark.h).
struct Journal {
    JournalState state = JournalState::exchanging;
    std::string token;       ///< what the mark of the new tree says, 32 hexadecimal digits
    std::string version;     ///< of the new tree, 1 … 64 bytes without a slash
    std::string staging;     ///< name of the update's private folder beside the installation
    std::string top;         ///< name of the new tree in the folder `tree` of the private folder
    unsigned startCount = 0; ///< how often the new tree was started without a healthy start, 0 … 99
};

/// Whether an update to this version can be written down: one step of a path, 1 … 64 bytes.
bool isInstallableVersion(const std::string& version);

/// The journal as text, and back.
/// \return nothing for a text that is not, from the first byte to the last, what formatJournal() writes
std::string formatJournal(const Journal& journal);
std::optional<Journal> parseJournal(std::string_view text);

/// \return nothing when there is none, or one that cannot be read, is longer than 4096 bytes, or is not this user's
std::optional<Journal> readJournal(const InstallationPlace& place);

/// Puts a journal in place of the one before. A power cut leaves the one or the other.
/// Throws std::system_error, and the one before stays.
void writeJournal(TreeCalls& calls, const InstallationPlace& place, const Journal& journal);

/// Throws std::system_error when a journal is there and cannot be removed.
void removeJournal(TreeCalls& calls, const InstallationPlace& place);

} // namespace ovrel
