#include "remote/banner_network.h"

#include "remote/banner_error.h"
#include "remote/banner_redirect_policy.h"
#include "remote/publisher.h"
#include "remote/transfer.h"
#include "remote/transport_error.h"

#include <utility>

namespace ovrel {

namespace {

/// What QNetworkRequest itself would follow.
constexpr int maximumRedirects = 50;

} // namespace

QCoro::Task<QByteArray> BannerNetwork::fetch(QUrl address, qint64 limitBytes, std::stop_token stop) {
    return fetch(std::move(address), limitBytes, std::move(stop), Limits());
}

QCoro::Task<QByteArray> BannerNetwork::fetch(QUrl address, qint64 limitBytes, std::stop_token stop, Limits limits) {
    if (!BannerRedirectPolicy::allowed(address)) {
        throw BannerError(BannerError::invalid);
    }
    if (stop.stop_requested()) {
        throw TransportError(QNetworkReply::OperationCanceledError);
    }
    QByteArray body;
    TransferRules rules;
    rules.userAgent = QByteArray(userAgent.data(), userAgent.size());
    rules.limitBytes = limitBytes;
    rules.silence = limits.silence;
    rules.whole = limits.whole;
    rules.maximumRedirects = maximumRedirects;
    rules.redirected = &BannerRedirectPolicy::redirected;
    rules.announced = [&body](qint64 bytes) { body.reserve(bytes); };
    rules.receive = [&body](QByteArrayView part) { body += part; };
    Transfer transfer(address, std::move(rules), stop);
    co_await transfer;
    co_return body;
}

} // namespace ovrel
