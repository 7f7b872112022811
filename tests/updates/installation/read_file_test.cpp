#include "updates/installation/read_file.h"

#include "platform/linux/file_descriptor.h"
#include "tests/support/temporary_folder.h"

#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>

namespace {

using namespace ovrel;
using namespace ovrel::test;

TEST(ReadWhole, TakesFilesUpToTheLimit) {
    const TemporaryFolder folder;
    constexpr std::size_t limitBytes = 10000;
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, limitBytes, limitBytes + 1, 3 * limitBytes}) {
        const std::string content(size, 'x');
        const FileDescriptor file(::open(folder.write("file", content).c_str(), O_RDONLY | O_CLOEXEC));
        const std::optional<std::string> got = readWhole(file.get(), limitBytes);
        EXPECT_EQ(got, size <= limitBytes ? std::optional(content) : std::nullopt) << size;
    }
}

TEST(ReadWhole, SaysWhatCannotBeRead) {
    const TemporaryFolder folder;
    const FileDescriptor directory(::open(folder.path().c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_TRUE(directory);
    EXPECT_EQ(readWhole(directory.get(), 10), std::nullopt);
    EXPECT_EQ(readWhole(-1, 10), std::nullopt);
}

} // namespace
