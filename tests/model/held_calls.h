/// \file held_calls.h
/// A function that other threads call, and whose calls end when the test says so.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <utility>
#include <variant>
#include <vector>

namespace ovrel::test {

/// Any thread. Shared by the test and those that call.
template <typename Arguments, typename Result>
class HeldCalls {
public:
    /// Waits for an answer, and ends as it says.
    Result call(Arguments arguments) {
        std::unique_lock lock(mutex_);
        calls_.push_back(std::move(arguments));
        changed_.notify_all();
        changed_.wait(lock, [this] { return isReleased_ || !answers_.empty(); });
        if (answers_.empty()) {
            throw std::runtime_error("the test has ended");
        }
        std::variant<Result, std::exception_ptr> answer = std::move(answers_.front());
        answers_.pop_front();
        lock.unlock();
        if (const auto* const error = std::get_if<std::exception_ptr>(&answer)) {
            std::rethrow_exception(*error);
        }
        return std::get<Result>(std::move(answer));
    }

    /// Answers the call that waits, or the next one.
    void succeed(Result result) { answer(std::move(result)); }
    void fail(std::exception_ptr error) { answer(std::move(error)); }

    /// Makes every call fail that has no answer yet, now and later.
    void release() {
        const std::lock_guard lock(mutex_);
        isReleased_ = true;
        changed_.notify_all();
    }

    /// Calls so far, the waiting and the ended ones.
    std::vector<Arguments> calls() const {
        const std::lock_guard lock(mutex_);
        return calls_;
    }
    std::size_t count() const { return calls().size(); }

private:
    void answer(std::variant<Result, std::exception_ptr> answer) {
        const std::lock_guard lock(mutex_);
        answers_.push_back(std::move(answer));
        changed_.notify_all();
    }

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Arguments> calls_;
    std::deque<std::variant<Result, std::exception_ptr>> answers_;
    bool isReleased_ = false;
};

} // namespace ovrel::test
