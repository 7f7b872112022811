/// \file staging.h
/// Where an update is unpacked: a private folder beside the installation, so that the two can be exchanged.
#pragma once

#include "platform/linux/file_descriptor.h"
#include "updates/framework/update_error.h"
#include "updates/installation/installation_place.h"
#include "updates/installation/lock_file.h"

#include <string>
#include <utility>

namespace ovrel {

/// A folder beside the installation, for its owner alone, with an empty folder stagedTreeFolder in it. Its name is the
/// place's stagingPrefix() and a token. It is removed at the end, whatever has become of its name's surroundings:
/// everything is reached through descriptors. Whoever makes one holds the UpdateLock for as long as it is needed.
/// Movable; one thread at a time.
class Staging {
public:
    /// \throws UpdateError as stagingError() when there can be no such folder on the installation's file system
    static Staging create(const InstallationPlace& place);

    ~Staging() { remove(); }
    Staging(Staging&& other) noexcept { *this = std::move(other); }
    Staging& operator=(Staging&& other) noexcept;

    const std::string& name() const { return name_; } ///< beside the installation; empty when it was given away
    int tree() const { return tree_.get(); }

    /// Leaves the folder to whoever has the UpdateLock.
    void keep() { name_.clear(); }

private:
    Staging() = default;
    void remove() noexcept;

    std::string name_; // empty when there is nothing to remove
    FileDescriptor parent_;
    FileDescriptor directory_;
    FileDescriptor tree_;
};

/// Removes this user's staging folders beside the installation. Nobody needs them, because every update that is at work
/// holds the lock; only the one that a journal names is left to the recovery. Failures stay for the next time.
/// \param lock the installation's, as the right to do so
void removeStaleStaging(const InstallationPlace& place, const UpdateLock& lock);

/// Temporary directory: nothing can be made beside the program.
UpdateError stagingError();

} // namespace ovrel
