/// \file spu_user_driver.h
/// Through which the updater talks to the user.
#pragma once

#include "updates/framework/one_shot.h"
#include "updates/framework/spu_user_update.h"
#include "updates/framework/su_appcast_item.h"
#include "updates/framework/update_error.h"

#include <QByteArray>

#include <cstdint>

namespace ovrel {

/// Called on the main thread, outside of any reply. Replies may be given on any thread and take effect in a later turn
/// of the main loop. A session waits for the reply that it asked for; one that is dropped without an answer dismisses.
class SPUUserDriver {
public:
    using ChoiceReply = OneShot<SPUUserUpdateChoice>;
    using Acknowledgement = OneShot<>;
    using Cancellation = OneShot<>;
    using PermissionReply = OneShot<SUUpdatePermissionResponse>;

    virtual ~SPUUserDriver() = default;

    /// Before the first check of a program that has not said whether the updater may check by itself.
    virtual void showUpdatePermissionRequest(PermissionReply reply) = 0;

    /// A check that the user asked for begins. Comes before anything is asked of the network.
    /// \param cancellation ends the session, without effect once the feed has been read
    virtual void showUserInitiatedUpdateCheckWithCancellation(Cancellation cancellation) = 0;

    /// The feed has something newer, or an update waits from earlier.
    /// \param reply install goes on: to the download, or straight to the installation when the stage is `installing`;
    ///        dismiss ends the session; skip ends it and background checks no longer offer this version. An item that
    ///        is information only cannot be installed: install counts as dismiss.
    virtual void showUpdateFoundWithAppcastItem(const SUAppcastItem& item, SPUUserUpdateState state,
                                                ChoiceReply reply) = 0;

    /// Notes that lie outside of the feed have come. At any time between the offer and the end of the session.
    virtual void showUpdateReleaseNotesWithDownloadData(const QByteArray& notes) = 0;
    /// They have not. Nothing else follows from that.
    virtual void showUpdateReleaseNotesFailedToDownloadWithError(const UpdateError& error) = 0;

    /// The check has found nothing; `error` says why. Only where the user asked.
    /// \param acknowledgement ends the session
    virtual void showUpdateNotFoundWithError(const UpdateError& error, Acknowledgement acknowledgement) = 0;

    /// The session has failed, after something was shown or after the user asked for it.
    /// \param acknowledgement ends the session
    virtual void showUpdaterError(const UpdateError& error, Acknowledgement acknowledgement) = 0;

    /// After the choice to install.
    /// \param cancellation ends the session, without effect once the archive is complete
    virtual void showDownloadInitiatedWithCancellation(Cancellation cancellation) = 0;
    /// May never come, or more than once.
    /// \param bytes of the archive
    virtual void showDownloadDidReceiveExpectedContentLength(std::uint64_t bytes) = 0;
    /// \param bytes since the last time
    virtual void showDownloadDidReceiveDataOfLength(std::uint64_t bytes) = 0;

    /// The archive is complete; it is now verified, and unpacked if that succeeds.
    virtual void showDownloadDidStartExtractingUpdate() = 0;
    /// \param progress 0 … 1; may begin again from 0
    virtual void showExtractionReceivedProgress(double progress) = 0;

    /// Verified and unpacked. Only the end of the program is missing.
    /// \param reply install asks the program to end and starts the new one; dismiss ends the session and installs when
    ///        the program ends by itself, without starting it; skip ends the session and throws the update away
    virtual void showReadyToInstallAndRelaunch(ChoiceReply reply) = 0;

    /// The program has been asked to end. As a rule the last call of this process.
    /// \param applicationTerminated whether it has ended already, where the updater outlives it
    /// \param retryTerminatingApplication asks it again
    virtual void showInstallingUpdateWithApplicationTerminated(bool applicationTerminated,
                                                               OneShot<> retryTerminatingApplication) = 0;

    /// Where the updater outlives the program.
    /// \param acknowledgement ends the session
    virtual void showUpdateInstalledAndRelaunched(bool relaunched, Acknowledgement acknowledgement) = 0;

    /// The user asked for a check while an update is shown already.
    virtual void showUpdateInFocus() = 0;

    /// Nothing of the session is to be seen from now on. Once in every session that showed something or was allowed
    /// to, before the delegate hears of the end; also when nothing is visible.
    virtual void dismissUpdateInstallation() = 0;
};

} // namespace ovrel
