#include "cli/batch.h"

#include "conversion/turn.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <chrono>
#include <condition_variable>
#include <latch>
#include <mutex>
#include <new>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace ovrel::cli {
namespace {

using testing::ElementsAre;

std::vector<Step> stepsNamed(const std::vector<std::string>& names) {
    std::vector<Step> steps;
    steps.reserve(names.size());
    for (const std::string& name : names) {
        steps.push_back({.item = {.url = name, .relativeDirectory = {}}, .result = {}, .error = {}});
    }
    return steps;
}

std::vector<Step> numberedSteps(std::size_t count) {
    std::vector<std::string> names;
    for (std::size_t number = 0; number < count; ++number) {
        names.push_back(std::to_string(number));
    }
    return stepsNamed(names);
}

Outcome converted(const Step& /*step*/) {
    Outcome outcome;
    outcome.status = Outcome::Status::converted;
    return outcome;
}

/// Remembers what it heard.
class Recorder : public BatchObserver {
public:
    void progressed(const BatchProgress& progress) override { progresses.push_back(progress); }
    bool completed(const Step& step, const Outcome& outcome) override {
        names.push_back(step.item.url.native());
        outcomes.push_back(outcome);
        return true;
    }

    std::vector<std::string> names;
    std::vector<Outcome> outcomes;
    std::vector<BatchProgress> progresses;
};

TEST(Batch, CountsWhatBecameOfEachStep) {
    Recorder recorder;
    const std::vector<Step> plan = stepsNamed({"good", "bad", "there", "copied"});
    const auto work = [](const Step& step) {
        Outcome outcome;
        outcome.status = step.item.url == "there"    ? Outcome::Status::skipped
                         : step.item.url == "copied" ? Outcome::Status::copied
                                                     : Outcome::Status::converted;
        if (step.item.url == "bad") {
            throw std::runtime_error("damaged");
        }
        return outcome;
    };
    const Totals totals = runBatch(plan, 1, work, {}, recorder);
    EXPECT_EQ(totals.items, 4U);
    EXPECT_EQ(totals.succeeded, 2U);
    EXPECT_EQ(totals.failed, 1U);
    EXPECT_EQ(totals.skipped, 1U);
    EXPECT_FALSE(totals.stopped);
    EXPECT_THAT(recorder.names, ElementsAre("good", "bad", "there", "copied"));
    EXPECT_EQ(recorder.outcomes[1].status, Outcome::Status::failed);
    EXPECT_THROW(std::rethrow_exception(recorder.outcomes[1].error), std::runtime_error);
}

TEST(Batch, TellsInOrderWhateverTheOrderOfCompletion) {
    Recorder recorder;
    const std::vector<Step> plan = numberedSteps(5);
    std::latch othersDone(4);
    const auto work = [&othersDone](const Step& step) {
        if (step.item.url == "0") {
            othersDone.wait();
        } else {
            othersDone.count_down();
        }
        return converted(step);
    };
    const Totals totals = runBatch(plan, 2, work, {}, recorder);
    EXPECT_EQ(totals.succeeded, 5U);
    EXPECT_THAT(recorder.names, ElementsAre("0", "1", "2", "3", "4"));
}

TEST(Batch, WorksOnSeveralStepsAtOnceAndNoMore) {
    constexpr unsigned jobs = 3;
    Recorder recorder;
    std::mutex mutex;
    std::size_t inHand = 0;
    std::size_t most = 0;
    std::barrier together(jobs);
    const auto work = [&](const Step& step) {
        {
            const std::lock_guard lock(mutex);
            most = std::max(most, ++inHand);
        }
        together.arrive_and_wait(); // ends only when as many as `jobs` are in hand
        const std::lock_guard lock(mutex);
        --inHand;
        return converted(step);
    };
    EXPECT_EQ(runBatch(numberedSteps(12), jobs, work, {}, recorder).succeeded, 12U);
    EXPECT_EQ(most, jobs);
}

TEST(Batch, DoesFollowersOneAfterTheOther) {
    Recorder recorder;
    std::vector<Step> plan = numberedSteps(6);
    plan[0].follower = 2;
    plan[2].follows = true;
    plan[2].follower = 5;
    plan[5].follows = true;
    std::mutex mutex;
    std::vector<std::string> begun;
    std::vector<std::string> ended;
    const auto work = [&](const Step& step) {
        const std::string name = step.item.url.native();
        const bool chained = name == "0" || name == "2" || name == "5";
        if (chained) {
            const std::lock_guard lock(mutex);
            EXPECT_EQ(begun.size(), ended.size()) << name << " began before its predecessor ended";
            begun.push_back(name);
        }
        std::this_thread::yield();
        if (chained) {
            const std::lock_guard lock(mutex);
            ended.push_back(name);
        }
        return converted(step);
    };
    EXPECT_EQ(runBatch(plan, 4, work, {}, recorder).succeeded, 6U);
    EXPECT_THAT(ended, ElementsAre("0", "2", "5"));
    EXPECT_THAT(recorder.names, ElementsAre("0", "1", "2", "3", "4", "5"));
}

TEST(Batch, FinishesTheStepsInHandWhenStopped) {
    Recorder recorder;
    std::stop_source stop;
    const auto work = [&stop](const Step& step) {
        if (step.item.url == "2") {
            stop.request_stop();
        }
        return converted(step);
    };
    const Totals totals = runBatch(numberedSteps(10), 1, work, stop.get_token(), recorder);
    EXPECT_TRUE(totals.stopped);
    EXPECT_EQ(totals.succeeded, 3U);
    EXPECT_EQ(totals.items, 10U);
    EXPECT_THAT(recorder.names, ElementsAre("0", "1", "2"));
}

TEST(Batch, TellsOfWhatWasDoneBeyondAGapWhenStopped) {
    Recorder recorder;
    std::vector<Step> plan = numberedSteps(4);
    plan[0].follower = 2;
    plan[2].follows = true;
    std::stop_source stop;
    std::barrier together(2);
    const auto work = [&](const Step& step) {
        // 0 and 1 begin together; 2 follows 0; 1 ends only when 2 has begun, and then nothing more begins.
        if (step.item.url == "0") {
            together.arrive_and_wait();
        } else if (step.item.url == "1") {
            together.arrive_and_wait();
            together.arrive_and_wait();
        } else if (step.item.url == "2") {
            stop.request_stop();
            together.arrive_and_wait();
        }
        return converted(step);
    };
    const Totals totals = runBatch(plan, 2, work, stop.get_token(), recorder);
    EXPECT_TRUE(totals.stopped);
    EXPECT_THAT(recorder.names, ElementsAre("0", "1", "2"));
    EXPECT_EQ(totals.succeeded, 3U);
}

TEST(Batch, DoesNothingWhenStoppedBefore) {
    Recorder recorder;
    std::stop_source stop;
    stop.request_stop();
    const Totals totals = runBatch(numberedSteps(3), 2, converted, stop.get_token(), recorder);
    EXPECT_TRUE(totals.stopped);
    EXPECT_EQ(totals.succeeded, 0U);
    EXPECT_TRUE(recorder.names.empty());
}

TEST(Batch, CountsAsStoppedWhenAskedDuringTheLastStep) {
    Recorder recorder;
    std::stop_source stop;
    const auto work = [&stop](const Step& step) {
        stop.request_stop();
        return converted(step);
    };
    const Totals totals = runBatch(numberedSteps(1), 1, work, stop.get_token(), recorder);
    EXPECT_TRUE(totals.stopped);
    EXPECT_EQ(totals.succeeded, 1U);
}

TEST(Batch, LeavesStepsThatWereNotBegun) {
    Recorder recorder;
    std::stop_source stop;
    std::barrier together(2);
    // Both are in hand when the stop comes, but 1 has not had its turn.
    const auto work = [&](const Step& step) {
        together.arrive_and_wait();
        stop.request_stop();
        if (step.item.url == "1") {
            throw NotBegun();
        }
        return converted(step);
    };
    const Totals totals = runBatch(numberedSteps(5), 2, work, stop.get_token(), recorder);
    EXPECT_TRUE(totals.stopped);
    EXPECT_EQ(totals.items, 5U);
    EXPECT_EQ(totals.succeeded, 1U);
    EXPECT_EQ(totals.failed, 0U);
    EXPECT_THAT(recorder.names, ElementsAre("0"));
}

TEST(Batch, CountsNoWaitingAsTimeSpentOnAStep) {
    Recorder recorder;
    const auto work = [](const Step& step) {
        const auto start = std::chrono::steady_clock::now();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        Outcome outcome = converted(step);
        outcome.waited = std::chrono::steady_clock::now() - start;
        return outcome;
    };
    const auto start = std::chrono::steady_clock::now();
    runBatch(numberedSteps(1), 1, work, {}, recorder);
    const auto whole = std::chrono::steady_clock::now() - start;
    ASSERT_EQ(recorder.outcomes.size(), 1U);
    EXPECT_LE(recorder.outcomes[0].waited + recorder.outcomes[0].duration, whole);
}

TEST(Batch, EndsWhenItsObserverWantsNoMore) {
    class Ending : public BatchObserver {
    public:
        explicit Ending(std::latch& told) : told_(told) {}
        void progressed(const BatchProgress& /*progress*/) override {}
        bool completed(const Step& /*step*/, const Outcome& /*outcome*/) override {
            if (!std::exchange(ended, true)) {
                told_.count_down();
            }
            return false;
        }
        bool ended = false;

    private:
        std::latch& told_;
    };
    std::latch toldOfFirst(1);
    Ending ending(toldOfFirst);
    std::atomic<std::size_t> done = 0;
    const auto work = [&](const Step& step) {
        if (step.item.url != "0") {
            toldOfFirst.wait();
        }
        ++done;
        return converted(step);
    };
    const Totals totals = runBatch(numberedSteps(100000), 1, work, {}, ending);
    EXPECT_TRUE(ending.ended);
    EXPECT_FALSE(totals.stopped);
    EXPECT_LT(done, 100000U);
}

TEST(Batch, ReachesTheEndOfALongListBehindASlowStep) {
    constexpr std::size_t count = 5000;
    Recorder recorder;
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t done = 0;
    const auto work = [&](const Step& step) {
        std::unique_lock lock(mutex);
        if (step.item.url == "0") {
            changed.wait(lock, [&done] { return done >= 500; });
        }
        ++done;
        changed.notify_all();
        return converted(step);
    };
    EXPECT_EQ(runBatch(numberedSteps(count), 2, work, {}, recorder).succeeded, count);
    EXPECT_EQ(recorder.names.size(), count);
    EXPECT_EQ(recorder.names.back(), std::to_string(count - 1));
}

TEST(Batch, BreaksOffWhenItsObserverFails) {
    class Failing : public Recorder {
        bool completed(const Step& /*step*/, const Outcome& /*outcome*/) override { throw std::bad_alloc(); }
    };
    // More steps than may wait to be told, so that workers would wait for an observer that is gone.
    Failing observer;
    EXPECT_THROW(runBatch(numberedSteps(5000), 2, converted, {}, observer), std::bad_alloc);
}

TEST(Batch, IsDoneAtOnceWithoutSteps) {
    Recorder recorder;
    EXPECT_EQ(runBatch({}, 4, converted, {}, recorder).items, 0U);
}

TEST(Batch, ShowsWhatIsInHand) {
    class FirstProgress : public Recorder {
    public:
        explicit FirstProgress(std::latch& shown) : shown_(shown) {}
        void progressed(const BatchProgress& progress) override {
            if (progresses.empty()) {
                shown_.count_down();
            }
            Recorder::progressed(progress);
        }

    private:
        std::latch& shown_;
    };
    std::latch shown(1);
    FirstProgress recorder(shown);
    std::vector<Step> plan = numberedSteps(3);
    plan[1].action = Step::Action::skip;
    const auto work = [&shown](const Step& step) {
        shown.wait();
        return converted(step);
    };
    runBatch(plan, 1, work, {}, recorder);
    ASSERT_FALSE(recorder.progresses.empty());
    const BatchProgress& first = recorder.progresses.front();
    EXPECT_EQ(first.current, &plan[0]);
    EXPECT_EQ(first.completed, 0U);
    EXPECT_EQ(first.steps, 3U);
    EXPECT_EQ(first.worked, 0U);
    EXPECT_EQ(first.work, 2U);
    EXPECT_FALSE(first.stopping);
}

} // namespace
} // namespace ovrel::cli
