#include "updates/engine/updater.h"

#include "remote/linked_stop.h"
#include "updates/engine/appcast.h"
#include "updates/engine/cancellation.h"
#include "updates/engine/installation_error.h"
#include "updates/engine/updater_texts.h"
#include "updates/engine/worker.h"

#include <QPointer>

#include <functional>
#include <memory>
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

void requireAlive(const std::stop_token& gone) {
    if (gone.stop_requested()) {
        throw Gone();
    }
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

QCoro::Task<Updater::End> Updater::downloaded(SPUUpdateCheck check, AppcastItem item) {
    const std::stop_token gone = gone_.get_token();
    delegate_.willDownloadUpdate(item.item);
    requireAlive(gone);

    const LinkedStop download(gone);
    driver_.showDownloadInitiatedWithCancellation(cancellationOf(download));
    requireAlive(gone);
    std::shared_ptr<Preparation> preparation;
    std::optional<UpdateError> failure;
    try {
        // Named, because GCC 12 destroys a lambda, or an aggregate in braces, twice where it is made within co_await.
        const auto begun = std::make_shared<std::shared_ptr<Preparation>>();
        const std::function<void()> begin = [environment = environment_, item, begun] {
            *begun = std::make_shared<Preparation>(environment, item);
        };
        const std::optional<UpdateError> obstacle = co_await inWorker(begin);
        requireAlive(gone);
        if (obstacle) {
            throw *obstacle;
        }
        preparation = std::move(*begun);
        ArchiveSink sink;
        sink.expected = [this](std::uint64_t bytes) { driver_.showDownloadDidReceiveExpectedContentLength(bytes); };
        sink.receive = [this, gone, preparation](QByteArrayView part) {
            requireAlive(gone); // what has come already is handed over before the download hears of the stop
            preparation->receive(part);
            driver_.showDownloadDidReceiveDataOfLength(static_cast<std::uint64_t>(part.size()));
        };
        co_await downloadArchive(*item.item.fileURL, item.item.contentLength, std::move(sink), downloadOptions(),
                                 download.token());
    } catch (const UpdateError& error) {
        failure = error;
    }
    requireAlive(gone);
    if (failure) {
        preparation.reset(); // it holds memory and the lock, and the user may take long to read what has failed
    }
    if (download.isRequested()) {
        delegate_.userDidCancelDownload();
        requireAlive(gone);
        co_return End{};
    }
    if (failure) {
        delegate_.failedToDownloadUpdate(item.item, *failure);
        requireAlive(gone);
        co_return co_await failed(check, *failure);
    }
    delegate_.didDownloadUpdate(item.item);
    requireAlive(gone);
    co_return co_await prepared(check, std::move(item), std::move(preparation));
}

QCoro::Task<Updater::End> Updater::prepared(SPUUpdateCheck check, AppcastItem item,
                                            std::shared_ptr<Preparation> preparation) {
    const std::stop_token gone = gone_.get_token();
    delegate_.willExtractUpdate(item.item);
    requireAlive(gone);
    driver_.showDownloadDidStartExtractingUpdate();
    requireAlive(gone);
    delegate_.didExtractUpdate(item.item);
    requireAlive(gone);

    const auto report = [self = QPointer(this)](double progress) {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, progress] {
                if (self) {
                    self->driver_.showExtractionReceivedProgress(progress);
                }
            },
            Qt::QueuedConnection);
    };
    const auto installation = std::make_shared<std::optional<PendingInstallation>>();
    const auto held = std::make_shared<std::shared_ptr<Preparation>>(std::move(preparation));
    // Named, because GCC 12 destroys a lambda, or an aggregate in braces, twice where it is made within co_await.
    const std::function<void()> work = [held, report, gone, installation] {
        // It ends here, whatever comes of it: a tree takes its time to go, and the next update waits for the lock.
        const std::shared_ptr<Preparation> prepares = std::move(*held);
        prepares->verify();
        prepares->unpack(report, gone);
        prepares->check();
        if (!gone.stop_requested()) {
            installation->emplace(std::move(*prepares).launch());
        }
    };
    const std::optional<UpdateError> failure = co_await inWorker(work);
    requireAlive(gone);
    if (failure) {
        co_return co_await failed(check, *failure);
    }
    waiting_.emplace(Waiting{item, std::move(**installation)});

    Answer<SPUUserUpdateChoice> answer(SPUUserUpdateChoice::dismiss, gone);
    driver_.showReadyToInstallAndRelaunch(answer.reply());
    const SPUUserUpdateChoice choice = co_await answer;
    switch (choice) {
    case SPUUserUpdateChoice::dismiss: co_return End{};
    case SPUUserUpdateChoice::skip: throwAway(); co_return End{};
    case SPUUserUpdateChoice::install: break;
    }
    co_return co_await installed(check, std::move(item.item));
}

QCoro::Task<Updater::End> Updater::installed(SPUUpdateCheck check, SUAppcastItem item) {
    const std::stop_token gone = gone_.get_token();
    const bool mayRelaunch = delegate_.updaterShouldRelaunchApplication();
    requireAlive(gone);
    if (!mayRelaunch) {
        co_return End{}; // it is installed when the program ends
    }
    Answer<bool> goOn(false, gone);
    const bool postponed =
        delegate_.shouldPostponeRelaunchForUpdate(item, OneShot<>([reply = goOn.reply()] { reply(true); }));
    requireAlive(gone);
    if (postponed) {
        const bool going = co_await goOn;
        const bool mayStillRelaunch = going && delegate_.updaterShouldRelaunchApplication();
        requireAlive(gone);
        if (!mayStillRelaunch) {
            co_return End{};
        }
    }
    if (waiting_->installation.othersRun()) { // it waits on, and is offered again
        co_return co_await failed(check, othersRunError());
    }
    delegate_.willInstallUpdate(item);
    requireAlive(gone);
    delegate_.updaterWillRelaunchApplication();
    requireAlive(gone);
    if (!waiting_->installation.relaunch()) {
        waiting_.reset();
        co_return co_await failed(check, installationError(installerGoneError()));
    }
    driver_.showInstallingUpdateWithApplicationTerminated(
        false, OneShot<>([self = QPointer(this)] {
            QMetaObject::invokeMethod(
                QCoreApplication::instance(),
                [self] {
                    if (self && self->delegate_.updaterShouldRelaunchApplication() && self) {
                        self->environment_.quit();
                    }
                },
                Qt::QueuedConnection);
        }));
    requireAlive(gone);
    environment_.quit();
    // The session lasts as long as the program.
    Answer<bool> end(false, gone);
    co_await end;
    co_return End{};
}

void Updater::throwAway() {
    if (waiting_) {
        waiting_->installation.cancel();
        waiting_.reset();
    }
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
