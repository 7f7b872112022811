#include "updates/framework/one_shot.h"

#include <gmock/gmock.h>

#include <atomic>
#include <latch>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Callbacks that write down what becomes of them.
struct Notes {
    std::vector<std::string> lines;

    OneShot<std::string> callback() {
        return OneShot<std::string>([this](const std::string& argument) { lines.push_back("called " + argument); },
                                    [this] { lines.emplace_back("dropped"); });
    }
};

/// Runs a function on several threads at the same time and waits for them.
template <typename Function>
void onThreads(int count, const Function& function) {
    std::latch together(count);
    std::vector<std::jthread> threads;
    for (int index = 0; index < count; ++index) {
        threads.emplace_back([&together, &function] {
            together.arrive_and_wait();
            function();
        });
    }
}

} // namespace

TEST(OneShot, CallsTheFunctionAtTheFirstCallOnly) {
    Notes notes;
    const OneShot<std::string> callback = notes.callback();
    EXPECT_THAT(notes.lines, IsEmpty());
    callback("one");
    callback("two");
    EXPECT_THAT(notes.lines, ElementsAre("called one"));
}

TEST(OneShot, IsAnsweredWithAllItsCopies) {
    Notes notes;
    {
        const OneShot<std::string> callback = notes.callback();
        const OneShot<std::string> copy = callback; // NOLINT(performance-unnecessary-copy-initialization): the subject
        copy("one");
        callback("two");
    }
    EXPECT_THAT(notes.lines, ElementsAre("called one"));
}

TEST(OneShot, IgnoresACallFromWithinItsFunction) {
    std::vector<int> arguments;
    std::optional<OneShot<int>> callback;
    callback.emplace([&](int argument) {
        arguments.push_back(argument);
        (*callback)(argument + 1);
    });
    (*callback)(1);
    EXPECT_THAT(arguments, ElementsAre(1));
}

TEST(OneShot, IsDroppedWithItsLastCopy) {
    Notes notes;
    std::optional callback(notes.callback());
    std::optional copy(callback);
    callback.reset();
    EXPECT_THAT(notes.lines, IsEmpty());
    copy.reset();
    EXPECT_THAT(notes.lines, ElementsAre("dropped"));
}

TEST(OneShot, IsDroppedWhenItIsReplaced) {
    Notes first;
    Notes second;
    OneShot<std::string> callback = first.callback();
    callback = second.callback();
    EXPECT_THAT(first.lines, ElementsAre("dropped"));
    callback("one");
    EXPECT_THAT(second.lines, ElementsAre("called one"));
}

TEST(OneShot, MayBeDroppedUnnoticed) {
    int calls = 0;
    {
        const OneShot<> callback([&calls] { ++calls; });
    }
    EXPECT_EQ(calls, 0);
}

TEST(OneShot, HandsOverWhatCanOnlyBeMoved) {
    int received = 0;
    const OneShot<std::unique_ptr<int>> callback([&received](std::unique_ptr<int> argument) { received = *argument; });
    callback(std::make_unique<int>(7));
    EXPECT_EQ(received, 7);
}

TEST(OneShot, KeepsWhatItHoldsAsLongAsItself) {
    const auto held = std::make_shared<int>(1);
    {
        const OneShot<> callback([held] {}, [held] {});
        EXPECT_GT(held.use_count(), 1);
    }
    EXPECT_EQ(held.use_count(), 1);
}

TEST(OneShot, RunsOnTheThreadThatCalls) {
    std::thread::id called;
    std::thread::id dropped;
    std::thread::id caller;
    const OneShot<> callback([&called] { called = std::this_thread::get_id(); });
    std::optional<OneShot<>> dying;
    dying.emplace([] {}, [&dropped] { dropped = std::this_thread::get_id(); });
    std::thread([&] {
        caller = std::this_thread::get_id();
        callback();
        dying.reset();
    }).join();
    EXPECT_EQ(called, caller);
    EXPECT_EQ(dropped, caller);
    EXPECT_NE(caller, std::this_thread::get_id());
}

TEST(OneShot, CountsOneOfManyCallsAtTheSameTime) {
    for (int round = 0; round < 100; ++round) {
        std::atomic<int> calls = 0;
        std::atomic<int> drops = 0;
        {
            const OneShot<> callback([&calls] { ++calls; }, [&drops] { ++drops; });
            onThreads(4, [callback] { callback(); });
        }
        EXPECT_EQ(calls, 1);
        EXPECT_EQ(drops, 0);
    }
}

TEST(OneShot, IsDroppedOnceByManyThreads) {
    for (int round = 0; round < 100; ++round) {
        std::atomic<int> drops = 0;
        std::vector<std::optional<OneShot<>>> copies(4, OneShot<>([] {}, [&drops] { ++drops; }));
        std::atomic<std::size_t> next = 0;
        onThreads(4, [&] { copies[next++].reset(); });
        EXPECT_EQ(drops, 1);
    }
}

} // namespace ovrel::test
