#include "cli/stop_signals.h"

#include <gtest/gtest.h>

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <future>

namespace ovrel::cli {
namespace {

/// Waits until the token is asked to stop.
void waitFor(const std::stop_token& token) {
    std::promise<void> asked;
    const std::stop_callback callback(token, [&asked] { asked.set_value(); });
    asked.get_future().wait();
}

TEST(StopSignals, AskToStopFirstAndLeaveThen) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        SCOPED_TRACE(signal);
        std::atomic<bool> left = false;
        {
            const StopSignals stopSignals([&left] { left = true; });
            EXPECT_FALSE(stopSignals.token().stop_requested());
            ::kill(::getpid(), signal);
            waitFor(stopSignals.token());
        }
        EXPECT_FALSE(left);
    }
    std::promise<void> left;
    const StopSignals stopSignals([&left] { left.set_value(); });
    ::kill(::getpid(), SIGINT);
    waitFor(stopSignals.token());
    ::kill(::getpid(), SIGTERM);
    left.get_future().wait();
}

TEST(StopSignals, LeaveIgnoredSignalsIgnored) {
    std::signal(SIGHUP, SIG_IGN);
    {
        const StopSignals stopSignals([] {});
        ::kill(::getpid(), SIGHUP);
        ::kill(::getpid(), SIGTERM);
        waitFor(stopSignals.token()); // SIGTERM alone
        sigset_t pending;
        ::sigpending(&pending);
        EXPECT_EQ(::sigismember(&pending, SIGHUP), 0);
    }
    std::signal(SIGHUP, SIG_DFL);
}

TEST(StopSignals, RestoreTheFormerMask) {
    {
        const StopSignals stopSignals([] {});
    }
    sigset_t mask;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        EXPECT_EQ(::sigismember(&mask, signal), 0);
    }
}

} // namespace
} // namespace ovrel::cli
