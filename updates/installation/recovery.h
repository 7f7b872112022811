/// \file recovery.h
/// Ends what an update has begun: after a crash, after a power cut, and when the new version has started healthily or
/// has not.
///
/// The life of an update: `exchanging` becomes `installed`, which a healthy start makes `confirmed`, whose journal is
/// removed with the previous tree. Where the new version does not start, `installed` becomes `undoing` and then
/// `failed`, whose journal is removed when the program has remembered the failed version. At each of these steps the
/// journal and the mark of the new tree tell what was done and what was not.
#pragma once

#include "updates/installation/installation_place.h"
#include "updates/installation/instance_lock.h"
#include "updates/installation/journal.h"
#include "updates/installation/lock_file.h"
#include "updates/installation/tree_calls.h"
#include "updates/installation/tree_removal.h"

#include <functional>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace ovrel {

/// A new version that was started this often without a healthy start is taken back.
inline constexpr unsigned unconfirmedStartLimit = 2;

/// What a program learns at its start about updates before it.
struct StartReport {
    /// Another tree stands in the installation's place than the one that this program came from: start the program
    /// there in place of this one, before anything else is loaded.
    bool restart = false;
    /// The version that was taken back. Comes again at each start until forgetFailedVersion() is called.
    std::optional<std::string> failedVersion;
    /// This start was counted as one of a version that was not confirmed yet.
    bool counted = false;
    /// The user's files that lay in trees that are gone now.
    std::vector<KeptFiles> kept;
    /// Why what an update has begun could be ended neither forth nor back, if so. All else is true nevertheless, and
    /// the program may run on; the next start tries again.
    std::optional<std::system_error> failure;
};

/// Called by each window of a portable installation before anything else of it is loaded; the command line does not.
/// Counts a start of a version that was not confirmed yet, unless other programs of the installation run. While an
/// update is at work elsewhere it changes nothing.
///
/// \param running the folder that this program came from
StartReport recoverAtStart(TreeCalls& calls, const InstallationPlace& place, const FileIdentity& running,
                           InstanceLock& instance);

/// Called when the program has shown its main window and lived on: the new version stays, the previous tree and the
/// journal go; where a program still runs from that tree, they go at a later start. May take as long as the removal of
/// a tree does. Without an update it does nothing. Any thread, one at a time. Throws std::system_error: EBUSY when
/// an update is at work or not at one of its ends, ESTALE when another tree than `running` is in place; it may be
/// called again then, and the next start would end what is left.
///
/// \param running the folder that this program came from
/// \return what the previous tree held of the user's
KeptFiles confirmHealthyStart(TreeCalls& calls, const InstallationPlace& place, const FileIdentity& running);

/// Called by a program whose start was counted, and which ends by itself before confirmHealthyStart() was called: that
/// start says nothing about the version. Throws std::system_error.
void discountStart(TreeCalls& calls, const InstallationPlace& place);

/// Called when the version that StartReport named is remembered elsewhere. Throws std::system_error.
void forgetFailedVersion(TreeCalls& calls, const InstallationPlace& place, const std::string& version);

/// Remembers a version that was taken back, elsewhere and for good. \return false when that is not possible
using RememberFailed = std::function<bool(const std::string& version)>;

/// The right to begin a new update, for a program that has started healthily. What an earlier update has left is ended
/// first, as far as that moves no tree below a program; may take as long as the removal of a tree does.
///
/// \param running the folder that this program came from
/// \return nothing while another update is at work. Throws std::system_error: EBUSY when an earlier one can be ended by
/// a start of the program alone, or its failed version cannot be remembered; ESTALE when another tree than `running` is
/// in place
std::optional<UpdateLock> lockForNewUpdate(TreeCalls& calls, const InstallationPlace& place,
                                           const FileIdentity& running, const RememberFailed& remember);

/// What follows is for the holder of the UpdateLock while no program of the installation runs but the caller.

/// Leads an interrupted exchange to one of its ends: complete trees stand at the installation's name and, if the new
/// one is in place, at that of the previous one. \return the journal of what is the case now; nothing when no update is
/// under way
std::optional<Journal> settle(TreeCalls& calls, const InstallationPlace& place);

/// Puts the previous tree back and marks the version as failed.
/// \return false when there is no previous tree or its place is empty; the journal stays then
bool takeBack(TreeCalls& calls, const InstallationPlace& place, Journal journal);

} // namespace ovrel
