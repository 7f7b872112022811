#include "tests/support/child_process.h"
#include "tests/support/private_mounts.h"
#include "tests/support/refused_calls.h"
#include "tests/support/skip_outside_ci.h"
#include "tests/support/temporary_folder.h"
#include "tests/updates/engine/update_failure.h"
#include "updates/engine/staging.h"
#include "updates/installation/journal.h"
#include "updates/installation/tree_removal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;
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
    InstallationPlace place() const { return InstallationPlace(installation()); }
    fs::path pathOf(const Staging& staging) const { return folder_ / staging.name(); }

    /// All but the installation and its lock file, which stays.
    std::vector<std::string> besides() const {
        std::vector<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder_.path())) {
            if (entry.path() != installation() && entry.path().filename() != place().lockName()) {
                names.push_back(entry.path().filename());
            }
        }
        return names;
    }

    /// A staging folder of a program that is gone.
    fs::path leaveBehind(const std::string& name = staleName) const {
        folder_.write(name + "/tree/ovrel/bin/ovrel", "program");
        fs::permissions(folder_ / name, fs::perms::owner_all);
        return folder_ / name;
    }

    /// As the start of a program does.
    /// \return false when somebody else has the lock
    bool sweep() const {
        const std::optional<UpdateLock> lock = UpdateLock::tryAcquire(place());
        if (lock) {
            removeStaleStaging(place(), *lock);
        }
        return lock.has_value();
    }

    TemporaryFolder folder_;
};

TEST_F(StagingTest, IsAPrivateFolderBesideTheInstallation) {
    const Staging staging = Staging::create(place());
    EXPECT_THAT(staging.name(), MatchesRegex("\\.Ovrel 2-update-[0-9a-f]{32}"));
    EXPECT_EQ(fs::status(pathOf(staging)).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(pathOf(staging) / "tree").permissions(), fs::perms::owner_all);
    EXPECT_TRUE(fs::is_empty(pathOf(staging) / "tree"));
    struct stat byPath {};
    struct stat byDescriptor {};
    ASSERT_EQ(::stat((pathOf(staging) / "tree").c_str(), &byPath), 0);
    ASSERT_EQ(::fstat(staging.tree(), &byDescriptor), 0);
    EXPECT_EQ(byPath.st_ino, byDescriptor.st_ino);
    EXPECT_EQ(byPath.st_uid, ::geteuid());
}

TEST_F(StagingTest, IsPrivateWhateverTheMaskAndTheParentSay) {
    fs::permissions(folder_.path(), fs::perms::set_gid | fs::perms::owner_all | fs::perms::group_all);
    const mode_t before = ::umask(0);
    {
        const Staging staging = Staging::create(place());
        EXPECT_EQ(fs::status(pathOf(staging)).permissions(), fs::perms::owner_all);
    }
    ::umask(before);
}

TEST_F(StagingTest, HasANameOfItsOwnEachTime) {
    const Staging first = Staging::create(place());
    const Staging second = Staging::create(place());
    EXPECT_NE(first.name(), second.name());
}

TEST_F(StagingTest, IsRemovedAtTheEnd) {
    {
        const Staging staging = Staging::create(place());
        folder_.write(pathOf(staging) / "tree/a/b/c", "x");
    }
    EXPECT_THAT(besides(), ElementsAre());
}

TEST_F(StagingTest, IsRemovedOnceWhenMoved) {
    Staging first = Staging::create(place());
    {
        const Staging second = std::move(first);
        EXPECT_THAT(besides(), SizeIs(1));
    }
    EXPECT_THAT(besides(), ElementsAre());
    first = Staging::create(place());
    first = Staging::create(place());
    EXPECT_THAT(besides(), SizeIs(1));
}

TEST_F(StagingTest, StaysWhenKept) {
    {
        Staging staging = Staging::create(place());
        staging.keep();
    }
    EXPECT_THAT(besides(), SizeIs(1));
}

TEST_F(StagingTest, IsRefusedWhereThereIsNoInstallation) {
    folder_.write("file", "content");
    for (const char* name : {"nothing", "file"}) {
        EXPECT_EQ(failureOf([&] { Staging::create(InstallationPlace(folder_ / name)); }), refused) << name;
    }
    EXPECT_THAT(besides(), ElementsAre("file"));
}

TEST_F(StagingTest, IsMadeForTheInstallationThatStandsAtItsPreviousName) {
    const InstallationPlace previous(folder_ / ".Ovrel 2-previous");
    EXPECT_THAT(Staging::create(previous).name(), MatchesRegex("\\.Ovrel 2-update-[0-9a-f]{32}"));
}

TEST_F(StagingTest, IsRefusedOnAnotherFileSystemThanTheInstallation) {
    const bool ran = runWithOwnMounts([&] {
        mountMemory(installation(), "size=1m");
        EXPECT_EQ(failureOf([&] { Staging::create(place()); }), refused);
    });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("nothing can be mounted here");
    }
    EXPECT_THAT(besides(), ElementsAre());
}

TEST_F(StagingTest, IsRefusedInAReadOnlyFolder) {
    const bool ran = runWithRefusedCalls({{SYS_mkdirat, EROFS}},
                                         [&] { EXPECT_EQ(failureOf([&] { Staging::create(place()); }), refused); });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("system calls cannot be refused here");
    }
}

TEST_F(StagingTest, RemovalFollowsNoLink) {
    folder_.write("elsewhere/precious", "content");
    {
        const Staging staging = Staging::create(place());
        fs::create_directory_symlink(folder_ / "elsewhere", pathOf(staging) / "tree/link");
        fs::create_directory_symlink("../../elsewhere", pathOf(staging) / "link");
        fs::create_symlink(folder_ / "elsewhere/precious", pathOf(staging) / "tree/file");
    }
    EXPECT_EQ(contentOf(folder_ / "elsewhere/precious"), "content");
    EXPECT_THAT(besides(), ElementsAre("elsewhere"));
}

