#include "cli/standard_streams.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string>
#include <thread>

namespace ovrel::cli {
namespace {

TEST(DescriptorOutput, WritesAllIntoASlowPipe) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_NONBLOCK), 0);
    const std::string text(1 << 20, 'x'); // more than a pipe holds
    std::string read;
    std::jthread reader([&read, &ends] {
        std::array<char, 4096> block{};
        ::fcntl(ends[0], F_SETFL, 0);
        for (ssize_t size = 0; (size = ::read(ends[0], block.data(), block.size())) > 0;) {
            read.append(block.data(), static_cast<std::size_t>(size));
        }
    });
    DescriptorOutput output(ends[1]);
    EXPECT_TRUE(output.write(text));
    ::close(ends[1]);
    reader.join();
    ::close(ends[0]);
    EXPECT_EQ(read, text);
    EXPECT_EQ(output.error(), 0);
}

TEST(DescriptorOutput, FailsForGoodOnceItsReaderIsGone) {
    std::signal(SIGPIPE, SIG_IGN);
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    ::close(ends[0]);
    DescriptorOutput output(ends[1]);
    EXPECT_FALSE(output.write("line\n"));
    EXPECT_EQ(output.error(), EPIPE);
    EXPECT_FALSE(output.write("line\n"));
    ::close(ends[1]);
    std::signal(SIGPIPE, SIG_DFL);
}

TEST(DescriptorOutput, FailsOnAFullDevice) {
    const int full = ::open("/dev/full", O_WRONLY);
    ASSERT_GE(full, 0);
    DescriptorOutput output(full);
    EXPECT_FALSE(output.write("line\n"));
    EXPECT_EQ(output.error(), ENOSPC);
    ::close(full);
}

TEST(Terminal, IsNotAPipe) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    EXPECT_FALSE(isTerminal(ends[1]));
    EXPECT_EQ(terminalColumns(ends[1]), 80U);
    ::close(ends[0]);
    ::close(ends[1]);
}

} // namespace
} // namespace ovrel::cli
