/// \file held_fetch.h
/// A network whose answers come when the test says so.
#pragma once

#include "remote/banner_network.h"

#include <QByteArray>
#include <QUrl>

#include <cstddef>
#include <exception>
#include <memory>
#include <vector>

namespace ovrel::test {

/// What a request does when it is stopped.
enum class WhenStopped {
    fails, ///< at once, as the network does
    waits, ///< for the test, as if the stop had come too late
};

/// Holds every request until it is answered. What is still open in the end fails.
class HeldFetch {
public:
    struct Request;

    explicit HeldFetch(WhenStopped whenStopped = WhenStopped::fails) : whenStopped_(whenStopped) {}
    ~HeldFetch();
    HeldFetch(const HeldFetch&) = delete;
    HeldFetch& operator=(const HeldFetch&) = delete;

    /// May be used as long as this object lives.
    FetchFunction function();

    /// Requests so far, the open and the answered ones.
    std::size_t count() const { return requests_.size(); }
    QUrl address(std::size_t index) const;
    qint64 limitBytes(std::size_t index) const;
    bool isStopped(std::size_t index) const;

    /// Lets whoever waits for a request go on, before this returns. Nothing happens when it has its answer already.
    void answer(std::size_t index, const QByteArray& bytes);
    void fail(std::size_t index, const std::exception_ptr& error);

private:
    WhenStopped whenStopped_;
    std::vector<std::shared_ptr<Request>> requests_;
};

/// Runs the event loop until a task has ended, and throws what it threw.
void finish(const QCoro::Task<void>& task);

} // namespace ovrel::test
