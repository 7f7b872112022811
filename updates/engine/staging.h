/// \file staging.h
/// Where an update is unpacked: a private folder beside the installation, so that the two can be exchanged.
#pragma once

#include "platform/linux/file_descriptor.h"

#include <chrono>
#include <filesystem>
#include <string>
#include <utility>

namespace ovrel {

/// A folder ".NAME-update-RANDOM" beside the folder NAME, for its owner alone, with a file "lock" and an empty folder
/// "tree" in it. It is removed at the end, whatever has become of its name's surroundings: everything is reached
/// through descriptors. Movable; one thread at a time.
class Staging {
public:
    /// \param installation the installed program's folder, absolute
    /// \throws UpdateError temporaryDirectory when there can be no such folder on the installation's file system
    static Staging create(const std::filesystem::path& installation);

    ~Staging() { remove(); }
    Staging(Staging&& other) noexcept { *this = std::move(other); }
    Staging& operator=(Staging&& other) noexcept;

    const std::filesystem::path& path() const { return path_; }
    int parent() const { return parent_.get(); } ///< the folder that holds the installation too
    int directory() const { return directory_.get(); }
    int tree() const { return tree_.get(); }

    /// The lock, held (flock) until the last copy of this descriptor is closed, also by a process that inherited it.
    int lock() const { return lock_.get(); }

    /// Leaves the folder to whoever inherited the lock.
    void keep() { name_.clear(); }

private:
    Staging() = default;

    /// \return false when somebody took the folder for a stale one meanwhile
    bool prepare();
    void remove() noexcept;

    std::filesystem::path path_;
    std::string name_; // empty when there is nothing to remove
    FileDescriptor parent_;
    FileDescriptor directory_;
    FileDescriptor lock_;
    FileDescriptor tree_;
};

/// How long a folder without a lock may lie there: its program may be about to make one.
inline constexpr std::chrono::days unlockedStagingLife{10};

/// Removes the staging folders beside `installation` that nobody uses: those whose lock nobody holds, and those of the
/// same user that have had no lock for unlockedStagingLife. Failures stay for the next time.
/// \param now against which the age of a folder counts
void removeStaleStaging(const std::filesystem::path& installation, std::chrono::system_clock::time_point now);

} // namespace ovrel
