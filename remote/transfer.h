/// \file transfer.h
/// One download with everything it needs. For BannerNetwork alone.
#pragma once

#include "remote/banner_error.h"
#include "remote/banner_network.h"

#include <QByteArray>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QObject>
#include <QTimer>
#include <QUrl>

#include <coroutine>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace ovrel {

/// Begins when it is made, on the thread whose event loop it uses. A coroutine of that thread waits for it once, by
/// `co_await`, and gets the body or an exception. It is resumed from the event loop, never from within a signal of the
/// transfer, so that it may end the transfer's life at once; that closes every connection.
///
/// Memory: what was read of the body and what waits in the reply are `limitBytes` + 1 bytes together at most; Qt's
/// socket adds about 64 KiB. Of a head, and of a body with status 401 or 407, Qt itself reads without such a limit, for
/// as long as the transfer may be silent.
class Transfer final : public QObject {
    Q_DISABLE_COPY_MOVE(Transfer)

public:
    /// \param address judged already
    Transfer(const QUrl& address, qint64 limitBytes, const std::stop_token& stop, BannerNetwork::Limits limits);
    ~Transfer() override;

    struct Awaiter {
        Transfer& transfer;

        bool await_ready() const noexcept { return false; }
        void await_suspend(std::coroutine_handle<> waiting) const noexcept { transfer.waiting_ = waiting; }
        /// \throws BannerError, TransportError
        QByteArray await_resume() const;
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

    const qint64 limitBytes_;
    QNetworkAccessManager manager_;
    std::unique_ptr<QNetworkReply> reply_; ///< goes before the manager, whose child it is
    QTimer silence_;
    QTimer whole_;
    int redirects_ = 0;
    bool ended_ = false;
    QByteArray body_;
    std::exception_ptr error_;
    std::coroutine_handle<> waiting_;
    std::optional<std::stop_callback<std::function<void()>>> onStop_; ///< goes first: it calls the others
};

} // namespace ovrel
