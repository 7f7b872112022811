#include "updates/engine/updater.h"

#include "remote/linked_stop.h"
#include "updates/engine/appcast.h"
#include "updates/engine/cancellation.h"
#include "updates/engine/updater_texts.h"

#include <utility>
#include <variant>
#include <vector>

namespace ovrel {

namespace {

void log(const UpdateError& error) {
    for (const UpdateError* cause = &error; cause != nullptr; cause = cause->underlying()) {
        qWarning("Updates: %s (%d)", qPrintable(cause->localizedDescription(AppLanguage::english)), cause->code());
    }
}

/// What cannot be remembered is asked or offered again; that is no reason to stop.
void note(bool remembered) {
    if (!remembered) {
        qWarning("Updates: the state of the updater could not be written.");
    }
}

std::vector<SUAppcastItem> frameworkItems(const Appcast& appcast) {
    std::vector<SUAppcastItem> items;
    items.reserve(appcast.size());
    for (const AppcastItem& item : appcast) {
        items.push_back(item.item);
    }
    return items;
}

} // namespace

Updater::Updater(UpdaterEnvironment environment, SPUUserDriver& driver, SPUUpdaterDelegate& delegate)
    : environment_(std::move(environment)), driver_(driver), delegate_(delegate) {}

Updater::~Updater() {
    gone_.request_stop();
}

std::optional<UpdateError> Updater::startUpdater() {
    if (started_) {
        return std::nullopt;
    }
    if (!isManaged()) { // a check says there who updates it, which is more than that this build cannot
        if (std::optional<UpdateError> error = misconfiguration()) {
            log(*error);
            return error;
        }
    }
    started_ = true;
    canCheck_ = true;
    QMetaObject::invokeMethod(
        this, [this] { delegate_.updaterWillNotScheduleUpdateCheck(); }, Qt::QueuedConnection);
    return std::nullopt;
}

std::optional<UpdateError> Updater::misconfiguration() const {
    try {
        environment_.publicKey();
    } catch (const UpdateError& error) {
        return error;
    }
    return std::nullopt;
}

void Updater::checkForUpdates() {
    if (!started_) {
        return;
    }
    if (!sessionInProgress_) {
        session(SPUUpdateCheck::updates);
    } else if (isOffering_) {
        driver_.showUpdateInFocus();
    }
}

void Updater::checkForUpdatesInBackground() {
    if (started_ && !sessionInProgress_) {
        session(SPUUpdateCheck::updatesInBackground);
    }
}

QCoro::Task<void> Updater::session(SPUUpdateCheck check) {
    const std::stop_token gone = gone_.get_token();
    sessionInProgress_ = true;
    canCheck_ = false;
    try {
        std::optional<End> end;
        try {
            end = co_await checked(check);
        } catch (const std::exception& error) {
            qWarning("Updates: %s", error.what());
        }
        requireAlive(gone);
        if (!end) {
            end = co_await failed(check, unexpectedError());
        }
        finish(check, *end);
    } catch (const Gone&) {
        // With the updater everybody is gone who would want to know.
    }
}

void Updater::finish(SPUUpdateCheck check, const End& end) {
    const std::stop_token gone = gone_.get_token();
    isOffering_ = false;
    if (end.shown) {
        driver_.dismissUpdateInstallation();
    }
    requireAlive(gone);
    sessionInProgress_ = false;
    canCheck_ = true;
    if (end.error) {
        delegate_.didAbortWithError(*end.error);
        requireAlive(gone);
    }
    delegate_.didFinishUpdateCycleForUpdateCheck(check, end.error);
    requireAlive(gone);
    if (!sessionInProgress_) { // the delegate may have begun another one
        delegate_.updaterWillNotScheduleUpdateCheck();
    }
}

QCoro::Task<Updater::End> Updater::failed(SPUUpdateCheck check, UpdateError error) {
    log(error);
    if (check == SPUUpdateCheck::updates || isOffering_) {
        Answer<bool> acknowledged(true, gone_.get_token());
        driver_.showUpdaterError(error, acknowledged.acknowledgement());
        co_await acknowledged;
        co_return End{error, true};
    }
    co_return End{error, false};
}

QCoro::Task<Updater::End> Updater::checked(SPUUpdateCheck check) {
    const std::stop_token gone = gone_.get_token();
    const bool asked = check == SPUUpdateCheck::updates;
    std::optional<UpdateError> refusal;
    const bool mayCheck = delegate_.mayPerformUpdateCheck(check, refusal);
    requireAlive(gone);
    if (!mayCheck) {
        if (!refusal) {
            co_return End{std::nullopt, asked};
        }
        co_return co_await failed(check, *refusal);
    }
    if (isManaged()) {
        qWarning("Updates: %s.", environment_.installation.reason.c_str());
        const QString owner = QString::fromStdString(environment_.installation.managedBy);
        co_return co_await failed(check, managedInstallationError(owner));
    }
    const std::optional<QString> feed = delegate_.feedURLStringForUpdater();
    requireAlive(gone);
    if (!feed || feed->isEmpty()) {
        co_return co_await failed(check, noFeedError());
    }
    const QUrl address(*feed, QUrl::StrictMode);
    if (address.scheme() != QLatin1StringView("https")) {
        co_return co_await failed(check, insecureFeedError());
    }
    if (asked) {
        note(environment_.state.forgetSkipped());
    }
    if (waiting_ && !waiting_->installation.isWaiting()) {
        throwAway();
    }
    if (waiting_) {
        const AppcastItem item = waiting_->item;
        delegate_.didFindValidUpdate(item.item);
        requireAlive(gone);
        co_return co_await offered(check, item, SPUUserUpdateStage::installing);
    }
    co_return co_await searched(check, address);
}

QCoro::Task<Updater::End> Updater::searched(SPUUpdateCheck check, QUrl address) {
    const std::stop_token gone = gone_.get_token();
    const bool asked = check == SPUUpdateCheck::updates;
    const LinkedStop search(gone);
    if (asked) {
        canCheck_ = true;
        driver_.showUserInitiatedUpdateCheckWithCancellation(cancellationOf(search));
        requireAlive(gone);
    }
    if (environment_.installation.kind == InstallationKind::notWritable) { // the user sees that a check has begun
        qWarning("Updates: %s.", environment_.installation.reason.c_str());
        co_return co_await failed(check, unwritableInstallationError());
    }

    ItemChoice choice = SPUNoUpdateFoundReason::unknown;
    std::optional<UpdateError> failure;
    try {
        const Feed feed = co_await downloadFeed(std::move(address), downloadOptions(), search.token());
        requireAlive(gone);
        const Appcast appcast = readAppcast(feed.bytes, feed.address, {environment_.version, environment_.language()});
        delegate_.didFinishLoadingAppcast(frameworkItems(appcast));
        requireAlive(gone);
        choice = chooseItem(appcast, conditions(check));
    } catch (const UpdateError& error) {
        failure = error;
    }
    requireAlive(gone);
    if (failure && search.isRequested()) {
        co_return End{std::nullopt, asked};
    }
    if (failure) {
        co_return co_await failed(check, *failure);
    }
    if (const auto* reason = std::get_if<SPUNoUpdateFoundReason>(&choice)) {
        co_return co_await notFound(check, noUpdateError(*reason));
    }
    const AppcastItem item = std::get<AppcastItem>(choice);
    std::optional<UpdateError> refusal;
    const bool mayProceed = delegate_.shouldProceedWithUpdate(item.item, check, refusal);
    requireAlive(gone);
    if (!mayProceed) {
        if (!refusal) {
            co_return End{std::nullopt, asked};
        }
        co_return co_await failed(check, *refusal);
    }
    delegate_.didFindValidUpdate(item.item);
    requireAlive(gone);
    co_return co_await offered(check, item, SPUUserUpdateStage::notDownloaded);
}

QCoro::Task<Updater::End> Updater::notFound(SPUUpdateCheck check, UpdateError error) {
    const std::stop_token gone = gone_.get_token();
    delegate_.updaterDidNotFindUpdate(error);
    requireAlive(gone);
    if (check != SPUUpdateCheck::updates) {
        co_return End{error, false};
    }
    Answer<bool> acknowledged(true, gone);
    driver_.showUpdateNotFoundWithError(error, acknowledged.acknowledgement());
    co_await acknowledged;
    co_return End{error, true};
}

QCoro::Task<Updater::End> Updater::offered(SPUUpdateCheck check, AppcastItem item, SPUUserUpdateStage stage) {
    const SPUUserUpdateState state{stage, check == SPUUpdateCheck::updates};
    Answer<SPUUserUpdateChoice> answer(SPUUserUpdateChoice::dismiss, gone_.get_token());
    isOffering_ = true;
    canCheck_ = true;
    driver_.showUpdateFoundWithAppcastItem(item.item, state, answer.reply());
    SPUUserUpdateChoice choice = co_await answer;
    if (item.item.isInformationOnlyUpdate && choice == SPUUserUpdateChoice::install) {
        choice = SPUUserUpdateChoice::dismiss;
    }
    const std::stop_token gone = gone_.get_token();
    delegate_.userDidMakeChoice(choice, item.item, state);
    requireAlive(gone);
    switch (choice) {
    case SPUUserUpdateChoice::dismiss: co_return End{};
    case SPUUserUpdateChoice::skip:
        note(environment_.state.skip(item.item.versionString));
        throwAway();
        co_return End{};
    case SPUUserUpdateChoice::install: break;
    }
    // Not as one expression: GCC 12 would run both coroutines.
    if (stage == SPUUserUpdateStage::installing) {
        co_return co_await installed(check, item.item);
    }
    co_return co_await downloaded(check, std::move(item));
}

bool Updater::isManaged() const {
    const InstallationKind kind = environment_.installation.kind;
    return kind == InstallationKind::managed || kind == InstallationKind::unknown;
}

ItemConditions Updater::conditions(SPUUpdateCheck check) const {
    ItemConditions conditions;
    conditions.hostVersion = environment_.version;
    conditions.machine = environment_.machine;
    conditions.userInitiated = check == SPUUpdateCheck::updates;
    conditions.skippedVersion = environment_.state.skippedVersion();
    conditions.failedVersion = environment_.state.failedVersion();
    conditions.highestVersion = environment_.highestVersion();
    return conditions;
}

DownloadOptions Updater::downloadOptions() const {
    return {userAgent_.toUtf8(), environment_.silence};
}

} // namespace ovrel
