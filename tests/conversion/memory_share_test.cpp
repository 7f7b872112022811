#include "conversion/memory_share.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <limits>
#include <optional>
#include <semaphore>
#include <thread>
#include <vector>

namespace ovrel::test {

namespace {

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
    std::binary_semaphore asked{0};
    std::atomic<bool> isReturned = false;
    bool cameAfterwards = false;
    std::jthread other([&] {
        const MemoryShare second(1, [&](std::uint64_t) {
            asked.release();
            return false;
        });
        cameAfterwards = isReturned;
    });
    asked.acquire();
    isReturned = true;
    first.reset();
    other.join();
    EXPECT_TRUE(cameAfterwards);
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
