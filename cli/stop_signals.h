/// \file stop_signals.h
/// Ctrl-C and its kin.
#pragma once

#include <csignal>
#include <functional>
#include <stop_token>
#include <thread>

namespace ovrel::cli {

/// Takes SIGINT, SIGTERM and SIGHUP while it lives, except those that the program was started to ignore. Made before
/// other threads are, so that they inherit that the signals are blocked.
class StopSignals {
public:
    /// \param leave called by a thread of its own for every signal after the first; usually does not return
    explicit StopSignals(std::function<void()> leave);
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    /// Asked to stop by the first signal. Any thread.
    std::stop_token token() const { return requested_.get_token(); }

private:
    void watch(const std::stop_token& ended);

    std::function<void()> leave_;
    sigset_t signals_{};
    sigset_t formerMask_{};
    int wakeUp_ = 0; ///< one of signals_, or 0 when all are ignored
    std::stop_source requested_;
    std::jthread watcher_;
};

} // namespace ovrel::cli
