#include "updates/installation/tree_removal.h"

#include "tests/updates/installation/test_trees.h"
#include "updates/installation/installed_layout.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using namespace ovrel;
using namespace ovrel::test;
using testing::ElementsAre;

KeptFiles removeOld(const TestTrees& trees) {
    TreeCalls calls;
    return removeInstalledTree(calls, trees.place().parent(), "ovrel", "kept");
}

TEST(TreeRemoval, RemovesWhatTheListNames) {
    const TestTrees trees;
    fs::create_directory(trees.tree() / "empty");
    fs::permissions(trees.tree() / "lib", fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_TRUE(removeOld(trees).empty());
    EXPECT_THAT(trees.names(), ElementsAre(TestTrees::staging));
}

TEST(TreeRemoval, KeepsATreeWithoutAListWhole) {
    const TestTrees trees;
    fs::remove(trees.tree() / installedFilesName);
    const KeptFiles kept = removeOld(trees);
    EXPECT_EQ(kept.folder, "kept");
    EXPECT_THAT(kept.files, ElementsAre("bin/ovrel", "lib/plugins/one", "version"));
    EXPECT_TRUE(fs::exists(trees.path() / "kept" / "bin" / "ovrel"));
}

TEST(TreeRemoval, RemovesAnEmptyTreeWithoutAList) {
    const TestTrees trees;
    fs::remove_all(trees.tree());
    fs::create_directories(trees.tree() / "lib" / "plugins");
    EXPECT_TRUE(removeOld(trees).empty());
    EXPECT_THAT(trees.names(), ElementsAre(TestTrees::staging));
}

TEST(TreeRemoval, KeepsATreeWithAnAbsurdList) {
    const TestTrees trees;
    std::ofstream(trees.tree() / installedFilesName, std::ios::app) << std::string((4U << 20U) + 1, '\n');
    EXPECT_EQ(removeOld(trees).folder, "kept");
    EXPECT_TRUE(fs::exists(trees.path() / "kept" / "bin" / "ovrel"));
}

TEST(TreeRemoval, FollowsNoLink) {
    const TestTrees trees;
    std::ofstream(trees.path() / "mine") << "mine";
    fs::create_directory(trees.path() / "bin");
    std::ofstream(trees.path() / "bin" / "ovrel") << "mine";
    std::ofstream(trees.tree() / installedFilesName, std::ios::app) << "../mine\nlink\n"
                                                                    << trees.path().native() << "/mine\n";
    fs::create_symlink("../mine", trees.tree() / "link");
    fs::rename(trees.tree() / "bin", trees.path() / "moved");
    fs::create_directory_symlink("../bin", trees.tree() / "bin");
    const KeptFiles kept = removeOld(trees);
    EXPECT_THAT(kept.files, ElementsAre("bin"));
    EXPECT_EQ(contentOf(trees.path() / "mine"), "mine");
    EXPECT_EQ(contentOf(trees.path() / "bin" / "ovrel"), "mine");
}

TEST(TreeRemoval, FindsAFreeNameForWhatItKeeps) {
    const TestTrees trees;
    makeTree(trees.path() / "kept", "earlier");
    std::ofstream(trees.tree() / "mine") << "mine";
    EXPECT_EQ(removeOld(trees).folder, "kept-2");
    EXPECT_EQ(versionAt(trees.path() / "kept"), "earlier");
    EXPECT_EQ(contentOf(trees.path() / "kept-2" / "mine"), "mine");
}

TEST(TreeRemoval, RemovesAWholeTreeButNotWhatItsLinksNameNorALinkInItsPlace) {
    const TestTrees trees;
    fs::create_directory_symlink("..", trees.tree() / "up");
    ASSERT_EQ(::mkfifo((trees.tree() / "pipe").c_str(), 0600), 0);
    EXPECT_TRUE(removeTree(trees.place().parent(), "ovrel"));
    EXPECT_EQ(versionAt(trees.staged()), "2.4");
    EXPECT_FALSE(fs::exists(trees.tree()));
    fs::create_directory_symlink(TestTrees::staging, trees.tree());
    EXPECT_TRUE(removeTree(trees.place().parent(), "ovrel"));
    EXPECT_EQ(versionAt(trees.staged()), "2.4");
}

} // namespace
