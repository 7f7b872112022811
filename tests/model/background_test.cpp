#include "model/background.h"

#include "tests/model/model_fixture.h"

#include <gtest/gtest.h>

#include <QThread>

#include <stdexcept>
#include <thread>

namespace ovrel::test {

namespace {

TEST(Background, GivesWhatTheWorkReturnsOrThrows) {
    const QFuture<ResultOrError<int>> sum = inBackground([] { return 1 + 2; });
    const QFuture<ResultOrError<int>> failure = inBackground([]() -> int { throw std::runtime_error("why"); });
    EXPECT_EQ(std::get<int>(sum.result()), 3);
    try {
        std::rethrow_exception(std::get<std::exception_ptr>(failure.result()));
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "why");
    }
}

TEST(Background, IsNoThreadThatQtPaintsWith) {
    const QFuture<ResultOrError<std::thread::id>> work = inBackground([] {
        EXPECT_TRUE(backgroundThreads().contains(QThread::currentThread()));
        EXPECT_FALSE(QThreadPool::globalInstance()->contains(QThread::currentThread()));
        return std::this_thread::get_id();
    });
    waitUntil([&] { return work.isFinished(); }); // whoever asks for a result may have to do the work himself
    EXPECT_NE(std::get<std::thread::id>(work.result()), std::this_thread::get_id());
}

TEST(Background, HoldsTheScanAndTheConversion) {
    ModelFixture fixture;
    const auto expectOneThread = [] {
        EXPECT_EQ(backgroundThreads().activeThreadCount(), 1);
        EXPECT_EQ(QThreadPool::globalInstance()->activeThreadCount(), 0);
    };
    fixture.model().add({"/in"});
    waitUntil([&] { return fixture.scans->count() == 1; });
    expectOneThread();
    fixture.scans->succeed({{"/in/a.png", ""}});
    fixture.awaitIdle();
    fixture.model().setOutput("/out");
    fixture.model().start();
    fixture.awaitConversions(1);
    expectOneThread();
    fixture.convert();
    fixture.awaitIdle();
}

} // namespace

} // namespace ovrel::test
