#include "remote/banner_network.h"

#include "remote/banner_error.h"
#include "remote/banner_redirect_policy.h"
#include "remote/transfer.h"
#include "remote/transport_error.h"

#include <utility>

namespace ovrel {

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
    Transfer transfer(address, limitBytes, stop, limits);
    QByteArray body = co_await transfer;
    co_return body;
}

} // namespace ovrel
