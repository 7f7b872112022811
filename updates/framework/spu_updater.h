/// \file spu_updater.h
/// The updater: it looks for updates, and downloads, verifies and installs them.
#pragma once

#include "updates/framework/spu_updater_delegate.h"
#include "updates/framework/spu_user_driver.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace ovrel {

/// Main thread. One session at a time; everything it does is told to its driver and its delegate.
class SPUUpdater {
public:
    virtual ~SPUUpdater() = default;

    /// Examines how the program is built. Shows nothing and asks nothing of the network. Again without effect.
    /// \return nothing on success
    virtual std::optional<UpdateError> startUpdater() = 0;

    /// Something is under way, visible or not.
    virtual bool sessionInProgress() const = 0;
    /// Whether `checkForUpdates` would do something.
    virtual bool canCheckForUpdates() const = 0;

    /// As the user asks for it. While an update is shown, that is brought into focus; while a check runs, nothing
    /// happens.
    virtual void checkForUpdates() = 0;
    /// Shows nothing unless there is an update. Nothing happens during a session.
    virtual void checkForUpdatesInBackground() = 0;

    virtual void setAutomaticallyChecksForUpdates(bool automatic) = 0;
    virtual void setAutomaticallyDownloadsUpdates(bool automatic) = 0;
    virtual void setSendsSystemProfile(bool sends) = 0;
    /// What the servers are told; holds from the next request on.
    virtual void setUserAgentString(const QString& userAgent) = 0;
};

/// Makes the updater of the running program. Driver and delegate must outlive it.
/// \return null where there is none
using UpdaterFactory = std::function<std::unique_ptr<SPUUpdater>(SPUUserDriver& driver, SPUUpdaterDelegate& delegate)>;

/// The factory of the system that this build is for.
std::unique_ptr<SPUUpdater> makeUpdater(SPUUserDriver& driver, SPUUpdaterDelegate& delegate);

} // namespace ovrel
