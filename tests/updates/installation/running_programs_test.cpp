#include "updates/installation/running_programs.h"

#include "tests/updates/installation/test_trees.h"
#include "tests/updates/installation/working_program.h"
#include "updates/installation/open_folder.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>
#include <thread>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using namespace ovrel;
using namespace ovrel::test;

FileDescriptor opened(const fs::path& tree) {
    return openFolder(InstallationPlace(tree).parent(), tree.filename());
}

TEST(RunningPrograms, AreThoseOfTheTreeAlone) {
    const TestTrees trees;
    EXPECT_TRUE(otherProgramsOf(opened(trees.tree())).empty());
    {
        const WorkingProgram program(trees.tree());
        EXPECT_EQ(otherProgramsOf(opened(trees.tree())).size(), 1U);
        EXPECT_TRUE(otherProgramsOf(opened(trees.staged())).empty());
    }
    EXPECT_TRUE(otherProgramsOf(opened(trees.tree())).empty());
}

TEST(RunningPrograms, StayThoseOfATreeThatHasMoved) {
    const TestTrees trees;
    const WorkingProgram program(trees.tree());
    fs::rename(trees.tree(), trees.previous());
    makeTree(trees.tree(), "2.4");
    EXPECT_EQ(otherProgramsOf(opened(trees.previous())).size(), 1U);
    EXPECT_TRUE(otherProgramsOf(opened(trees.tree())).empty());
}

TEST(RunningPrograms, AreNoneInATreeThatIsNotThere) {
    EXPECT_TRUE(otherProgramsOf(FileDescriptor()).empty());
    const TestTrees trees;
    fs::remove_all(trees.tree() / "bin");
    EXPECT_TRUE(otherProgramsOf(opened(trees.tree())).empty());
}

TEST(RunningPrograms, AreWaitedForUntilTheLastHasEnded) {
    const TestTrees trees;
    std::atomic<bool> isEnding = false;
    std::future<bool> waiting;
    {
        const WorkingProgram program(trees.tree());
        waiting = std::async(std::launch::async, [&, running = otherProgramsOf(opened(trees.tree()))] {
            waitForEndOf(running);
            return isEnding.load();
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // time for one that would not wait
        isEnding = true;
    }
    EXPECT_TRUE(waiting.get());
    EXPECT_TRUE(otherProgramsOf(opened(trees.tree())).empty());
}

} // namespace
