#include "platform/memory.h"

#include "platform/linux/memory_limits.h"
#include "platform/pixel_buffer.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <limits>
#include <new>

namespace ovrel::test {

TEST(Memory, KnowsThatSomeIsLeftAndNotMoreThanAddressesAllow) {
    EXPECT_GT(availableMemory(), std::uint64_t{1} << 20);
    EXPECT_LT(availableMemory(), std::uint64_t{1} << 56);
    EXPECT_TRUE(fitsIntoMemory(1));
    EXPECT_FALSE(fitsIntoMemory(std::uint64_t{1} << 60));
}

TEST(Memory, HonoursTheLimitOfAControlGroupAndOfThoseAbove) {
    const TemporaryFolder folder;
    folder.write("cgroup", "0::/user/ovrel\n");
    folder.write("fs/user/memory.max", "5000\n");
    folder.write("fs/user/memory.current", "1000\n");
    folder.write("fs/user/memory.stat", "anon 900\ninactive_file 300\n");
    folder.write("fs/user/ovrel/memory.max", "max\n");
    folder.write("fs/user/ovrel/memory.current", "100\n");
    EXPECT_EQ(leftByControlGroups(folder / "cgroup", folder / "fs"), 5000U - (1000U - 300U));
    folder.write("fs/user/ovrel/memory.max", "1100\n");
    EXPECT_EQ(leftByControlGroups(folder / "cgroup", folder / "fs"), 1000U);
}

TEST(Memory, HonoursTheFirstVersionOfControlGroups) {
    const TemporaryFolder folder;
    folder.write("cgroup", "4:cpu,cpuacct:/a\n3:memory:/a\n0::/a\n");
    folder.write("fs/memory/a/memory.limit_in_bytes", "9000\n");
    folder.write("fs/memory/a/memory.usage_in_bytes", "4000\n");
    folder.write("fs/memory/a/memory.stat", "inactive_file 1\ntotal_inactive_file 500\n");
    EXPECT_EQ(leftByControlGroups(folder / "cgroup", folder / "fs"), 9000U - (4000U - 500U));
}

TEST(Memory, IsUnlimitedWhereNoGroupSaysOtherwise) {
    const TemporaryFolder folder;
    EXPECT_EQ(leftByControlGroups(folder / "missing", folder / "fs"), unlimitedMemory);
    folder.write("cgroup", "nonsense\n0::/..\n0::relative\n");
    EXPECT_EQ(leftByControlGroups(folder / "cgroup", folder / "fs"), unlimitedMemory);
}

TEST(PixelBuffer, BeginsWithZeros) {
    const PixelBuffer buffer = PixelBuffer::zeroed(3, 5);
    ASSERT_EQ(buffer.size(), 15U);
    for (std::size_t i = 0; i < buffer.size(); ++i) {
        EXPECT_EQ(buffer.data()[i], 0);
    }
}

TEST(PixelBuffer, RefusesWhatTheMachineDoesNotHave) {
    constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
    EXPECT_THROW(PixelBuffer::zeroed(most, 2), std::bad_alloc);
    EXPECT_THROW(PixelBuffer::zeroed(most / 4, 4), std::bad_alloc);
    EXPECT_THROW(PixelBuffer::zeroed(std::size_t{1} << 30, std::size_t{1} << 30), std::bad_alloc);
}

TEST(PixelBuffer, KeepsItsFirstBytesWhenItShrinks) {
    PixelBuffer buffer = PixelBuffer::zeroed(1000, 1000);
    buffer.data()[0] = 1;
    buffer.data()[9] = 2;
    buffer.shrink(10);
    ASSERT_EQ(buffer.size(), 10U);
    EXPECT_EQ(buffer.data()[0], 1);
    EXPECT_EQ(buffer.data()[9], 2);
    buffer.shrink(20);
    EXPECT_EQ(buffer.size(), 10U);
}

} // namespace ovrel::test
