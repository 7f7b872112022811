/// \file instance_lock.h
/// Every running program of an installation says that it runs, so that no update pulls the ground from under it.
#pragma once

#include "updates/installation/lock_file.h"

namespace ovrel {

/// Held from the start of a program to its end; close-on-exec.
class InstanceLock {
public:
    /// Waits while an update exchanges the trees, which takes a moment. Throws std::system_error.
    explicit InstanceLock(const InstallationPlace& place) : file_(place) {
        file_.waitShared(LockFile::Part::instances);
    }

    /// \return whether no other program of the installation runs; none can start then until share() is called
    bool tryAlone() { return file_.tryExclusive(LockFile::Part::instances); }
    void share() { static_cast<void>(file_.tryShared(LockFile::Part::instances)); }

private:
    LockFile file_;
};

} // namespace ovrel
