/// \file instance_lock.h
/// Every window of an installation says that it runs, so that no update pulls the ground from under it. Its other
/// programs, the command line above all, hold no lock: running_programs.h finds them.
#pragma once

#include "updates/installation/lock_file.h"

namespace ovrel {

/// Held from the start of a window's program to its end; close-on-exec.
class InstanceLock {
public:
    /// Waits while an update exchanges the trees, which takes a moment. Throws std::system_error.
    explicit InstanceLock(const InstallationPlace& place) : file_(place) {
        file_.waitShared(LockFile::Part::instances);
    }

    /// \return whether no other window of the installation is open; none can open then until share() is called. See
    ///         othersRun() for what holds no lock
    bool tryAlone() { return file_.tryExclusive(LockFile::Part::instances); }
    void share() { static_cast<void>(file_.tryShared(LockFile::Part::instances)); }

private:
    LockFile file_;
};

} // namespace ovrel
