/// \file recorder.h
/// A driver and a delegate that write down every call and answer as they are told.
#pragma once

#include "updates/framework/spu_updater_delegate.h"
#include "updates/framework/spu_user_driver.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ovrel::test {

/// "U." begins a call of the driver, "D." one of the delegate. What repeats without a rule (received data, progress) is
/// written down once.
class Recorder final : public SPUUserDriver, public SPUUpdaterDelegate {
public:
    using Choice = SPUUserUpdateChoice;

    std::vector<std::string> calls;

    // What is answered. Where nothing is, the callback is kept and the session waits.
    std::optional<Choice> offerAnswer;
    std::optional<Choice> readyAnswer;
    bool acknowledges = true;
    std::optional<QString> feed;
    bool mayCheck = true;
    std::optional<UpdateError> refusal; ///< of a check or of an item
    bool shouldProceed = true;
    bool shouldRelaunch = true;
    bool postpones = false;

    /// Run within the call of that name, after it has been written down.
    std::map<std::string, std::function<void()>> during;

    // The callbacks of the calls that were last.
    std::optional<Cancellation> cancellation;
    std::optional<ChoiceReply> offer;
    std::optional<ChoiceReply> ready;
    std::optional<Acknowledgement> acknowledgement;
    std::optional<OneShot<>> postponed;
    std::optional<OneShot<>> retry;

    std::optional<UpdateError> shownError;
    std::optional<SUAppcastItem> shownItem;
    std::optional<SPUUserUpdateState> shownState;
    std::vector<std::uint64_t> expectedBytes;
    std::uint64_t receivedBytes = 0;
    std::vector<double> progress;

    /// How often a call was written down.
    std::ptrdiff_t count(const std::string& call) const;

    void showUpdatePermissionRequest(PermissionReply reply) override;
    void showUserInitiatedUpdateCheckWithCancellation(Cancellation given) override;
    void showUpdateFoundWithAppcastItem(const SUAppcastItem& item, SPUUserUpdateState state,
                                        ChoiceReply reply) override;
    void showUpdateReleaseNotesWithDownloadData(const QByteArray& notes) override;
    void showUpdateReleaseNotesFailedToDownloadWithError(const UpdateError& error) override;
    void showUpdateNotFoundWithError(const UpdateError& error, Acknowledgement given) override;
    void showUpdaterError(const UpdateError& error, Acknowledgement given) override;
    void showDownloadInitiatedWithCancellation(Cancellation given) override;
    void showDownloadDidReceiveExpectedContentLength(std::uint64_t bytes) override;
    void showDownloadDidReceiveDataOfLength(std::uint64_t bytes) override;
    void showDownloadDidStartExtractingUpdate() override;
    void showExtractionReceivedProgress(double part) override;
    void showReadyToInstallAndRelaunch(ChoiceReply reply) override;
    void showInstallingUpdateWithApplicationTerminated(bool terminated, OneShot<> again) override;
    void showUpdateInstalledAndRelaunched(bool relaunched, Acknowledgement given) override;
    void showUpdateInFocus() override;
    void dismissUpdateInstallation() override;

    std::optional<QString> feedURLStringForUpdater() override;
    bool mayPerformUpdateCheck(SPUUpdateCheck check, std::optional<UpdateError>& error) override;
    void didFinishLoadingAppcast(const std::vector<SUAppcastItem>& items) override;
    bool shouldProceedWithUpdate(const SUAppcastItem& item, SPUUpdateCheck check,
                                 std::optional<UpdateError>& error) override;
    void didFindValidUpdate(const SUAppcastItem& item) override;
    void updaterDidNotFindUpdate(const UpdateError& error) override;
    void userDidMakeChoice(Choice choice, const SUAppcastItem& item, SPUUserUpdateState state) override;
    void willDownloadUpdate(const SUAppcastItem& item) override;
    void didDownloadUpdate(const SUAppcastItem& item) override;
    void failedToDownloadUpdate(const SUAppcastItem& item, const UpdateError& error) override;
    void userDidCancelDownload() override;
    void willExtractUpdate(const SUAppcastItem& item) override;
    void didExtractUpdate(const SUAppcastItem& item) override;
    bool updaterShouldRelaunchApplication() override;
    bool shouldPostponeRelaunchForUpdate(const SUAppcastItem& item, OneShot<> block) override;
    void willInstallUpdate(const SUAppcastItem& item) override;
    void updaterWillRelaunchApplication() override;
    void didAbortWithError(const UpdateError& error) override;
    void didFinishUpdateCycleForUpdateCheck(SPUUpdateCheck check, const std::optional<UpdateError>& error) override;
    void updaterWillNotScheduleUpdateCheck() override;

private:
    void record(const std::string& call);
    void recordOnce(const std::string& call);
    void acknowledge(Acknowledgement given);
};

} // namespace ovrel::test
