/// \file transport_error.h
/// What the network said when a transfer failed or was cancelled.
#pragma once

#include <QNetworkReply>

#include <system_error>

namespace ovrel {

/// The code is a QNetworkReply::NetworkError, the category is named "QNetworkReply". A cancelled transfer is
/// OperationCanceledError, one that took too long TimeoutError.
class TransportError final : public std::system_error {
public:
    explicit TransportError(QNetworkReply::NetworkError error);

    QNetworkReply::NetworkError error() const { return static_cast<QNetworkReply::NetworkError>(code().value()); }
};

} // namespace ovrel
