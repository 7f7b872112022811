/// \file launch_installer.h
/// Hands a verified update over to the installer program, which outlives this one.
#pragma once

#include "updates/installation/installation_place.h"
#include "updates/installation/installed_layout.h"
#include "updates/installation/installer_order.h"
#include "updates/installation/lock_file.h"

#include <string>
#include <vector>

namespace ovrel {

/// What the installer is to be told.
struct InstallerLaunch {
    std::string staging;                  ///< name of the update's private folder beside the installation; holds `tree`
    std::string top;                      ///< name of the verified tree in the folder `tree`
    std::string version;                  ///< of the new tree, 1 … 64 bytes without a slash
    std::string program = programPath;    ///< in the installation and in the new tree
    std::vector<std::string> environment; ///< for the next start, as currentEnvironment() gave it; at most 8 MiB
    unsigned watchMilliseconds = 10000;   ///< how long the new version is watched, 0 … 600000
};

/// The word given to a waiting installer. Without a word, when this object or this process ends, the update is
/// installed after the program's end and the program is not started again. One thread at a time.
class WaitingInstaller {
public:
    /// Install after the program's end, then start it. May be said again, for example after the user had refused to
    /// quit. \return false when no installer waits any more; nothing will be installed
    bool relaunch() { return say(relaunchWord); }

    /// Give the update up: the installer removes the private folder and ends. Say nothing after it.
    /// \return false when no installer waits any more; the private folder is the caller's to remove then
    bool cancel() { return say(cancelWord); }

    /// Whether an installer still waits for a word.
    bool isWaiting() const;

private:
    friend WaitingInstaller launchInstaller(const InstallationPlace& place, const UpdateLock& lock,
                                            const InstallerLaunch& launch);
    explicit WaitingInstaller(FileDescriptor words) : words_(std::move(words)) {}
    bool say(const char* word);

    FileDescriptor words_;
};

/// Copies the installer from the installation into the update's private folder and starts it. The folders that stand at
/// the installation's name and at the new tree's when this is called are the ones that it will exchange, no others. The
/// installer shares the lock. Returns when the installer has accepted its order, which takes a moment.
///
/// Throws std::system_error: EINVAL when the installer refuses the order, E2BIG for too large an environment, EACCES
/// where programs cannot be executed, otherwise the errno of what failed.
WaitingInstaller launchInstaller(const InstallationPlace& place, const UpdateLock& lock, const InstallerLaunch& launch);

} // namespace ovrel
