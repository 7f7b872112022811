#include "conversion/memory_share.h"

#include "conversion/turn.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <semaphore>
#include <stop_token>
#include <thread>
#include <vector>

namespace ovrel::test {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint64_t everything = std::numeric_limits<std::uint64_t>::max();

bool never(std::uint64_t) {
    return false;
}

TEST(MemoryShareTest, FitsBesideOthersWhenTheirSumDoes) {
    std::vector<std::uint64_t> asked;
    const auto fits = [&](std::uint64_t bytes) {
        asked.push_back(bytes);
        return true;
    };
    const MemoryShare first(300, fits);
    const MemoryShare second(500, fits);
    const MemoryShare third(7, fits);
    EXPECT_EQ(asked, (std::vector<std::uint64_t>{800, 807}));
}

TEST(MemoryShareTest, WaitsUntilTheOthersAreGone) {
    std::optional<MemoryShare> first;
    first.emplace(300, never);
    std::counting_semaphore<> asked{0};
    std::atomic<bool> isReturned = false;
    bool cameAfterwards = false;
    Clock::duration waited{0};
    std::jthread other([&] {
        const MemoryShare second(1, [&](std::uint64_t) {
            asked.release();
            return false;
        });
        cameAfterwards = isReturned;
        waited = second.waited();
    });
    asked.acquire();
    const Clock::time_point waiting = Clock::now();
    isReturned = true;
    const Clock::duration atLeast = Clock::now() - waiting;
    first.reset();
    other.join();
    EXPECT_TRUE(cameAfterwards);
    EXPECT_GE(waited, atLeast);
    EXPECT_GT(waited.count(), 0);
}

TEST(MemoryShareTest, WaitsNoLongerThanUntilAStop) {
    std::optional<MemoryShare> first;
    first.emplace(300, never);
    std::counting_semaphore<> asked{0};
    std::stop_source stop;
    bool isRefused = false;
    std::jthread other([&] {
        const auto fits = [&](std::uint64_t) {
            asked.release();
            return false;
        };
        try {
            const MemoryShare second(1, fits, stop.get_token());
        } catch (const NotBegun&) {
            isRefused = true;
        }
    });
    asked.acquire();
    stop.request_stop();
    other.join();
    EXPECT_TRUE(isRefused);

    std::vector<std::uint64_t> sums;
    const MemoryShare third(2, [&](std::uint64_t bytes) {
        sums.push_back(bytes);
        return true;
    });
    EXPECT_EQ(sums, (std::vector<std::uint64_t>{302})) << "what was not given is not set aside";
}

TEST(MemoryShareTest, FitsAfterAStopWhereNobodyIsInTheWay) {
    std::stop_source stop;
    stop.request_stop();
    const MemoryShare only(1, never, stop.get_token());
    const MemoryShare second(
        1, [](std::uint64_t) { return true; }, stop.get_token());
    EXPECT_EQ(only.waited().count(), 0);
    EXPECT_EQ(second.waited().count(), 0);
}

TEST(MemoryShareTest, GivesBackWhatItTook) {
    for (int i = 0; i < 3; ++i) {
        const MemoryShare whole(everything, never);
    }
    std::vector<std::uint64_t> asked;
    const MemoryShare first(40, never);
    const MemoryShare second(2, [&](std::uint64_t bytes) {
        asked.push_back(bytes);
        return true;
    });
    EXPECT_EQ(asked, (std::vector<std::uint64_t>{42}));
}

TEST(MemoryShareTest, SumsThatNoNumberHoldsAreTheLargestNumber) {
    std::vector<std::uint64_t> asked;
    const auto fits = [&](std::uint64_t bytes) {
        asked.push_back(bytes);
        return true;
    };
    {
        const MemoryShare first(everything - 1, never);
        const MemoryShare second(everything, fits);
    }
    const MemoryShare third(5, never);
    const MemoryShare fourth(6, fits);
    EXPECT_EQ(asked, (std::vector<std::uint64_t>{everything, 11}));
}

} // namespace

} // namespace ovrel::test
