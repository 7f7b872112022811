#include "cli/path_list.h"

#include "platform/file_error.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>

#include <string>

namespace ovrel::cli {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> listed(const std::string& content, char end) {
    const test::TemporaryFolder folder;
    std::vector<std::string> names;
    for (const std::filesystem::path& path : readPathList(folder.write("list", content), end)) {
        names.push_back(path.native());
    }
    return names;
}

TEST(PathList, HoldsOnePathALine) {
    EXPECT_THAT(listed("a.jpg\nb c.jpg\n", '\n'), ElementsAre("a.jpg", "b c.jpg"));
    EXPECT_THAT(listed("a.jpg\n\n\nb.jpg", '\n'), ElementsAre("a.jpg", "b.jpg"));
    EXPECT_THAT(listed("caf\xE9.jpg\r\n", '\n'), ElementsAre("caf\xE9.jpg\r"));
    EXPECT_THAT(listed("", '\n'), IsEmpty());
}

TEST(PathList, HoldsAnyNameWhereNulsEndPaths) {
    using namespace std::string_literals;
    EXPECT_THAT(listed("a\nb.jpg\0c.jpg\0"s, '\0'), ElementsAre("a\nb.jpg", "c.jpg"));
    EXPECT_THAT(listed("\0\0a"s, '\0'), ElementsAre("a"));
}

TEST(PathList, MayBeLongerThanAnyBuffer) {
    std::string content;
    for (int number = 0; number < 20000; ++number) {
        content += "folder/picture-" + std::to_string(number) + ".jpg\n";
    }
    const std::vector<std::string> names = listed(content, '\n');
    ASSERT_EQ(names.size(), 20000U);
    EXPECT_EQ(names[9999], "folder/picture-9999.jpg");
    EXPECT_EQ(names.back(), "folder/picture-19999.jpg");
}

TEST(PathList, RefusesAPathThatNoSystemOpens) {
    EXPECT_THAT(listed(std::string(longestPath, 'a'), '\n'), ElementsAre(std::string(longestPath, 'a')));
    EXPECT_THROW(listed(std::string(longestPath + 1, 'a'), '\n'), PathTooLong);
}

TEST(PathList, RefusesANulWhereLinesHoldPaths) {
    using namespace std::string_literals;
    for (const std::string& content : {"a.png\0b.png"s, "a.png\0b.png\0"s, "a.png\n\0"s}) {
        EXPECT_THROW(listed(content, '\n'), NulInPath);
    }
    EXPECT_THROW(listed(std::string(longestPath, 'a') + '\0', '\n'), NulInPath) << "whatever its length";
}

TEST(PathList, FailsWhenItCannotBeRead) {
    const test::TemporaryFolder folder;
    try {
        readPathList(folder / "gone", '\n');
        FAIL() << "nothing thrown";
    } catch (const FileError& error) {
        EXPECT_EQ(error.code(), FileError::readNoSuchFile);
    }
    EXPECT_THROW(readPathList(folder.path(), '\n'), FileError);
}

} // namespace
} // namespace ovrel::cli
