#include "tests/support/child_process.h"
#include "tests/support/private_mounts.h"
#include "tests/support/refused_calls.h"
#include "tests/support/temporary_folder.h"
#include "tests/updates/engine/update_failure.h"
#include "updates/engine/directory_walk.h"
#include "updates/engine/staging.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;
using std::chrono::system_clock;
using testing::ElementsAre;
using testing::MatchesRegex;
using testing::SizeIs;

constexpr const char* staleName = ".Ovrel 2-update-0123456789abcdef0123456789abcdef";
constexpr const char* refused = "2000";

/// An installation in a folder of its own.
class StagingTest : public testing::Test {
protected:
    StagingTest() { folder_.write("Ovrel 2/bin/ovrel", "program"); }

    fs::path installation() const { return folder_ / "Ovrel 2"; }

    std::vector<std::string> besides() const {
        std::vector<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder_.path())) {
            if (entry.path() != installation()) {
                names.push_back(entry.path().filename());
            }
        }
        return names;
    }

    /// A staging folder of a program that is gone.
    fs::path leaveBehind(const std::string& name = staleName) const {
        folder_.write(name + "/tree/ovrel/bin/ovrel", "program");
        folder_.write(name + "/lock", "");
        fs::permissions(folder_ / name, fs::perms::owner_all);
        return folder_ / name;
    }

    static void setAge(const fs::path& path, std::chrono::hours age) {
        fs::last_write_time(path, fs::file_time_type::clock::now() - age);
    }

    void sweep() const { removeStaleStaging(installation(), system_clock::now()); }

    TemporaryFolder folder_;
};

TEST_F(StagingTest, IsAPrivateFolderBesideTheInstallation) {
    const Staging staging = Staging::create(installation());
    EXPECT_EQ(staging.path().parent_path(), installation().parent_path());
    EXPECT_THAT(staging.path().filename().native(), MatchesRegex("\\.Ovrel 2-update-[0-9a-f]+"));
    EXPECT_EQ(fs::status(staging.path()).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(staging.path() / "tree").permissions(), fs::perms::owner_all);
    EXPECT_TRUE(fs::is_empty(staging.path() / "tree"));
    struct stat byPath {};
    struct stat byDescriptor {};
    ASSERT_EQ(::stat((staging.path() / "tree").c_str(), &byPath), 0);
    ASSERT_EQ(::fstat(staging.tree(), &byDescriptor), 0);
    EXPECT_EQ(byPath.st_ino, byDescriptor.st_ino);
    EXPECT_EQ(byPath.st_uid, ::geteuid());
}

TEST_F(StagingTest, IsPrivateWhateverTheMaskAndTheParentSay) {
    fs::permissions(folder_.path(), fs::perms::set_gid | fs::perms::owner_all | fs::perms::group_all);
    const mode_t before = ::umask(0);
    {
        const Staging staging = Staging::create(installation());
        EXPECT_EQ(fs::status(staging.path()).permissions(), fs::perms::owner_all);
    }
    ::umask(before);
}

TEST_F(StagingTest, HasANameOfItsOwnEachTime) {
    const Staging first = Staging::create(installation());
    const Staging second = Staging::create(installation());
    EXPECT_NE(first.path(), second.path());
}

TEST_F(StagingTest, IsRemovedAtTheEnd) {
    {
        const Staging staging = Staging::create(installation());
        folder_.write(staging.path() / "tree/a/b/c", "x");
    }
    EXPECT_THAT(besides(), ElementsAre());
}

TEST_F(StagingTest, IsRemovedOnceWhenMoved) {
    Staging first = Staging::create(installation());
    {
        const Staging second = std::move(first);
        EXPECT_THAT(besides(), SizeIs(1));
    }
    EXPECT_THAT(besides(), ElementsAre());
    first = Staging::create(installation());
    first = Staging::create(installation());
    EXPECT_THAT(besides(), SizeIs(1));
}

TEST_F(StagingTest, StaysWhenKept) {
    {
        Staging staging = Staging::create(installation());
        staging.keep();
    }
    EXPECT_THAT(besides(), SizeIs(1));
}

