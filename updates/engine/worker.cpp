#include "updates/engine/worker.h"

#include "model/background.h"

#include <qcoro/qcorofuture.h>

#include <utility>

namespace ovrel {

QCoro::Task<std::optional<UpdateError>> inWorker(std::function<void()> work) {
    const QFuture<std::optional<UpdateError>> future =
        QtConcurrent::run(&backgroundThreads(), [work = std::move(work)]() -> std::optional<UpdateError> {
            try {
                work();
            } catch (const UpdateError& error) {
                return error;
            }
            return std::nullopt;
        });
    std::optional<UpdateError> failure = co_await future;
    co_return failure;
}

} // namespace ovrel
