/// \file lock_file.h
/// The lock file beside an installation. Who holds it dies with the last copy of the descriptor, so nothing goes stale.
#pragma once

#include "platform/linux/file_descriptor.h"
#include "updates/installation/installation_place.h"

#include <optional>

namespace ovrel {

/// An open lock file. Its locks are those of the open file: a child process that inherits the descriptor shares them,
/// and another opening of the file, in the same process too, competes with them.
class LockFile {
public:
    enum class Part : int {
        update = 0,    ///< held exclusively by an update at work
        instances = 1, ///< shared by the open windows of the installation
    };

    /// Creates the file, mode 0600, where it is missing. Throws std::system_error; also when it is another user's.
    explicit LockFile(const InstallationPlace& place);
    explicit LockFile(FileDescriptor file) : file_(std::move(file)) {}

    int descriptor() const { return file_.get(); }

    /// \return false when another holds a lock that is in the way. Changes a lock of this one in one step.
    bool tryExclusive(Part part);
    bool tryShared(Part part);

    /// As above, but wait until nobody is in the way. Throw std::system_error.
    void waitExclusive(Part part);
    void waitShared(Part part);

    void unlock(Part part);

private:
    FileDescriptor file_;
};

/// The right to update an installation; there is one at a time. Ends with the object and all copies of its descriptor.
class UpdateLock {
public:
    /// \return nothing when another update is at work. Throws as LockFile does
    static std::optional<UpdateLock> tryAcquire(const InstallationPlace& place);

    /// As tryAcquire(), but gives those who hold it for a moment one second to end.
    static std::optional<UpdateLock> acquireSoon(const InstallationPlace& place);

    /// For another process to inherit; close-on-exec.
    int descriptor() const { return file_.descriptor(); }

private:
    explicit UpdateLock(LockFile file) : file_(std::move(file)) {}
    LockFile file_;
};

} // namespace ovrel
