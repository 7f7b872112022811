/// \file background.h
/// Work beside the main thread.
#pragma once

#include <QFuture>
#include <QThreadPool>
#include <QtConcurrentRun>

#include <exception>
#include <type_traits>
#include <utility>
#include <variant>

namespace ovrel {

/// The threads of everything that the program does in the background. They are not those of
/// QThreadPool::globalInstance(): Qt paints with these, and waits for one of them on the main thread, so a conversion
/// in the last one would keep the window from being painted until it ends. May be called from any thread. Where there
/// is a QCoreApplication, its end waits for all work.
QThreadPool& backgroundThreads();

/// A result, or what was thrown instead of one.
template <typename Result>
using ResultOrError = std::variant<Result, std::exception_ptr>;

/// Calls `work` in one of the background threads. Its exceptions come back as values, because QtConcurrent would
/// replace them by one of its own.
///
/// \param work takes nothing and refers to nothing that may end before it
template <typename Work>
QFuture<ResultOrError<std::invoke_result_t<Work>>> inBackground(Work work) {
    return QtConcurrent::run(&backgroundThreads(),
                             [work = std::move(work)]() -> ResultOrError<std::invoke_result_t<Work>> {
                                 try {
                                     return work();
                                 } catch (...) {
                                     return std::current_exception();
                                 }
                             });
}

} // namespace ovrel
