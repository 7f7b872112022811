/// \file preparation.h
/// The way of one update from its first byte to an installer that waits for the end of the program.
#pragma once

#include "updates/engine/appcast.h"
#include "updates/engine/archive.h"
#include "updates/engine/sealed_archive.h"
#include "updates/engine/signature.h"
#include "updates/engine/staging.h"
#include "updates/engine/updater_environment.h"
#include "updates/installation/launch_installer.h"
#include "updates/installation/lock_file.h"

#include <QByteArrayView>

#include <functional>
#include <optional>
#include <stop_token>

namespace ovrel {

/// An update that waits for the end of the program, and then is installed. One thread at a time.
class PendingInstallation {
public:
    PendingInstallation(InstallationPlace place, WaitingInstaller installer, Staging staging)
        : place_(std::move(place)), installer_(std::move(installer)), staging_(std::move(staging)) {}
    ~PendingInstallation();
    PendingInstallation(PendingInstallation&&) noexcept = default;
    PendingInstallation& operator=(PendingInstallation&&) = delete;

    /// Whether there is an installer to wait for.
    bool isWaiting() const { return installer_.isWaiting(); }

    /// Whether another program runs from the installation, whose end the installer would wait for, unseen.
    bool othersRun() const;

    /// The program is started again afterwards.
    /// \return false when nobody waits any more; nothing will be installed
    bool relaunch() { return installer_.relaunch(); }

    /// Gives the update up and removes what was unpacked.
    void cancel();

private:
    InstallationPlace place_;
    WaitingInstaller installer_;
    std::optional<Staging> staging_; ///< the installer's, as long as there is one
};

/// The steps in their order: receive the archive, verify, unpack, check, launch the installer. What was unpacked is
/// removed at the end, unless an installer got it. One thread at a time; all but `receive` take their time. Nothing is
/// written to the disk before the archive has been verified.
class Preparation {
public:
    /// Ends what an earlier update has left.
    /// \param environment a portable installation
    /// \throws UpdateError
    Preparation(const UpdaterEnvironment& environment, AppcastItem item);

    /// \throws UpdateError download
    void receive(QByteArrayView part);

    /// \throws UpdateError installation over signature
    void verify();

    /// \param progress 0 … 1, called on this thread
    /// \throws UpdateError
    void unpack(const std::function<void(double)>& progress, const std::stop_token& stop);

    /// Whether the archive is what the feed said, and newer than all that was ever installed.
    /// \throws UpdateError installation over validation or downgrade
    void check() const;

    /// \throws UpdateError installation
    PendingInstallation launch() &&;

private:
    UpdaterEnvironment environment_;
    AppcastItem item_;
    InstallationPlace place_;
    UpdateLock lock_; ///< one update of an installation at a time
    std::optional<ArchiveBuffer> received_;
    std::optional<VerifiedArchive> archive_;
    std::optional<Staging> staging_;
    std::optional<UnpackedTree> tree_;
};

} // namespace ovrel
