/// \file outcome.h
/// What became of a download.
#pragma once

#include "remote/banner_error.h"

#include <QByteArray>
#include <QNetworkReply>

#include <qcoro/qcorotask.h>

#include <functional>
#include <variant>

namespace ovrel::test {

struct Pending {
    bool operator==(const Pending&) const = default;
};

/// The body, or the error.
using Outcome = std::variant<Pending, QByteArray, BannerError::Case, QNetworkReply::NetworkError>;

/// Follows a download until its end. The outcome stays pending when it ends by an exception of another type.
QCoro::Task<void> follow(QCoro::Task<QByteArray> download, Outcome& outcome);

/// Lets the event loop turn until something holds.
void turnUntil(const std::function<bool()>& holds);

/// Waits for the end of a download.
Outcome outcomeOf(QCoro::Task<QByteArray> download);

} // namespace ovrel::test
