/// \file background.h
/// Work beside the main thread.
#pragma once

#include <QFuture>
#include <QtConcurrentRun>

#include <exception>
#include <type_traits>
#include <utility>
#include <variant>

namespace ovrel {

/// A result, or what was thrown instead of one.
template <typename Result>
using ResultOrError = std::variant<Result, std::exception_ptr>;

/// Calls `work` in Qt's thread pool. Its exceptions come back as values, because QtConcurrent would replace them by
/// one of its own.
/// \param work takes nothing and refers to nothing that may end before it
template <typename Work>
QFuture<ResultOrError<std::invoke_result_t<Work>>> inBackground(Work work) {
    return QtConcurrent::run([work = std::move(work)]() -> ResultOrError<std::invoke_result_t<Work>> {
        try {
            return work();
        } catch (...) {
            return std::current_exception();
        }
    });
}

} // namespace ovrel
