/// \file exchange.h
/// Puts a new tree in an installation's place.
#pragma once

#include "updates/installation/file_identity.h"
#include "updates/installation/installation_place.h"
#include "updates/installation/journal.h"
#include "updates/installation/tree_calls.h"
#include "updates/installation/tree_removal.h"

#include <string>

namespace ovrel {

/// A tree that shall take the installation's place.
struct IncomingTree {
    int folder = -1;       ///< the open folder that holds it
    std::string name;      ///< its name there
    FileIdentity identity; ///< what stood there when it was verified
};

/// The installation gets the incoming tree in one step; what it was before gets the hidden name `aside` beside it,
/// which must be free. On a volume that cannot exchange two folders in one step, two steps follow each other; between
/// them no tree stands at the installation's name.
///
/// Throws std::system_error: ESTALE when another folder than `installed` or the verified one stands at a name,
/// otherwise the errno of what failed. What was moved is moved back then as far as possible; settle() of recovery.h
/// knows the rest.
void takePlace(TreeCalls& calls, const InstallationPlace& place, const FileIdentity& installed,
               const IncomingTree& incoming, const std::string& aside);

/// What an update installs.
struct InstallOrder {
    std::string version;         ///< of the new tree, 1 … 64 bytes without a slash
    std::string staging;         ///< name of the update's private folder beside the installation
    std::string top;             ///< name of the new tree in its folder `tree`
    FileIdentity installed = {}; ///< the installation's folder when the update was verified
    FileIdentity staged = {};    ///< the new tree's folder then
};

/// Installs a verified tree and writes the journal of it. Nothing of the installation may run, and the caller holds its
/// UpdateLock. The new tree reaches the disk before anything changes.
/// \return what a tree that an earlier update had left behind held of the user's
///
/// Throws std::system_error: EBUSY when an update has not ended yet (its journal is there), otherwise as takePlace().
/// The journal that it leaves then is for settle() of recovery.h.
KeptFiles install(TreeCalls& calls, const InstallationPlace& place, const InstallOrder& order);

/// The name under which the user finds what they had put into a tree that was removed.
std::string keptFilesName(const InstallationPlace& place);

} // namespace ovrel
