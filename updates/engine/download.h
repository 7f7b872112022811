/// \file download.h
/// Downloads of the updater: feeds and archives, from any host, by https alone.
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QUrl>

#include <qcoro/qcorotask.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <stop_token>

namespace ovrel {

/// How it is asked. No host is preferred: at most five redirects are followed, each to an https address without a user.
struct DownloadOptions {
    QByteArray userAgent;
    std::chrono::milliseconds silence = std::chrono::seconds(30); ///< how long nothing may come
};

struct Feed {
    QByteArray bytes;
    QUrl address; ///< after redirects
};

/// Downloads a feed of at most 1 MiB. Main thread.
/// \param address https
/// \throws UpdateError: appcastParse for a feed above the limit; download for everything else, a refused redirect and a
///         stop included. A stop ends it at once, and whoever stopped it tells that from a failure
QCoro::Task<Feed> downloadFeed(QUrl address, DownloadOptions options, std::stop_token stop);

/// What is done with an archive while it comes. Main thread.
struct ArchiveSink {
    std::function<void(std::uint64_t bytes)> expected; ///< told once, from the feed
    std::function<void(QByteArrayView part)> receive;  ///< what it throws ends the download
};

/// Downloads an archive of exactly `length` bytes.
/// \param address https
/// \param length as the feed says it
/// \throws UpdateError (download): before anything is asked where `length` is 0 or above 512 MiB, where more or fewer
///         bytes come, and at once by a stop; what the sink throws
QCoro::Task<void> downloadArchive(QUrl address, std::uint64_t length, ArchiveSink sink, DownloadOptions options,
                                  std::stop_token stop);

} // namespace ovrel
