#include "remote/transfer.h"

#include "remote/transport_error.h"

#include <QCoreApplication>
#include <QNetworkRequest>

#include <algorithm>
#include <limits>
#include <utility>

namespace ovrel {

namespace {

constexpr int statusOk = 200;

/// RFC 9110, section 15.4. All of them are followed by GET, as it was GET before.
bool isRedirect(int status) {
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

/// How much a reply may buffer until it is read: all that there is room for and one byte, which tells that there is
/// more. With less, Qt 6.4 hangs where the server closes a connection before all is read.
qint64 bufferFor(qint64 room) {
    return std::clamp(room, qint64{0}, std::numeric_limits<qint64>::max() - 1) + 1;
}

QNetworkRequest requestFor(const QUrl& address, const TransferRules& rules) {
    QNetworkRequest request(address);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    // HTTP/2 has buffers of its own beside the reply's.
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    request.setRawHeader("User-Agent", rules.userAgent);
    if (!rules.accept.isEmpty()) {
        request.setRawHeader("Accept", rules.accept);
    }
    // Qt would ask for compression, and unpack it beyond every limit, and would name the user's language.
    request.setRawHeader("Accept-Encoding", "identity");
    request.setRawHeader("Accept-Language", "*");
    return request;
}

} // namespace

Transfer::Transfer(const QUrl& address, TransferRules rules, const std::stop_token& stop) : rules_(std::move(rules)) {
    for (QTimer* timer : {&silence_, &whole_}) {
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
        connect(timer, &QTimer::timeout, this, [this] { fail(QNetworkReply::TimeoutError); });
    }
    silence_.start(rules_.silence);
    if (rules_.whole.count() > 0) {
        whole_.start(rules_.whole);
    }
    // The event loop turns no more afterwards, and Qt's thread of the network must not outlive the application.
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, [this] {
        fail(QNetworkReply::OperationCanceledError);
        resume();
    });
    request(address);
    onStop_.emplace(stop, [this] {
        QMetaObject::invokeMethod(
            this, [this] { fail(QNetworkReply::OperationCanceledError); }, Qt::QueuedConnection);
    });
}

Transfer::~Transfer() = default;

QUrl Transfer::Awaiter::await_resume() const {
    if (transfer.error_) {
        std::rethrow_exception(transfer.error_);
    }
    return transfer.reply_->url();
}

void Transfer::request(const QUrl& address) {
    reply_.reset(manager_.get(requestFor(address, rules_)));
    reply_->setReadBufferSize(bufferFor(rules_.limitBytes));
    connect(reply_.get(), &QNetworkReply::encrypted, this, [this] { silence_.start(); });
    connect(reply_.get(), &QNetworkReply::metaDataChanged, this, &Transfer::onHead);
    connect(reply_.get(), &QNetworkReply::readyRead, this, &Transfer::onBody);
    connect(reply_.get(), &QNetworkReply::finished, this, &Transfer::onFinished);
}

void Transfer::onHead() {
    silence_.start();
    const int status = reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const qint64 announcedBytes = reply_->header(QNetworkRequest::ContentLengthHeader).toLongLong();
    if (isRedirect(status)) {
        redirect();
    } else if (status != statusOk) {
        fail(BannerError::response);
    } else if (announcedBytes > rules_.limitBytes) {
        fail(BannerError::tooLarge);
    } else if (announcedBytes > 0 && rules_.announced) {
        rules_.announced(announcedBytes);
    }
}

void Transfer::redirect() {
    const std::optional<QUrl> next = rules_.redirected(reply_->url(), reply_->rawHeader("Location"));
    if (!next || redirects_ == rules_.maximumRedirects) {
        fail(BannerError::response);
        return;
    }
    ++redirects_;
    // The body of a redirect is not waited for. A reply must not be destroyed within its own signal.
    reply_->disconnect(this);
    QMetaObject::invokeMethod(
        this,
        [this, address = *next] {
            if (!ended_) {
                request(address);
            }
        },
        Qt::QueuedConnection);
}

void Transfer::onBody() {
    silence_.start();
    while (const qint64 available = reply_->bytesAvailable()) {
        const qint64 room = rules_.limitBytes - receivedBytes_;
        if (room <= 0) {
            fail(BannerError::tooLarge);
            return;
        }
        const qint64 count = std::min(available, room);
        reply_->setReadBufferSize(bufferFor(room - count));
        receivedBytes_ += count;
        try {
            rules_.receive(reply_->read(count));
        } catch (...) {
            fail(std::current_exception());
            return;
        }
    }
}

void Transfer::onFinished() {
    if (reply_->error() != QNetworkReply::NoError) {
        fail(reply_->error());
        return;
    }
    onBody();
    end();
}

void Transfer::fail(QNetworkReply::NetworkError error) {
    fail(std::make_exception_ptr(TransportError(error)));
}

void Transfer::fail(BannerError::Case error) {
    fail(std::make_exception_ptr(BannerError(error)));
}

void Transfer::fail(std::exception_ptr error) {
    if (!ended_) {
        error_ = std::move(error);
        end();
    }
}

void Transfer::end() {
    if (ended_) {
        return;
    }
    ended_ = true;
    silence_.stop();
    whole_.stop();
    reply_->disconnect(this);
    QMetaObject::invokeMethod(this, &Transfer::resume, Qt::QueuedConnection);
}

void Transfer::resume() {
    if (const std::coroutine_handle<> waiting = std::exchange(waiting_, nullptr)) {
        waiting.resume();
    }
}

} // namespace ovrel
