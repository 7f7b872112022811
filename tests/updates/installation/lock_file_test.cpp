#include "updates/installation/lock_file.h"

#include "tests/support/child_process.h"
#include "tests/updates/installation/test_trees.h"
#include "updates/installation/instance_lock.h"

#include <filesystem>
#include <system_error>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using namespace ovrel;
using namespace ovrel::test;

TEST(LockFile, LetsOneUpdaterInAtATime) {
    const TestTrees trees;
    auto first = UpdateLock::tryAcquire(trees.place());
    ASSERT_TRUE(first);
    EXPECT_FALSE(UpdateLock::tryAcquire(trees.place()));
    EXPECT_FALSE(UpdateLock::acquireSoon(trees.place()));
    first.reset();
    EXPECT_TRUE(UpdateLock::tryAcquire(trees.place()));
}

TEST(LockFile, KeepsAnotherProcessOut) {
    const TestTrees trees;
    const auto held = UpdateLock::tryAcquire(trees.place());
    ASSERT_TRUE(held);
    ChildProcess other([&] { return UpdateLock::tryAcquire(trees.place()) ? 1 : 0; });
    EXPECT_EQ(other.wait(), 0);
}

TEST(LockFile, StaysLockedWhileAChildHasTheDescriptor) {
    const TestTrees trees;
    FileDescriptor inherited;
    {
        const auto lock = UpdateLock::tryAcquire(trees.place());
        ASSERT_TRUE(lock);
        inherited = FileDescriptor(::dup(lock->descriptor()));
    }
    EXPECT_FALSE(UpdateLock::tryAcquire(trees.place()));
    inherited.close();
    EXPECT_TRUE(UpdateLock::tryAcquire(trees.place()));
}

TEST(LockFile, LetsManyProgramsRunAndTellsWhetherOneIsAlone) {
    const TestTrees trees;
    InstanceLock first(trees.place());
    {
        const InstanceLock second(trees.place());
        EXPECT_FALSE(first.tryAlone());
    }
    EXPECT_TRUE(first.tryAlone());
    LockFile other(trees.place());
    EXPECT_FALSE(other.tryShared(LockFile::Part::instances));
    first.share();
    EXPECT_TRUE(other.tryShared(LockFile::Part::instances));
    EXPECT_TRUE(other.tryExclusive(LockFile::Part::update)); // the parts are independent
}

TEST(LockFile, IsForItsOwnerOnlyAndNoLink) {
    const TestTrees trees;
    { const LockFile file(trees.place()); }
    struct stat facts = {};
    ASSERT_EQ(::stat((trees.path() / ".ovrel-lock").c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 07777U, 0600U);
    fs::remove(trees.path() / ".ovrel-lock");
    fs::create_symlink("target", trees.path() / ".ovrel-lock");
    EXPECT_THROW(LockFile(trees.place()), std::system_error);
    EXPECT_FALSE(fs::exists(trees.path() / "target"));
}

} // namespace
