#include "tests/remote/held_fetch.h"

#include "remote/transport_error.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <functional>
#include <optional>
#include <stop_token>
#include <utility>

namespace ovrel::test {

struct HeldFetch::Request {
    QUrl address;
    qint64 limitBytes = 0;
    std::stop_token stop;
    WhenStopped whenStopped = WhenStopped::fails;
    bool isAnswered = false;
    QByteArray bytes;
    std::exception_ptr error;
    std::coroutine_handle<> waiting;

    struct Answer {
        Request& request;

        bool await_ready() const noexcept { return request.isAnswered; }
        void await_suspend(std::coroutine_handle<> waiter) const noexcept { request.waiting = waiter; }
        void await_resume() const noexcept {}
    };

    void end(const QByteArray& answer, const std::exception_ptr& failure) {
        if (std::exchange(isAnswered, true)) {
            return;
        }
        bytes = answer;
        error = failure;
        if (waiting) {
            waiting.resume();
        }
    }

    static QCoro::Task<QByteArray> run(std::shared_ptr<Request> request) {
        std::optional<std::stop_callback<std::function<void()>>> whenStopped;
        if (request->whenStopped == WhenStopped::fails) {
            whenStopped.emplace(request->stop, [request] {
                request->end({}, std::make_exception_ptr(TransportError(QNetworkReply::OperationCanceledError)));
            });
        }
        co_await Answer{*request};
        whenStopped.reset();
        if (request->error) {
            std::rethrow_exception(request->error);
        }
        co_return request->bytes;
    }
};

HeldFetch::~HeldFetch() {
    for (std::size_t index = 0; index < requests_.size(); ++index) {
        fail(index, std::make_exception_ptr(TransportError(QNetworkReply::OperationCanceledError)));
    }
}

FetchFunction HeldFetch::function() {
    return [this](QUrl address, qint64 limitBytes, std::stop_token stop) {
        requests_.push_back(std::make_shared<Request>(
            Request{std::move(address), limitBytes, std::move(stop), whenStopped_, false, {}, {}, {}}));
        return Request::run(requests_.back());
    };
}

QUrl HeldFetch::address(std::size_t index) const {
    return requests_.at(index)->address;
}

qint64 HeldFetch::limitBytes(std::size_t index) const {
    return requests_.at(index)->limitBytes;
}

bool HeldFetch::isStopped(std::size_t index) const {
    return requests_.at(index)->stop.stop_requested();
}

void HeldFetch::answer(std::size_t index, const QByteArray& bytes) {
    const std::shared_ptr<Request> request = requests_.at(index);
    request->end(bytes, nullptr);
}

void HeldFetch::fail(std::size_t index, const std::exception_ptr& error) {
    const std::shared_ptr<Request> request = requests_.at(index);
    request->end({}, error);
}

void finish(const QCoro::Task<void>& task) {
    while (!task.isReady()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

} // namespace ovrel::test
