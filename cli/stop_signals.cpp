#include "cli/stop_signals.h"

#include <pthread.h>

#include <utility>

namespace ovrel::cli {

namespace {

bool isIgnored(int signal) {
    struct sigaction action {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

StopSignals::StopSignals(std::function<void()> leave) : leave_(std::move(leave)) {
    ::sigemptyset(&signals_);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        // A blocked signal is delivered to sigwait() even when it is ignored.
        if (!isIgnored(signal)) {
            ::sigaddset(&signals_, signal);
            wakeUp_ = signal;
        }
    }
    ::pthread_sigmask(SIG_BLOCK, &signals_, &formerMask_);
    if (wakeUp_ != 0) {
        watcher_ = std::jthread([this](const std::stop_token& ended) { watch(ended); });
    }
}

StopSignals::~StopSignals() {
    if (watcher_.joinable()) {
        watcher_.request_stop();
        ::pthread_kill(watcher_.native_handle(), wakeUp_);
        watcher_.join();
    }
    ::pthread_sigmask(SIG_SETMASK, &formerMask_, nullptr);
}

void StopSignals::watch(const std::stop_token& ended) {
    int signal = 0;
    while (::sigwait(&signals_, &signal) == 0 && !ended.stop_requested()) {
        if (!requested_.request_stop()) {
            leave_();
        }
    }
}

} // namespace ovrel::cli