TEST_F(StagingTest, IsRefusedWhereThereIsNoInstallation) {
    for (const fs::path& path : {folder_ / "nothing", folder_ / "nothing/Ovrel", fs::path("/"), fs::path()}) {
        EXPECT_EQ(failureOf([&] { Staging::create(path); }), refused) << path;
    }
    EXPECT_THAT(besides(), ElementsAre());
}

TEST_F(StagingTest, IsRefusedOnAnotherFileSystemThanTheInstallation) {
    const bool ran = runWithOwnMounts([&] {
        mountMemory(installation(), "size=1m");
        EXPECT_EQ(failureOf([&] { Staging::create(installation()); }), refused);
    });
    if (!ran) {
        GTEST_SKIP() << "nothing can be mounted here";
    }
    EXPECT_THAT(besides(), ElementsAre());
}

TEST_F(StagingTest, IsRefusedInAReadOnlyFolder) {
    const bool ran = runWithRefusedCalls(
        {{SYS_mkdirat, EROFS}}, [&] { EXPECT_EQ(failureOf([&] { Staging::create(installation()); }), refused); });
    if (!ran) {
        GTEST_SKIP() << "system calls cannot be refused here";
    }
}

TEST_F(StagingTest, RemovalFollowsNoLink) {
    folder_.write("elsewhere/precious", "content");
    {
        const Staging staging = Staging::create(installation());
        fs::create_directory_symlink(folder_ / "elsewhere", staging.path() / "tree/link");
        fs::create_directory_symlink("../../elsewhere", staging.path() / "link");
        fs::create_symlink(folder_ / "elsewhere/precious", staging.path() / "tree/file");
    }
    EXPECT_EQ(contentOf(folder_ / "elsewhere/precious"), "content");
    EXPECT_THAT(besides(), ElementsAre("elsewhere"));
}

TEST_F(StagingTest, RemovalTakesNothingThatHasComeByTheName) {
    folder_.write("elsewhere/precious", "content");
    fs::path path;
    {
        const Staging staging = Staging::create(installation());
        folder_.write(staging.path() / "tree/file", "x");
        path = staging.path();
        fs::rename(path, folder_ / "moved away");
        fs::rename(folder_ / "elsewhere", path);
    }
    EXPECT_EQ(contentOf(path / "precious"), "content");
    EXPECT_TRUE(fs::is_empty(folder_ / "moved away"));
}

TEST_F(StagingTest, RemovalTakesNothingThatALinkOfTheNameLeadsTo) {
    folder_.write("elsewhere/precious", "content");
    {
        const Staging staging = Staging::create(installation());
        fs::rename(staging.path(), folder_ / "moved away");
        fs::create_directory_symlink(folder_ / "elsewhere", staging.path());
    }
    EXPECT_EQ(contentOf(folder_ / "elsewhere/precious"), "content");
}

TEST_F(StagingTest, RemovalDoesNotEnterAnotherFileSystem) {
    const bool ran = runWithOwnMounts([&] {
        const Staging staging = Staging::create(installation());
        const fs::path at = staging.path() / "tree";
        mountMemory(at, "size=1m");
        folder_.write(at / "precious", "content");
        EXPECT_FALSE(removeDirectory(staging.parent(), staging.path().filename(), staging.directory()));
        EXPECT_EQ(contentOf(at / "precious"), "content");
    });
    if (!ran) {
        GTEST_SKIP() << "nothing can be mounted here";
    }
}

TEST_F(StagingTest, RemovalEndsInAbsurdDepth) {
    const Staging staging = Staging::create(installation());
    fs::path deep = staging.path() / "tree";
    for (int level = 0; level < 300; ++level) {
        deep /= "d";
    }
    fs::create_directories(deep);
    EXPECT_FALSE(removeDirectory(staging.parent(), staging.path().filename(), staging.directory()));
    fs::remove_all(staging.path() / "tree/d");
}

TEST_F(StagingTest, OfAProgramThatIsGoneIsRemoved) {
    leaveBehind();
    sweep();
    EXPECT_THAT(besides(), ElementsAre());
}

