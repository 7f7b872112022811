/// \file banner_network.h
/// The one guarded way to the publisher's server.
#pragma once

#include "platform/image.h"

#include <QByteArray>
#include <QUrl>

#include <qcoro/qcorotask.h>

#include <chrono>
#include <functional>
#include <stop_token>

namespace ovrel {

/// Downloads the body behind an address.
/// \throws BannerError, TransportError
using FetchFunction = std::function<QCoro::Task<QByteArray>(QUrl address, qint64 limitBytes, std::stop_token stop)>;

/// Two operations without state.
class BannerNetwork {
public:
    BannerNetwork() = delete;

    /// How long a fetch may take.
    struct Limits {
        std::chrono::milliseconds silence = std::chrono::seconds(12); ///< without any data
        std::chrono::milliseconds whole = std::chrono::seconds(20);   ///< from beginning to end, redirects included
    };

    /// Downloads a body of at most `limitBytes`, following redirects to allowed addresses alone. Nothing is kept:
    /// no cookie, no cache entry, no connection. Needs a thread with an event loop; several may run at once. Ends with
    /// the application, and must not begin while that quits.
    ///
    /// \throws BannerError::invalid for an address that is not allowed, before anything is sent; response for an answer
    ///         other than 200 or a refused redirect; tooLarge as soon as more than the limit is announced or comes;
    ///         TransportError for everything else: no connection, silence, TLS, an answer that is no HTTP, cancellation
    ///         by `stop`
    static QCoro::Task<QByteArray> fetch(QUrl address, qint64 limitBytes, std::stop_token stop = {});
    /// The same with other limits.
    static QCoro::Task<QByteArray> fetch(QUrl address, qint64 limitBytes, std::stop_token stop, Limits limits);

    /// Decodes a banner: an AVIF still of at most 4320 × 720 pixels that is six times as wide as high. Any thread.
    /// \return sRGB, rgba8, straight alpha
    /// \throws BannerError::invalid
    static Image decode(const QByteArray& data);
};

} // namespace ovrel
