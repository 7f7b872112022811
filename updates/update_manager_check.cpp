// When the manager looks for updates.

#include "remote/publisher.h"
#include "updates/update_manager.h"
#include "updates/update_texts.h"

#include <QMetaObject>
#include <QPointer>

#include <utility>

namespace ovrel {

QCoro::Task<void> UpdateManager::launch() {
    if (!std::exchange(launched_, true)) {
        co_await check(false);
    }
}

QCoro::Task<void> UpdateManager::check(bool manual) {
    if (checking_ || installing_) {
        bringPanelForward();
        co_return;
    }
    if (processing_) {
        putOffCheck(manual);
        co_return;
    }
    if (updater_ && updater_->sessionInProgress()) {
        bringPanelForward();
        co_return;
    }
    setChecking(true);
    manual_ = manual;
    if (manual_) {
        show(text(update_texts::checking), {}, true, {});
    }

    const QPointer<UpdateManager> self(this);
    const auto loadSettings = services_.loadSettings; // what it holds is needed to the end of the load
    std::optional<QUrl> feed;
    bool succeeded = false;
    try {
        feed = (co_await loadSettings()).updateFeed();
        succeeded = true;
    } catch (...) {
        // The user is told the same whatever went wrong.
    }
    if (!self) {
        co_return;
    }
    if (!succeeded) {
        failCheck();
    } else if (feed) {
        checkFeed(*feed);
    } else {
        endDisabledCheck();
    }
}

void UpdateManager::putOffCheck(bool manualCheck) {
    if (manualCheck) {
        notice(text(update_texts::waitForProcessing), {}, [] {});
        return;
    }
    // In a turn of its own: what ended the processing goes on first, and may begin the next.
    defer([this] {
        QMetaObject::invokeMethod(
            this, [this] { check(false); }, Qt::QueuedConnection);
    });
}

void UpdateManager::checkFeed(const QUrl& feed) {
    feedURL_ = feed;
    if (!updater_) {
        updater_ = services_.makeUpdater(*this, *this);
    }
    if (!updater_) {
        setChecking(false);
        if (manual_) {
            hidePanel(); // it has no button that would
        }
        return;
    }
    if (!started_) {
        if (updater_->startUpdater()) {
            failCheck();
            return;
        }
        started_ = true;
    }
    updater_->setAutomaticallyChecksForUpdates(false);
    updater_->setAutomaticallyDownloadsUpdates(false);
    updater_->setSendsSystemProfile(false);
    updater_->setUserAgentString(userAgent + QStringLiteral(" Sparkle"));
    if (processing_) { // since the settings were asked for
        setChecking(false);
        putOffCheck(manual_);
    } else if (manual_) {
        updater_->checkForUpdates();
    } else {
        updater_->checkForUpdatesInBackground();
    }
}

void UpdateManager::endDisabledCheck() {
    setChecking(false);
    if (manual_) {
        notice(text(update_texts::disabled), text(update_texts::disabledDetail), [] {});
    }
}

void UpdateManager::failCheck() {
    setChecking(false);
    if (manual_) {
        notice(text(update_texts::checkFailed), text(update_texts::checkFailedDetail), [] {});
    }
}

} // namespace ovrel
