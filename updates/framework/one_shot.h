/// \file one_shot.h
/// A callback that is answered once, whoever holds it and whatever becomes of them.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

namespace ovrel {

/// Copies are the same callback. The first call counts and every further one is ignored; when the last copy goes
/// without a call, the callback counts as dropped. Any thread.
template <typename... Arguments>
class OneShot {
public:
    /// Exactly one of the two functions runs, once, on the thread that calls or drops. Neither may throw.
    /// \param dropped may be empty
    explicit OneShot(std::function<void(Arguments...)> called, std::function<void()> dropped = {})
        : state_(std::make_shared<State>(std::move(called), std::move(dropped))) {}

    void operator()(Arguments... arguments) const {
        if (!state_->answered.exchange(true)) {
            state_->called(std::move(arguments)...);
        }
    }

private:
    struct State {
        State(std::function<void(Arguments...)> whenCalled, std::function<void()> whenDropped)
            : called(std::move(whenCalled)), dropped(std::move(whenDropped)) {}
        State(const State&) = delete;
        State& operator=(const State&) = delete;
        ~State() {
            if (!answered && dropped) {
                dropped();
            }
        }

        std::function<void(Arguments...)> called;
        std::function<void()> dropped;
        std::atomic<bool> answered = false;
    };

    std::shared_ptr<State> state_;
};

} // namespace ovrel
