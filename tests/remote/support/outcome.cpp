#include "tests/remote/support/outcome.h"

#include "remote/transport_error.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <utility>

namespace ovrel::test {

QCoro::Task<void> follow(QCoro::Task<QByteArray> download, Outcome& outcome) {
    try {
        QByteArray body = co_await download;
        outcome = std::move(body);
    } catch (const BannerError& error) {
        outcome = static_cast<BannerError::Case>(error);
    } catch (const TransportError& error) {
        outcome = error.error();
    }
}

void turnUntil(const std::function<bool()>& holds) {
    while (!holds()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

Outcome outcomeOf(QCoro::Task<QByteArray> download) {
    Outcome outcome;
    const QCoro::Task<void> following = follow(std::move(download), outcome);
    turnUntil([&] { return following.isReady(); });
    return outcome;
}

} // namespace ovrel::test
