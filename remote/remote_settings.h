/// \file remote_settings.h
/// The settings file, downloaded once for all that ask at the same time.
#pragma once

#include "remote/banner_network.h"
#include "remote/banner_settings.h"

#include <qcoro/qcorotask.h>

#include <memory>

namespace ovrel {

/// Lives on the thread on which it was made, and is used there alone.
class RemoteSettings {
public:
    explicit RemoteSettings(FetchFunction fetch);
    ~RemoteSettings();
    RemoteSettings(const RemoteSettings&) = delete;
    RemoteSettings& operator=(const RemoteSettings&) = delete;

    /// Of the main thread, over the publisher's server.
    static RemoteSettings& shared();

    /// Fresh settings: those of a download that is under way, else of a new one. Nothing is kept afterwards. One who
    /// asked may go away; a download goes on for the others.
    /// \throws BannerError, TransportError: what the download met, for everybody who waited for it
    static QCoro::Task<BannerSettings> load() { return shared().fetch(); }
    QCoro::Task<BannerSettings> fetch();

private:
    struct Download;

    FetchFunction fetch_;
    std::shared_ptr<Download> download_; ///< the one under way
};

} // namespace ovrel