TEST_F(StagingTest, InUseStays) {
    const Staging staging = Staging::create(installation());
    setAge(staging.path(), std::chrono::hours(24 * 400));
    sweep();
    EXPECT_TRUE(fs::is_directory(staging.path() / "tree"));
    EXPECT_TRUE(fs::exists(staging.path() / "lock"));
}

TEST_F(StagingTest, StaysInUseWhileAnotherProcessHasItsLock) {
    Staging staging = Staging::create(installation());
    int channel[2];
    ASSERT_EQ(::pipe(channel), 0);
    ChildProcess child([&] {
        ::close(channel[1]);
        char byte = 0;
        return static_cast<int>(::read(channel[0], &byte, 1)); // until the other end is closed
    });
    ::close(channel[0]);
    const fs::path path = staging.path();
    staging.keep();
    staging = Staging::create(installation());
    sweep();
    EXPECT_TRUE(fs::exists(path / "tree"));
    ::close(channel[1]);
    EXPECT_EQ(child.wait(), 0);
    sweep();
    EXPECT_FALSE(fs::exists(path));
    EXPECT_TRUE(fs::exists(staging.path() / "tree"));
}

TEST_F(StagingTest, WithoutALockIsRemovedAfterTenDays) {
    struct Row {
        std::chrono::hours age;
        bool stays;
    };
    const Row rows[] = {{std::chrono::hours(-100), true},
                        {std::chrono::hours(0), true},
                        {std::chrono::hours(239), true},
                        {std::chrono::hours(241), false}};
    for (const Row& row : rows) {
        const fs::path path = leaveBehind();
        fs::remove(path / "lock");
        setAge(path, row.age);
        sweep();
        EXPECT_EQ(fs::exists(path), row.stays) << row.age.count();
        fs::remove_all(path);
    }
}

TEST_F(StagingTest, AreFoundByTheirWholeName) {
    const std::string digits(32, '0');
    const std::string names[] = {
        ".Ovrel-update-" + digits,
        ".Ovrel 2-update-" + digits + "0",
        ".Ovrel 2-update-" + digits.substr(1),
        "Ovrel 2-update-" + digits,
        ".Ovrel 2-update-" + digits.substr(1) + "G",
        ".Ovrel 2-update-",
        ".Ovrel 22-update-" + digits,
    };
    for (const std::string& name : names) {
        leaveBehind(name);
    }
    sweep();
    EXPECT_THAT(besides(), SizeIs(std::size(names)));
}

TEST_F(StagingTest, ThatOthersMayEnterIsNotOurs) {
    const fs::path path = leaveBehind();
    fs::permissions(path, fs::perms::owner_all | fs::perms::group_read);
    sweep();
    EXPECT_TRUE(fs::exists(path / "lock"));
}

TEST_F(StagingTest, OfAnotherUserIsNotOurs) {
    const fs::path path = leaveBehind();
    if (::chown(path.c_str(), 65534, 65534) != 0) {
        GTEST_SKIP() << "this user cannot give files away";
    }
    sweep();
    EXPECT_TRUE(fs::exists(path / "lock"));
}

TEST_F(StagingTest, IsNotFoundThroughALink) {
    const fs::path path = leaveBehind();
    fs::rename(path, folder_ / "elsewhere");
    fs::create_directory_symlink(folder_ / "elsewhere", path);
    sweep();
    EXPECT_TRUE(fs::exists(folder_ / "elsewhere/lock"));
}

TEST_F(StagingTest, WhoseLockIsNoFileStays) {
    const fs::path path = leaveBehind();
    fs::remove(path / "lock");
    fs::create_symlink(folder_.write("elsewhere", "content"), path / "lock");
    sweep();
    EXPECT_TRUE(fs::exists(path / "tree"));
    fs::remove(path / "lock");
    ASSERT_EQ(::mkfifo((path / "lock").c_str(), 0600), 0);
    sweep(); // and does not wait for somebody to write
}

TEST_F(StagingTest, SweepingANonexistentFolderDoesNothing) {
    removeStaleStaging(folder_ / "nothing/Ovrel", system_clock::now());
    removeStaleStaging("", system_clock::now());
    EXPECT_THAT(besides(), ElementsAre());
}

} // namespace

} // namespace ovrel::test
