#include "updates/engine/download.h"

#include "remote/banner_error.h"
#include "remote/transfer.h"
#include "remote/transport_error.h"
#include "updates/engine/appcast.h"
#include "updates/engine/updater_texts.h"

#include <QLoggingCategory>

#include <optional>
#include <utility>

namespace ovrel {

namespace {

constexpr int maximumRedirects = 5;

/// An archive is kept in memory until it has been verified. Ovrel with all its libraries has a tenth of this.
constexpr std::uint64_t archiveLimitBytes = std::uint64_t{512} << 20;

bool isHttps(const QUrl& address) {
    return address.isValid() && address.scheme() == QLatin1StringView("https") && !address.host().isEmpty() &&
           address.userInfo().isEmpty();
}

/// RFC 9110, section 10.2.2. Nothing but https is asked, not even once.
std::optional<QUrl> redirected(const QUrl& from, const QByteArray& location) {
    const QUrl target = from.resolved(QUrl::fromEncoded(location, QUrl::StrictMode));
    return !location.isEmpty() && isHttps(target) ? std::optional(target) : std::nullopt;
}

TransferRules rulesFor(const DownloadOptions& options, qint64 limitBytes) {
    TransferRules rules;
    rules.userAgent = options.userAgent;
    rules.limitBytes = limitBytes;
    rules.silence = options.silence;
    rules.maximumRedirects = maximumRedirects;
    rules.redirected = redirected;
    return rules;
}

/// \throws `failure` instead of what belongs to the network, `tooMuch` where more than the limit came
QCoro::Task<QUrl> transfer(QUrl address, TransferRules rules, std::stop_token stop, UpdateError failure,
                           UpdateError tooMuch) {
    if (!isHttps(address) || stop.stop_requested()) {
        throw failure;
    }
    try {
        Transfer transfer(address, std::move(rules), stop);
        QUrl final = co_await transfer;
        co_return final;
    } catch (const BannerError& error) {
        qWarning("Updates: %s sent what is not wanted (%d).", qPrintable(address.host()), static_cast<int>(error));
        if (error == BannerError::tooLarge) {
            throw tooMuch;
        }
    } catch (const TransportError& error) {
        qWarning("Updates: %s: %s", qPrintable(address.host()), error.what());
    }
    throw failure;
}

} // namespace

QCoro::Task<Feed> downloadFeed(QUrl address, DownloadOptions options, std::stop_token stop) {
    Feed feed;
    TransferRules rules = rulesFor(options, appcastLimitBytes);
    rules.accept = "application/rss+xml,*/*;q=0.1";
    rules.receive = [&feed](QByteArrayView part) { feed.bytes += part; };
    feed.address = co_await transfer(std::move(address), std::move(rules), std::move(stop), feedDownloadError(),
                                     appcastTooLargeError());
    co_return feed;
}

QCoro::Task<void> downloadArchive(QUrl address, std::uint64_t length, ArchiveSink sink, DownloadOptions options,
                                  std::stop_token stop) {
    if (length == 0 || length > archiveLimitBytes) {
        throw wrongArchiveLengthError();
    }
    std::uint64_t received = 0;
    TransferRules rules = rulesFor(options, static_cast<qint64>(length));
    rules.receive = [&](QByteArrayView part) {
        sink.receive(part);
        received += static_cast<std::uint64_t>(part.size());
    };
    sink.expected(length);
    co_await transfer(std::move(address), std::move(rules), std::move(stop), archiveDownloadError(),
                      wrongArchiveLengthError());
    if (received != length) {
        throw wrongArchiveLengthError();
    }
}

} // namespace ovrel
