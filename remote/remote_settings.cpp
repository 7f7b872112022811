#include "remote/remote_settings.h"

#include "remote/transport_error.h"

#include <QCoreApplication>

#include <exception>
#include <optional>
#include <utility>
#include <vector>

namespace ovrel {

/// One download and those who wait for it. Shared by them and by the download, so that it outlives RemoteSettings.
struct RemoteSettings::Download {
    std::stop_source stop; ///< requested when RemoteSettings is gone
    std::optional<const BannerSettings> settings;
    std::exception_ptr error;
    std::vector<std::coroutine_handle<>> waiting;

    /// Suspends until the download has finished.
    struct Finish {
        Download& download;

        bool await_ready() const noexcept { return download.settings || download.error; }
        void await_suspend(std::coroutine_handle<> waiter) const { download.waiting.push_back(waiter); }
        void await_resume() const noexcept {}
    };

    void resumeWaiting() {
        for (const std::coroutine_handle<> waiter : std::exchange(waiting, {})) {
            waiter.resume();
        }
    }

    /// Runs on its own. It has its own copy of `fetch`, since what that began may still need it without RemoteSettings.
    static QCoro::Task<void> run(RemoteSettings* owner, std::shared_ptr<Download> download, FetchFunction fetch) {
        try {
            const QByteArray bytes =
                co_await fetch(BannerSettings::address(), BannerSettings::limitBytes, download->stop.get_token());
            download->settings.emplace(BannerSettings::fromUtf8(bytes));
        } catch (...) {
            download->error = std::current_exception();
        }
        if (download->stop.stop_requested()) {
            co_return; // the owner is gone and its destructor tells those who wait
        }
        // Now whoever goes on and asks again gets a new download.
        owner->download_.reset();
        download->resumeWaiting();
    }
};

RemoteSettings::RemoteSettings(FetchFunction fetch) : fetch_(std::move(fetch)) {}

RemoteSettings::~RemoteSettings() {
    if (const std::shared_ptr<Download> download = std::move(download_)) {
        download->stop.request_stop();
        download->error = std::make_exception_ptr(TransportError(QNetworkReply::OperationCanceledError));
        download->resumeWaiting();
    }
}

RemoteSettings& RemoteSettings::shared() {
    static std::unique_ptr<RemoteSettings> instance;
    if (!instance) {
        instance = std::make_unique<RemoteSettings>([](QUrl address, qint64 limitBytes, std::stop_token stop) {
            return BannerNetwork::fetch(std::move(address), limitBytes, std::move(stop));
        });
        // A transfer cannot be ended properly without the application.
        qAddPostRoutine([] { instance.reset(); });
    }
    return *instance;
}

QCoro::Task<BannerSettings> RemoteSettings::fetch() {
    std::shared_ptr<Download> download = download_;
    if (!download) {
        download = download_ = std::make_shared<Download>();
        Download::run(this, download, fetch_);
    }
    // The object may be gone from here on.
    co_await Download::Finish{*download};
    if (download->error) {
        std::rethrow_exception(download->error);
    }
    co_return *download->settings;
}

} // namespace ovrel
