#include "updates/installation/running_programs.h"

#include "tests/updates/installation/test_trees.h"
#include "tests/updates/installation/working_program.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using namespace ovrel;
using namespace ovrel::test;

std::vector<FileDescriptor> programsOf(const fs::path& tree) {
    return otherProgramsOf(InstallationPlace(tree).parent(), tree.filename());
}

TEST(RunningPrograms, AreThoseOfTheTreeAlone) {
    const TestTrees trees;
    EXPECT_TRUE(programsOf(trees.tree()).empty());
    {
        const WorkingProgram program(trees.tree());
        EXPECT_EQ(programsOf(trees.tree()).size(), 1U);
        EXPECT_TRUE(programsOf(trees.staged()).empty());
    }
    EXPECT_TRUE(programsOf(trees.tree()).empty());
}

TEST(RunningPrograms, StayThoseOfATreeThatHasMoved) {
    const TestTrees trees;
    const WorkingProgram program(trees.tree());
    fs::rename(trees.tree(), trees.previous());
    makeTree(trees.tree(), "2.4");
    EXPECT_EQ(programsOf(trees.previous()).size(), 1U);
    EXPECT_TRUE(programsOf(trees.tree()).empty());
}

TEST(RunningPrograms, AreNoneInATreeThatIsNotThere) {
    const TestTrees trees;
    EXPECT_TRUE(programsOf(trees.previous()).empty());
    fs::remove_all(trees.tree() / "bin");
    EXPECT_TRUE(programsOf(trees.tree()).empty());
}

TEST(RunningPrograms, AreWaitedForUntilTheLastHasEnded) {
    const TestTrees trees;
    std::atomic<bool> isEnding = false;
    std::future<bool> waiting;
    {
        const WorkingProgram program(trees.tree());
        waiting = std::async(std::launch::async, [&, running = programsOf(trees.tree())] {
            waitForEndOf(running);
            return isEnding.load();
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // time for one that would not wait
        isEnding = true;
    }
    EXPECT_TRUE(waiting.get());
    EXPECT_TRUE(programsOf(trees.tree()).empty());
}

} // namespace
