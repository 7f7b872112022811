#include "tests/updates/engine/recorder.h"

#include <algorithm>
#include <utility>

namespace ovrel::test {

namespace {

std::string nameOf(SPUUpdateCheck check) {
    switch (check) {
    case SPUUpdateCheck::updates: return "asked";
    case SPUUpdateCheck::updatesInBackground: return "background";
    case SPUUpdateCheck::updateInformation: break;
    }
    return "information";
}

std::string nameOf(SPUUserUpdateChoice choice) {
    switch (choice) {
    case SPUUserUpdateChoice::skip: return "skip";
    case SPUUserUpdateChoice::install: return "install";
    case SPUUserUpdateChoice::dismiss: break;
    }
    return "dismiss";
}

std::string nameOf(SPUUserUpdateState state) {
    const char* const stages[] = {"notDownloaded", "downloaded", "installing"};
    return std::string(stages[static_cast<int>(state.stage)]) + (state.userInitiated ? " asked" : " background");
}

/// Its number and those of the errors underneath.
std::string nameOf(const UpdateError& error) {
    std::string name = std::to_string(error.code());
    for (const UpdateError* cause = error.underlying(); cause != nullptr; cause = cause->underlying()) {
        name += "/" + std::to_string(cause->code());
    }
    return name;
}

std::string nameOf(const std::optional<UpdateError>& error) {
    return error ? nameOf(*error) : "none";
}

std::string versionOf(const SUAppcastItem& item) {
    return item.versionString.toStdString();
}

} // namespace

std::ptrdiff_t Recorder::count(const std::string& call) const {
    return std::count(calls.begin(), calls.end(), call);
}

void Recorder::record(const std::string& call) {
    calls.push_back(call);
    const auto found = during.find(call);
    if (found != during.end()) {
        const std::function<void()> function = found->second;
        function();
    }
}

void Recorder::recordOnce(const std::string& call) {
    if (calls.empty() || calls.back() != call) {
        record(call);
    }
}

void Recorder::acknowledge(Acknowledgement given) {
    acknowledgement = std::move(given);
    if (acknowledges) {
        (*acknowledgement)();
    }
}

void Recorder::showUpdatePermissionRequest(PermissionReply reply) {
    record("U.showUpdatePermissionRequest");
    reply({});
}

void Recorder::showUserInitiatedUpdateCheckWithCancellation(Cancellation given) {
    cancellation = std::move(given);
    record("U.showUserInitiatedUpdateCheck");
}

void Recorder::showUpdateFoundWithAppcastItem(const SUAppcastItem& item, SPUUserUpdateState state, ChoiceReply reply) {
    shownItem = item;
    shownState = state;
    offer = std::move(reply);
    record("U.showUpdateFound " + versionOf(item) + " " + nameOf(state));
    if (offerAnswer) {
        (*offer)(*offerAnswer);
    }
}

void Recorder::showUpdateReleaseNotesWithDownloadData(const QByteArray&) {
    record("U.showUpdateReleaseNotes");
}

void Recorder::showUpdateReleaseNotesFailedToDownloadWithError(const UpdateError&) {
    record("U.showUpdateReleaseNotesFailedToDownload");
}

void Recorder::showUpdateNotFoundWithError(const UpdateError& error, Acknowledgement given) {
    shownError = error;
    record("U.showUpdateNotFound " +
           std::to_string(static_cast<int>(error.noUpdateFoundReason().value_or(SPUNoUpdateFoundReason::unknown))));
    acknowledge(std::move(given));
}

void Recorder::showUpdaterError(const UpdateError& error, Acknowledgement given) {
    shownError = error;
    record("U.showUpdaterError " + nameOf(error));
    acknowledge(std::move(given));
}

void Recorder::showDownloadInitiatedWithCancellation(Cancellation given) {
    cancellation = std::move(given);
    record("U.showDownloadInitiated");
}

void Recorder::showDownloadDidReceiveExpectedContentLength(std::uint64_t bytes) {
    expectedBytes.push_back(bytes);
    recordOnce("U.showDownloadDidReceiveExpectedContentLength");
}

void Recorder::showDownloadDidReceiveDataOfLength(std::uint64_t bytes) {
    receivedBytes += bytes;
    recordOnce("U.showDownloadDidReceiveData");
}

void Recorder::showDownloadDidStartExtractingUpdate() {
    record("U.showDownloadDidStartExtractingUpdate");
}

void Recorder::showExtractionReceivedProgress(double part) {
    progress.push_back(part);
    recordOnce("U.showExtractionReceivedProgress");
}

void Recorder::showReadyToInstallAndRelaunch(ChoiceReply reply) {
    ready = std::move(reply);
    record("U.showReadyToInstallAndRelaunch");
    if (readyAnswer) {
        (*ready)(*readyAnswer);
    }
}

void Recorder::showInstallingUpdateWithApplicationTerminated(bool terminated, OneShot<> again) {
    retry = std::move(again);
    record(terminated ? "U.showInstallingUpdate terminated" : "U.showInstallingUpdate running");
}

void Recorder::showUpdateInstalledAndRelaunched(bool, Acknowledgement given) {
    record("U.showUpdateInstalledAndRelaunched");
    acknowledge(std::move(given));
}

void Recorder::showUpdateInFocus() {
    record("U.showUpdateInFocus");
}

void Recorder::dismissUpdateInstallation() {
    record("U.dismissUpdateInstallation");
}

std::optional<QString> Recorder::feedURLStringForUpdater() {
    record("D.feedURLString");
    return feed;
}

bool Recorder::mayPerformUpdateCheck(SPUUpdateCheck check, std::optional<UpdateError>& error) {
    record("D.mayPerformUpdateCheck " + nameOf(check));
    error = refusal;
    return mayCheck;
}

void Recorder::didFinishLoadingAppcast(const std::vector<SUAppcastItem>&) {
    record("D.didFinishLoadingAppcast");
}

bool Recorder::shouldProceedWithUpdate(const SUAppcastItem& item, SPUUpdateCheck, std::optional<UpdateError>& error) {
    record("D.shouldProceedWithUpdate " + versionOf(item));
    error = refusal;
    return shouldProceed;
}

void Recorder::didFindValidUpdate(const SUAppcastItem& item) {
    record("D.didFindValidUpdate " + versionOf(item));
}

void Recorder::updaterDidNotFindUpdate(const UpdateError& error) {
    record("D.updaterDidNotFindUpdate " + nameOf(error));
}

void Recorder::userDidMakeChoice(Choice choice, const SUAppcastItem&, SPUUserUpdateState) {
    record("D.userDidMakeChoice " + nameOf(choice));
}

void Recorder::willDownloadUpdate(const SUAppcastItem&) {
    record("D.willDownloadUpdate");
}

void Recorder::didDownloadUpdate(const SUAppcastItem&) {
    record("D.didDownloadUpdate");
}

void Recorder::failedToDownloadUpdate(const SUAppcastItem&, const UpdateError& error) {
    record("D.failedToDownloadUpdate " + nameOf(error));
}

void Recorder::userDidCancelDownload() {
    record("D.userDidCancelDownload");
}

void Recorder::willExtractUpdate(const SUAppcastItem&) {
    record("D.willExtractUpdate");
}

void Recorder::didExtractUpdate(const SUAppcastItem&) {
    record("D.didExtractUpdate");
}

bool Recorder::updaterShouldRelaunchApplication() {
    record("D.updaterShouldRelaunchApplication");
    return shouldRelaunch;
}

bool Recorder::shouldPostponeRelaunchForUpdate(const SUAppcastItem&, OneShot<> block) {
    postponed = std::move(block);
    record("D.shouldPostponeRelaunchForUpdate");
    return postpones;
}

void Recorder::willInstallUpdate(const SUAppcastItem&) {
    record("D.willInstallUpdate");
}

void Recorder::updaterWillRelaunchApplication() {
    record("D.updaterWillRelaunchApplication");
}

void Recorder::didAbortWithError(const UpdateError& error) {
    record("D.didAbortWithError " + nameOf(error));
}

void Recorder::didFinishUpdateCycleForUpdateCheck(SPUUpdateCheck check, const std::optional<UpdateError>& error) {
    record("D.didFinishUpdateCycle " + nameOf(check) + " " + nameOf(error));
}

void Recorder::updaterWillNotScheduleUpdateCheck() {
    record("D.updaterWillNotScheduleUpdateCheck");
}

} // namespace ovrel::test
