/// \file answer.h
/// Waiting for what a driver or delegate says, in the middle of a coroutine.
#pragma once

#include "updates/framework/one_shot.h"

#include <QCoreApplication>

#include <coroutine>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <utility>

namespace ovrel {

/// Thrown into a coroutine whose object is going away. Whoever catches it touches that object no more.
struct Gone {};

/// \throws Gone when it is requested, which the object of a coroutine does as it goes away
inline void requireAlive(const std::stop_token& gone) {
    if (gone.stop_requested()) {
        throw Gone();
    }
}

/// A question to somebody outside. One coroutine of the main thread waits for it, once, by `co_await`. The reply may
/// come on any thread, before or after that; the coroutine goes on in a later turn of the main loop.
template <typename Value>
class Answer {
public:
    /// \param whenDropped what counts as said when nobody replies any more
    /// \param gone requested on the main thread when the object of the coroutine goes away
    Answer(Value whenDropped, std::stop_token gone) : state_(std::make_shared<State>()), gone_(std::move(gone)) {
        state_->whenDropped = std::move(whenDropped);
    }

    /// To be given away, without keeping a copy.
    OneShot<Value> reply() const {
        return OneShot<Value>([state = state_](Value value) { post(state, std::move(value)); },
                              [state = state_] { post(state, state->whenDropped); });
    }

    /// The same where there is nothing to say but that it is time.
    OneShot<> acknowledgement() const {
        return OneShot<>([reply = reply(), value = state_->whenDropped] { reply(value); });
    }

    struct Awaiter {
        Answer& answer;

        bool await_ready() const noexcept { return answer.state_->value || answer.gone_.stop_requested(); }
        void await_suspend(std::coroutine_handle<> waiting) const {
            answer.state_->waiting = waiting;
            answer.onGone_.emplace(answer.gone_, [state = answer.state_] { resume(*state); });
        }
        /// \throws Gone
        Value await_resume() const {
            answer.onGone_.reset();
            requireAlive(answer.gone_);
            return std::move(*answer.state_->value);
        }
    };
    Awaiter operator co_await() noexcept { return {*this}; }

private:
    struct State {
        Value whenDropped{};
        std::optional<Value> value;
        std::coroutine_handle<> waiting;
    };

    static void post(const std::shared_ptr<State>& state, Value value) {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [state, value = std::move(value)] {
                state->value = value;
                resume(*state);
            },
            Qt::QueuedConnection);
    }

    static void resume(State& state) {
        if (const std::coroutine_handle<> waiting = std::exchange(state.waiting, nullptr)) {
            waiting.resume();
        }
    }

    std::shared_ptr<State> state_;
    std::stop_token gone_;
    std::optional<std::stop_callback<std::function<void()>>> onGone_;
};

} // namespace ovrel
