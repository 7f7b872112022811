#include "desktop/quit_signals.h"
#include "tests/desktop/event_loop.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>

#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ovrel::test {

namespace {

class QuitSignalsTest : public testing::Test {
protected:
    QuitSignalsTest() {
        QObject::connect(quit.get(), &QuitSignals::requested, [this] {
            EXPECT_EQ(QThread::currentThread(), QCoreApplication::instance()->thread());
            ++requests;
        });
    }

    std::unique_ptr<QuitSignals> quit = std::make_unique<QuitSignals>();
    int requests = 0;
};

TEST_F(QuitSignalsTest, BecomeRequestsInTheEventLoop) {
    int expected = 0;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGTERM, SIGTERM}) {
        ::raise(signal);
        EXPECT_EQ(requests, expected);
        awaitThat([&] { return requests > expected; });
        EXPECT_EQ(requests, ++expected);
    }
}

TEST_F(QuitSignalsTest, AreCountedWhenSeveralComeBeforeTheEventLoopRuns) {
    ::raise(SIGTERM);
    ::raise(SIGTERM);
    awaitThat([&] { return requests == 2; });
}

TEST_F(QuitSignalsTest, ReachTheMainThreadFromAnyOther) {
    std::thread([] { ::raise(SIGINT); }).join();
    awaitThat([&] { return requests == 1; });
}

TEST_F(QuitSignalsTest, MayEndTheObjectThatTakesThem) {
    QObject::connect(quit.get(), &QuitSignals::requested, [this] { quit.reset(); });
    ::raise(SIGTERM);
    ::raise(SIGTERM);
    awaitThat([&] { return quit == nullptr; });
    EXPECT_EQ(requests, 1);
    // The next one begins anew.
    quit = std::make_unique<QuitSignals>();
    QObject::connect(quit.get(), &QuitSignals::requested, [this] { ++requests; });
    QCoreApplication::processEvents();
    EXPECT_EQ(requests, 1);
    ::raise(SIGTERM);
    awaitThat([&] { return requests == 2; });
}

void (*handlerOf(int signal))(int) {
    struct sigaction action {};
    EXPECT_EQ(::sigaction(signal, nullptr, &action), 0);
    return action.sa_handler;
}

TEST(QuitSignals, AreAsTheyWereBeforeWhenItEnds) {
    ASSERT_EQ(handlerOf(SIGTERM), SIG_DFL);
    {
        const QuitSignals quit;
        EXPECT_NE(handlerOf(SIGTERM), SIG_DFL);
    }
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        EXPECT_EQ(handlerOf(signal), SIG_DFL);
    }
}

TEST(QuitSignals, AreLeftIgnoredWhereTheProgramWasStartedSo) {
    ::signal(SIGHUP, SIG_IGN);
    {
        const QuitSignals quit;
        EXPECT_EQ(handlerOf(SIGHUP), SIG_IGN);
        EXPECT_NE(handlerOf(SIGTERM), SIG_DFL);
    }
    EXPECT_EQ(handlerOf(SIGHUP), SIG_IGN);
    ::signal(SIGHUP, SIG_DFL);
}

TEST(QuitSignals, EndAProgramThatThisOneStarts) {
    const QuitSignals quit;
    const pid_t child = ::fork();
    if (child == 0) {
        ::execlp("sleep", "sleep", "600", nullptr);
        ::_exit(127);
    }
    ASSERT_GT(child, 0);
    int status = 0;
    // A signal that comes before exec is passed on to this program's pipe, so one may not be enough.
    while (::waitpid(child, &status, WNOHANG) == 0) {
        ::kill(child, SIGTERM);
        ::usleep(1000);
    }
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

} // namespace

} // namespace ovrel::test
