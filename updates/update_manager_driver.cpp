// What the user sees of the updater.

#include "updates/update_manager.h"
#include "updates/update_offer.h"
#include "updates/update_texts.h"

#include <QtGlobal>

#include <algorithm>
#include <limits>
#include <utility>

namespace ovrel {

void UpdateManager::showUpdatePermissionRequest(PermissionReply reply) {
    reply(SUUpdatePermissionResponse{false, false});
}

void UpdateManager::showUserInitiatedUpdateCheckWithCancellation(Cancellation cancellation) {
    show(text(update_texts::checking), {}, true, {Action(text(update_texts::cancel), std::move(cancellation))});
}

void UpdateManager::showUpdateFoundWithAppcastItem(const SUAppcastItem& item, SPUUserUpdateState state,
                                                   ChoiceReply reply) {
    if (processing_) {
        defer([this, item, state, reply] { offer(item, state, reply); });
    } else {
        offer(item, state, reply);
    }
}

void UpdateManager::showUpdateReleaseNotesWithDownloadData(const QByteArray&) {}

void UpdateManager::showUpdateReleaseNotesFailedToDownloadWithError(const UpdateError&) {}

void UpdateManager::showUpdateNotFoundWithError(const UpdateError&, Acknowledgement acknowledgement) {
    setChecking(false);
    notice(text(update_texts::upToDate), text(update_texts::upToDateDetail), std::move(acknowledgement));
}

void UpdateManager::showUpdaterError(const UpdateError& error, Acknowledgement acknowledgement) {
    endInstallation();
    notice(text(update_texts::updateFailed),
           text(update_texts::updateFailedDetail) + QStringLiteral("\n\n") +
               error.localizedDescription(services_.language()),
           std::move(acknowledgement));
}

void UpdateManager::showDownloadInitiatedWithCancellation(Cancellation cancellation) {
    expected_ = 0;
    received_ = 0;
    show(text(update_texts::downloading), {}, true, {Action(text(update_texts::cancel), std::move(cancellation))});
}

void UpdateManager::showDownloadDidReceiveExpectedContentLength(std::uint64_t bytes) {
    expected_ = bytes;
}

void UpdateManager::showDownloadDidReceiveDataOfLength(std::uint64_t bytes) {
    if (bytes > std::numeric_limits<std::uint64_t>::max() - received_) {
        qFatal("a download has more bytes than 64 bits can count");
    }
    received_ += bytes;
    if (expected_ != 0) {
        setProgress(std::min(static_cast<double>(received_) / static_cast<double>(expected_), 1.0));
    }
}

void UpdateManager::showDownloadDidStartExtractingUpdate() {
    show(text(update_texts::preparing), {}, true, {});
}

void UpdateManager::showExtractionReceivedProgress(double progress) {
    setProgress(progress);
}

void UpdateManager::showReadyToInstallAndRelaunch(ChoiceReply reply) {
    if (!authorized_) {
        // Dismissed, it would be installed all the same when the program ends.
        reply(SPUUserUpdateChoice::skip);
    } else if (processing_) {
        defer([reply] { reply(SPUUserUpdateChoice::install); });
    } else {
        reply(SPUUserUpdateChoice::install);
    }
}

void UpdateManager::showInstallingUpdateWithApplicationTerminated(bool, OneShot<>) {
    show(text(update_texts::installing), text(update_texts::installingDetail), true, {});
}

void UpdateManager::showUpdateInstalledAndRelaunched(bool, Acknowledgement acknowledgement) {
    acknowledgement();
}

void UpdateManager::showUpdateInFocus() {
    bringPanelForward();
}

void UpdateManager::dismissUpdateInstallation() {
    endInstallation();
    hidePanel();
}

void UpdateManager::offer(const SUAppcastItem& item, SPUUserUpdateState state, const ChoiceReply& reply) {
    if (!canBeOffered(item)) {
        reply(SPUUserUpdateChoice::dismiss);
        notice(text(update_texts::unavailable), {}, [] {});
        return;
    }
    const AppLanguage language = services_.language();
    show(offerHeading(item, language), offerDetail(item, language), false,
         {Action(text(update_texts::install), [this, item, state, reply] { install(item, state, reply); }),
          Action(text(update_texts::later), [reply] { reply(SPUUserUpdateChoice::dismiss); }),
          Action(text(update_texts::skipThisVersion), [reply] { reply(SPUUserUpdateChoice::skip); })});
}

void UpdateManager::install(const SUAppcastItem& item, SPUUserUpdateState state, const ChoiceReply& reply) {
    if (!processing_) {
        authorized_ = true;
        setInstalling(true);
        reply(SPUUserUpdateChoice::install);
        return;
    }
    // Offered again afterwards, so that nothing restarts the program unasked after a long run.
    defer([this, item, state, reply] { showUpdateFoundWithAppcastItem(item, state, reply); });
    show(text(update_texts::waiting), {}, true, {Action(text(update_texts::later), [this, reply] {
             dropPending();
             reply(SPUUserUpdateChoice::dismiss);
         })});
}

void UpdateManager::endInstallation() {
    setChecking(false);
    setInstalling(false);
    authorized_ = false;
    dropPending();
}

} // namespace ovrel