TEST_F(StagingTest, RemovalTakesNothingThatHasComeByTheName) {
    folder_.write("elsewhere/precious", "content");
    fs::path path;
    {
        const Staging staging = Staging::create(place());
        folder_.write(pathOf(staging) / "tree/file", "x");
        path = pathOf(staging);
        fs::rename(path, folder_ / "moved away");
        fs::rename(folder_ / "elsewhere", path);
    }
    EXPECT_EQ(contentOf(path / "precious"), "content");
    EXPECT_TRUE(fs::is_empty(folder_ / "moved away"));
}

TEST_F(StagingTest, RemovalTakesNothingThatALinkOfTheNameLeadsTo) {
    folder_.write("elsewhere/precious", "content");
    {
        const Staging staging = Staging::create(place());
        fs::rename(pathOf(staging), folder_ / "moved away");
        fs::create_directory_symlink(folder_ / "elsewhere", pathOf(staging));
    }
    EXPECT_EQ(contentOf(folder_ / "elsewhere/precious"), "content");
}

TEST_F(StagingTest, RemovalDoesNotEnterAnotherFileSystem) {
    const bool ran = runWithOwnMounts([&] {
        const Staging staging = Staging::create(place());
        const fs::path at = pathOf(staging) / "tree";
        mountMemory(at, "size=1m");
        folder_.write(at / "precious", "content");
        EXPECT_FALSE(removeTree(place().parent(), staging.name()));
        EXPECT_EQ(contentOf(at / "precious"), "content");
    });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("nothing can be mounted here");
    }
}

TEST_F(StagingTest, RemovalEndsInAbsurdDepth) {
    const Staging staging = Staging::create(place());
    fs::path deep = pathOf(staging) / "tree";
    for (int level = 0; level < 300; ++level) {
        deep /= "d";
    }
    fs::create_directories(deep);
    EXPECT_FALSE(removeTree(place().parent(), staging.name()));
    fs::remove_all(pathOf(staging) / "tree/d");
}

TEST_F(StagingTest, OfAProgramThatIsGoneIsRemoved) {
    leaveBehind();
    EXPECT_TRUE(sweep());
    EXPECT_THAT(besides(), ElementsAre());
}

TEST_F(StagingTest, StaysWhileItsMakerHasTheLock) {
    const std::optional<UpdateLock> lock = UpdateLock::tryAcquire(place());
    ASSERT_TRUE(lock);
    const Staging staging = Staging::create(place());
    EXPECT_FALSE(sweep());
    EXPECT_TRUE(fs::is_directory(pathOf(staging) / "tree"));
}

TEST_F(StagingTest, OfAnInstallerStaysWhenItsMakerIsGone) {
    int channel[2];
    ASSERT_EQ(::pipe(channel), 0);
    fs::path path;
    std::optional<ChildProcess> installer;
    {
        const std::optional<UpdateLock> lock = UpdateLock::tryAcquire(place());
        ASSERT_TRUE(lock);
        Staging staging = Staging::create(place());
        path = pathOf(staging);
        installer.emplace([&] {
            ::close(channel[1]);
            char byte = 0;
            return static_cast<int>(::read(channel[0], &byte, 1)); // until the other end is closed
        });
        staging.keep();
    }
    ::close(channel[0]);
    EXPECT_FALSE(sweep());
    EXPECT_TRUE(fs::is_directory(path / "tree"));
    ::close(channel[1]);
    EXPECT_EQ(installer->wait(), 0);
    EXPECT_TRUE(sweep());
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(StagingTest, ThatAJournalNamesIsLeftToTheRecovery) {
    const fs::path path = leaveBehind();
    TreeCalls calls;
    const InstallationPlace here = place();
    writeJournal(calls, here,
                 Journal{.state = JournalState::exchanging,
                         .token = std::string(32, '0'),
                         .version = "2.4",
                         .staging = path.filename(),
                         .top = "ovrel"});
    ASSERT_TRUE(sweep());
    EXPECT_TRUE(fs::exists(path / "tree"));
    removeJournal(calls, here);
    ASSERT_TRUE(sweep());
    EXPECT_FALSE(fs::exists(path));
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
    EXPECT_TRUE(sweep());
    EXPECT_THAT(besides(), SizeIs(std::size(names)));
}

TEST_F(StagingTest, ThatOthersMayEnterIsNotOurs) {
    const fs::path path = leaveBehind();
    fs::permissions(path, fs::perms::owner_all | fs::perms::group_read);
    EXPECT_TRUE(sweep());
    EXPECT_TRUE(fs::exists(path / "tree"));
}

TEST_F(StagingTest, OfAnotherUserIsNotOurs) {
    const fs::path path = leaveBehind();
    if (::chown(path.c_str(), 65534, 65534) != 0) {
        OVREL_SKIP_OUTSIDE_CI("this user cannot give files away");
    }
    EXPECT_TRUE(sweep());
    EXPECT_TRUE(fs::exists(path / "tree"));
}

TEST_F(StagingTest, IsNotFoundThroughALink) {
    const fs::path path = leaveBehind();
    fs::rename(path, folder_ / "elsewhere");
    fs::create_directory_symlink(folder_ / "elsewhere", path);
    EXPECT_TRUE(sweep());
    EXPECT_TRUE(fs::exists(folder_ / "elsewhere/tree"));
}

} // namespace

} // namespace ovrel::test
