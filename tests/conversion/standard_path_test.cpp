#include "conversion/standard_path.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/working_folder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;

TEST(StandardPath, IsTheSameHoweverTheFileIsNamed) {
    const TemporaryFolder folder;
    const WorkingFolder here(folder.path());
    const std::string expected = folder / "a.png";
    for (const std::string name : {"a.png", "./a.png", "b/../a.png", ".//a.png"}) {
        EXPECT_EQ(standardised(name), expected);
        EXPECT_EQ(standardised(folder / name), expected);
    }
    EXPECT_EQ(standardised("/no \xFF"), "/no \xFF");
}

TEST(StandardPath, StaysRelativeWhereTheCurrentFolderIsGone) {
    TemporaryFolder outer;
    fs::create_directory(outer / "inner");
    const WorkingFolder here(outer / "inner");
    fs::remove(outer / "inner");
    EXPECT_EQ(standardised("./b/../a.png"), "a.png");
    EXPECT_EQ(standardised("/b/../a.png"), "/a.png");
}

/// The standard library's own form is what counts, for every path of four components.
TEST(StandardPath, IsTheStandardLibrarysNormalForm) {
    const std::vector<std::string> components = {"", ".", "..", "a", ".a", "..a", "a.", "..."};
    for (const std::string& first : components) {
        for (const std::string& second : components) {
            for (const std::string& third : components) {
                for (const std::string& fourth : components) {
                    std::string path = "/" + first;
                    for (const std::string& next : {second, third, fourth}) {
                        EXPECT_EQ(standardised(path), fs::path(path).lexically_normal().native()) << path;
                        path += "/" + next;
                    }
                    EXPECT_EQ(standardised(path), fs::path(path).lexically_normal().native()) << path;
                }
            }
        }
    }
}

} // namespace

} // namespace ovrel::test
