/// \file transfer.h
/// One download over https with everything it needs; the rules come from who wants it.
#pragma once

#include "remote/banner_error.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QObject>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <coroutine>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace ovrel {

/// What a download may do. A value.
struct TransferRules {
    QByteArray userAgent;
    QByteArray accept;                   ///< media types (RFC 9110, section 12.5.1); not sent when empty
    qint64 limitBytes = 0;               ///< of the body
    std::chrono::milliseconds silence{}; ///< how long nothing may come
    std::chrono::milliseconds whole{};   ///< from beginning to end, redirects included; zero is without end
    int maximumRedirects = 0;

    /// Where a redirect leads. \return nothing to refuse it
    std::function<std::optional<QUrl>(const QUrl& from, const QByteArray& location)> redirected;

    /// Told the length of the body where the server announces one. May be empty.
    std::function<void(qint64 bytes)> announced;
    /// Takes each part of the body. What it throws ends the download.
    std::function<void(QByteArrayView part)> receive;
};

/// Begins when it is made, on the thread whose event loop it uses. A coroutine of that thread waits for it once, by
/// `co_await`, and gets the address that answered or an exception. It is resumed from the event loop, never from within
/// a signal of the transfer, so that it may end the transfer's life at once; that closes every connection. Nothing is
/// kept: no cookie, no cache entry, no credentials. Status 200 alone is success.
///
/// Memory: what waits in the reply is at most what the limit leaves and one byte; Qt's socket adds about 64 KiB. Of a
/// head, and of a body with status 401 or 407, Qt itself reads without such a limit, for as long as the rules allow.
class Transfer final : public QObject {
    Q_DISABLE_COPY_MOVE(Transfer)

public:
    /// \param address judged already
    Transfer(const QUrl& address, TransferRules rules, const std::stop_token& stop);
    ~Transfer() override;

    struct Awaiter {
        Transfer& transfer;

        bool await_ready() const noexcept { return false; }
        void await_suspend(std::coroutine_handle<> waiting) const noexcept { transfer.waiting_ = waiting; }
        /// \throws BannerError, TransportError, and what `receive` throws
        QUrl await_resume() const;
    };
    Awaiter operator co_await() noexcept { return {*this}; }

private:
    void request(const QUrl& address);
    void onHead();
    void onBody();
    void onFinished();
    void redirect();

    void fail(BannerError::Case error);
    void fail(QNetworkReply::NetworkError error);
    void fail(std::exception_ptr error);
    void end();    ///< with what is known by then; again without effect
    void resume(); ///< ends this object's life as a rule

    const TransferRules rules_;
    qint64 receivedBytes_ = 0;
    QNetworkAccessManager manager_;
    std::unique_ptr<QNetworkReply> reply_; ///< goes before the manager, whose child it is
    QTimer silence_;
    QTimer whole_;
    int redirects_ = 0;
    bool ended_ = false;
    std::exception_ptr error_;
    std::coroutine_handle<> waiting_;
    std::optional<std::stop_callback<std::function<void()>>> onStop_; ///< goes first: it calls the others
};

} // namespace ovrel
