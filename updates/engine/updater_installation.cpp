// From the user's choice of a release to the end of the program that it replaces.

#include "remote/linked_stop.h"
#include "updates/engine/cancellation.h"
#include "updates/engine/installation_error.h"
#include "updates/engine/updater.h"
#include "updates/engine/updater_texts.h"
#include "updates/engine/worker.h"

#include <QPointer>

#include <functional>
#include <memory>
#include <utility>

namespace ovrel {

namespace {

/// \throws UpdateError
QCoro::Task<std::shared_ptr<Preparation>> begun(UpdaterEnvironment environment, AppcastItem item) {
    // Named, because GCC 12 destroys a lambda, or an aggregate in braces, twice where it is made within co_await.
    const auto preparation = std::make_shared<std::shared_ptr<Preparation>>();
    const std::function<void()> begin = [environment = std::move(environment), item = std::move(item), preparation] {
        *preparation = std::make_shared<Preparation>(environment, item);
    };
    const std::optional<UpdateError> obstacle = co_await inWorker(begin);
    if (obstacle) {
        throw *obstacle;
    }
    co_return std::move(*preparation);
}

} // namespace

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
        preparation = co_await begun(environment_, item);
        requireAlive(gone);
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

} // namespace ovrel
