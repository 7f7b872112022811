#include "model/checked_counter.h"

#include <gtest/gtest.h>

#include <limits>

namespace ovrel::test {

namespace {

constexpr std::int64_t greatest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();

TEST(CheckedCounter, CountsToItsEnd) {
    EXPECT_EQ(incremented(0), 1);
    EXPECT_EQ(incremented(greatest - 1), greatest);
    EXPECT_EQ(difference(10, 3), 7);
    EXPECT_EQ(difference(-1, greatest), least);
}

TEST(CheckedCounterDeathTest, EndsTheProgramWhereItOverflows) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(incremented(greatest), "a counter overflowed");
    EXPECT_DEATH(difference(least, 1), "a counter overflowed");
}

} // namespace

} // namespace ovrel::test
