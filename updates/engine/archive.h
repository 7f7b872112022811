/// \file archive.h
/// Unpacks the archive of an update.
#pragma once

#include "platform/linux/file_descriptor.h"
#include "updates/engine/entry_policy.h"
#include "updates/engine/signature.h"

#include <functional>
#include <stop_token>
#include <string>

namespace ovrel {

/// The archive's one top folder, complete and on the disk.
struct UnpackedTree {
    std::string name;         ///< one component, below the folder that was unpacked into
    FileDescriptor directory; ///< the folder itself, whatever bears the name by now
};

/// Unpacks a .tar.xz whose entries EntryPolicy accepts. Files belong to the user that unpacks them, with the rights
/// rwxr-xr-x or, unless they are executable, rw-r--r--, less what the process's mask takes; nothing else is taken over
/// from the archive. When it returns, every file and folder has been flushed to the disk. What a failure leaves in
/// `into` is for the caller to remove.
///
/// \param into an open empty folder that only the user may enter; everything is made relative to it
/// \param progress called on this thread with what part of the archive is done, 0 … 1, never less than before
/// \param stop asked between blocks
/// \throws UpdateError unarchiving for an archive that is damaged or does not fit onto the disk, validation for one
///         that the policy refuses and for a tree that somebody else changes meanwhile, installationCanceled
UnpackedTree unpack(const VerifiedArchive& archive, int into, const std::function<void(double)>& progress,
                    const std::stop_token& stop, const ArchiveLimits& limits = {});

} // namespace ovrel
