// Real programs and the installer as it is shipped.

#include "tests/updates/installation/played_installation.h"
#include "tests/updates/installation/test_trees.h"
#include "tests/updates/installation/working_program.h"
#include "updates/installation/clean_environment.h"
#include "updates/installation/installed_layout.h"
#include "updates/installation/instance_lock.h"
#include "updates/installation/launch_installer.h"
#include "updates/installation/recovery.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string_view>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace ovrel;
using namespace ovrel::test;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::SizeIs;
using testing::UnorderedElementsAre;

TEST(Installer, InstallsAfterTheProgramsEndAndStartsItOnce) {
    PlayedInstallation played(OVREL_INSTALLER);
    played.playToTheEnd("relaunch");
    EXPECT_EQ(PlayedInstallation::versionAt(played.tree()), "2.4");
    EXPECT_THAT(played.startedVersions(), ElementsAre("2.3", "2.4"));
    EXPECT_THAT(namesIn(played.parent()), ElementsAre("ovrel")); // neither the previous tree, a journal nor staging
    EXPECT_FALSE(fs::exists(played.tree() / ".update-mark"));
}

TEST(Installer, StartsTheProgramAsADesktopWould) {
    PlayedInstallation played(OVREL_INSTALLER);
    played.playToTheEnd("relaunch");
    const std::vector<PlayedStart> starts = played.starts();
    ASSERT_EQ(starts.size(), 2U);
    const PlayedStart& start = starts.back();
    EXPECT_EQ(start.one("name"), (played.tree() / "bin" / "ovrel").native());
    EXPECT_THAT(start.all("argument"), ElementsAre("--relaunched-after-update=2.4"));
    EXPECT_EQ(start.one("folder"), played.home().native());
    EXPECT_EQ(start.one("session"), "own");
    EXPECT_THAT(start.all("blocked"), IsEmpty());
    EXPECT_THAT(start.all("ignored"), IsEmpty());
    EXPECT_THAT(start.all("descriptor"), ElementsAre("0 /dev/null", "1 /dev/null", "2 /dev/null"));
    EXPECT_THAT(start.all("environment"),
                ElementsAre("HOME=" + played.home().native(),
                            "OVREL_TEST_RECORD=" + (played.home() / "record").native(), "DISPLAY=:7",
                            "WAYLAND_DISPLAY=wayland-7", "LANG=ru_RU.UTF-8", "XDG_RUNTIME_DIR=/run/user/7",
                            "DBUS_SESSION_BUS_ADDRESS=unix:path=/run/user/7/bus"));
}

TEST(Installer, HandsOnEveryEnvironmentThatAProgramCanHave) {
    // A quarter of the stack holds it at a program's start, 2 MiB as a rule (execve(2)).
    std::vector<std::string> variables;
    for (int number = 0; number < 15; ++number) {
        variables.push_back("LARGE" + std::to_string(number) + "=" + std::string(100'000, 'x'));
    }
    PlayedInstallation played(OVREL_INSTALLER);
    PlayedProcess program = played.start("relaunch", variables);
    ASSERT_TRUE(program.hasSpoken());
    program.quit();
    waitForAllProcesses();
    ASSERT_THAT(played.startedVersions(), ElementsAre("2.3", "2.4"));
    EXPECT_THAT(played.starts().back().all("environment"), IsSupersetOf(variables));
}

TEST(Installer, InstallsWithoutAWordAndStartsNothing) {
    PlayedInstallation played(OVREL_INSTALLER);
    played.playToTheEnd("silent");
    EXPECT_EQ(PlayedInstallation::versionAt(played.tree()), "2.4");
    EXPECT_EQ(PlayedInstallation::versionAt(played.previous()), "2.3");
    EXPECT_THAT(played.startedVersions(), ElementsAre("2.3"));
    EXPECT_THAT(namesIn(played.parent()), ElementsAre(".ovrel-journal", ".ovrel-previous", "ovrel"));

    played.playToTheEnd();
    EXPECT_THAT(played.startedVersions(), ElementsAre("2.3", "2.4"));
    EXPECT_THAT(namesIn(played.parent()), ElementsAre("ovrel"));
}

TEST(Installer, GivesTheUpdateUpAtAWord) {
    for (const char* story : {"cancel", "relaunch, then cancel"}) {
        PlayedInstallation played(OVREL_INSTALLER);
        played.playToTheEnd(story);
        EXPECT_EQ(PlayedInstallation::versionAt(played.tree()), "2.3");
        EXPECT_THAT(played.startedVersions(), ElementsAre("2.3"));
        EXPECT_THAT(namesIn(played.parent()), ElementsAre("ovrel"));
    }
}

TEST(Installer, WaitsForAProgramThatDoesNotQuit) {
    PlayedInstallation played(OVREL_INSTALLER);
    PlayedProcess program = played.start("relaunch twice");
    ASSERT_TRUE(program.hasSpoken());
    EXPECT_EQ(PlayedInstallation::versionAt(played.tree()), "2.3");
    TreeCalls calls;
    EXPECT_FALSE(lockForNewUpdate(calls, played.place(), identityOf(played.tree()).value(),
                                  nullptr)); // the update is the installer's
    program.quit();
    waitForAllProcesses();
    EXPECT_EQ(PlayedInstallation::versionAt(played.tree()), "2.4");
    EXPECT_THAT(played.startedVersions(), ElementsAre("2.3", "2.4"));
}

/// Once an installer has waited for a while, it waits without an end, and the system lists it (proc_locks(5)).
void waitUntilAnInstallerWaits(const PlayedInstallation& played) {
    struct stat facts = {};
    ASSERT_EQ(::stat((played.parent() / played.place().lockName()).c_str(), &facts), 0);
    const std::string file = ":" + std::to_string(facts.st_ino) + " ";
    for (bool isListed = false; !isListed; std::this_thread::yield()) {
        std::istringstream locks(contentOf("/proc/locks"));
        for (std::string line; std::getline(locks, line);) {
            isListed = isListed || (line.find("->") != std::string::npos && line.find(file) != std::string::npos);
        }
    }
}

TEST(Installer, WaitsForAWindowThatWasOpenedMeanwhileAndOpensNoneAfterIt) {
    PlayedInstallation played(OVREL_INSTALLER);
    {
        const InstanceLock other(played.place());
        PlayedProcess program = played.start("relaunch");
        ASSERT_TRUE(program.hasSpoken());
        program.quit();
        ASSERT_EQ(::waitpid(program.process, nullptr, 0), program.process);
        EXPECT_EQ(PlayedInstallation::versionAt(played.tree()), "2.3");
        EXPECT_FALSE(UpdateLock::tryAcquire(played.place()));
        waitUntilAnInstallerWaits(played);
    }
    waitForAllProcesses();
    EXPECT_EQ(PlayedInstallation::versionAt(played.tree()), "2.4");
    EXPECT_THAT(played.startedVersions(), ElementsAre("2.3"));
}

/// Whether a process holds a handle of this one (pidfd, proc_pid_fdinfo(5)), and has ended its look at all the others.
bool holdsHandleOf(pid_t process, const fs::path& holder) {
    const std::string wanted = "Pid:\t" + std::to_string(process);
    bool holds = false;
    std::error_code gone;
    for (fs::directory_iterator entry(holder / "fd", gone); entry != fs::directory_iterator(); entry.increment(gone)) {
        std::error_code closed;
        if (fs::read_symlink(entry->path(), closed) == "/proc") {
            return false;
        }
        std::ifstream facts(holder / "fdinfo" / entry->path().filename());
        for (std::string line; std::getline(facts, line);) {
            holds = holds || line == wanted;
        }
    }
    return holds;
}

bool isWaitedFor(pid_t process) {
    const fs::path self = "/proc/" + std::to_string(::getpid());
    const fs::directory_iterator processes("/proc");
    return std::any_of(begin(processes), end(processes), [&](const fs::directory_entry& entry) {
        return entry.path() != self && holdsHandleOf(process, entry.path());
    });
}

TEST(Installer, WaitsForAProgramThatHoldsNoLock) {
    PlayedInstallation played(OVREL_INSTALLER);
    {
        const WorkingProgram batch(played.tree());
        PlayedProcess program = played.start("relaunch");
        ASSERT_TRUE(program.hasSpoken());
        program.quit();
        ASSERT_EQ(::waitpid(program.process, nullptr, 0), program.process);
        while (!isWaitedFor(batch.process())) {
            std::this_thread::yield();
        }
        EXPECT_EQ(PlayedInstallation::versionAt(played.tree()), "2.3");
    }
    waitForAllProcesses();
    EXPECT_EQ(PlayedInstallation::versionAt(played.tree()), "2.4");
    EXPECT_THAT(played.startedVersions(), ElementsAre("2.3", "2.4"));
}

TEST(Installer, LetsWindowsOpenAndCloseWhileItWaits) {
    PlayedInstallation played(OVREL_INSTALLER);
    {
        const WorkingProgram batch(played.tree());
        PlayedProcess program = played.start("relaunch");
        ASSERT_TRUE(program.hasSpoken());
        program.quit();
        for (int times = 0; times < 10; ++times) {
            const PlayedProcess window = played.start();
            int status = -1;
            ASSERT_EQ(::waitpid(window.process, &status, 0), window.process);
            EXPECT_EQ(status, 0);
        }
        EXPECT_EQ(PlayedInstallation::versionAt(played.tree()), "2.3");
        EXPECT_THAT(played.startedVersions(), AllOf(SizeIs(11), Each("2.3")));
    }
    waitForAllProcesses();
    EXPECT_EQ(PlayedInstallation::versionAt(played.tree()), "2.4");
}

TEST(Installer, BringsTheOldVersionBackWhenTheNewOneDoesNotStart) {
    for (const char* behaviour : {"crash at once", "crash later", "bad status"}) {
        SCOPED_TRACE(behaviour);
        PlayedInstallation played(OVREL_INSTALLER, behaviour);
        played.playToTheEnd("relaunch");
        EXPECT_EQ(PlayedInstallation::versionAt(played.tree()), "2.3");
        EXPECT_THAT(played.startedVersions(), ElementsAre("2.3", "2.4", "2.3"));
        const PlayedStart last = played.starts().back();
        EXPECT_THAT(last.all("failed"), ElementsAre("2.4"));
        EXPECT_THAT(last.all("argument"), IsEmpty());
        EXPECT_THAT(last.all("restart"), IsEmpty());
        EXPECT_EQ(last.one("folder"), played.home().native());
        EXPECT_THAT(last.all("descriptor"), ElementsAre("0 /dev/null", "1 /dev/null", "2 /dev/null"));
        EXPECT_THAT(namesIn(played.parent()), ElementsAre("ovrel"));
    }
}

TEST(Installer, LeavesAProgramInPlaceThatEndsWellOrIsAskedToEnd) {
    for (const char* behaviour : {"never confirm", "SIGTERM", "SIGHUP", "SIGINT"}) {
        SCOPED_TRACE(behaviour);
        PlayedInstallation played(OVREL_INSTALLER, behaviour);
        played.playToTheEnd("relaunch");
        EXPECT_EQ(PlayedInstallation::versionAt(played.tree()), "2.4");
        EXPECT_EQ(PlayedInstallation::versionAt(played.previous()), "2.3");
        EXPECT_THAT(played.startedVersions(), ElementsAre("2.3", "2.4"));
    }
}

TEST(Installer, LeavesItToTheNextStartsWhenItDoesNotWatch) {
    PlayedInstallation played(OVREL_INSTALLER, "crash later");
    played.playToTheEnd("silent");
    played.playToTheEnd();
    played.playToTheEnd();
    EXPECT_EQ(PlayedInstallation::versionAt(played.tree()), "2.4");
    played.playToTheEnd(); // begins as 2.4 and goes on as 2.3
    EXPECT_EQ(PlayedInstallation::versionAt(played.tree()), "2.3");
    EXPECT_THAT(played.startedVersions(), ElementsAre("2.3", "2.4", "2.4", "2.4", "2.3"));
    EXPECT_THAT(played.starts().back().all("failed"), ElementsAre("2.4"));
    EXPECT_THAT(namesIn(played.parent()), ElementsAre("ovrel"));
}

TEST(Installer, TakesBackWhatCannotBeLoadedThoughItStartsNothing) {
    for (const char* story : {"silent", "relaunch"}) {
        SCOPED_TRACE(story);
        PlayedInstallation played(OVREL_INSTALLER);
        std::ofstream(played.stagingFolder() / "tree" / "ovrel" / "bin" / "ovrel") << "\x7f"
                                                                                   << "ELF broken";
        {
            const bool isForAWindow = std::string_view(story) == "relaunch"; // which its user closes
            const std::optional<InstanceLock> window =
                isForAWindow ? std::make_optional<InstanceLock>(played.place()) : std::nullopt;
            PlayedProcess program = played.start(story);
            ASSERT_TRUE(program.hasSpoken());
            program.quit();
            if (isForAWindow) {
                waitUntilAnInstallerWaits(played);
            }
        }
        waitForAllProcesses();
        EXPECT_EQ(PlayedInstallation::versionAt(played.tree()), "2.3");
        EXPECT_THAT(played.startedVersions(), ElementsAre("2.3"));
        EXPECT_EQ(readJournal(played.place())->state, JournalState::failed);
        played.playToTheEnd();
        EXPECT_THAT(played.starts().back().all("failed"), ElementsAre("2.4"));
        EXPECT_THAT(namesIn(played.parent()), ElementsAre("ovrel"));
    }
}

TEST(Installer, RefusesAFolderThatTookTheInstallationsPlace) {
    for (const bool asLink : {false, true}) {
        PlayedInstallation played(OVREL_INSTALLER);
        PlayedProcess program = played.start("relaunch");
        ASSERT_TRUE(program.hasSpoken());
        fs::rename(played.tree(), played.parent() / "elsewhere");
        if (asLink) {
            fs::create_directory_symlink("elsewhere", played.tree());
        } else {
            fs::copy(played.parent() / "elsewhere", played.tree(), fs::copy_options::recursive);
        }
        program.quit();
        waitForAllProcesses();
        EXPECT_EQ(PlayedInstallation::versionAt(played.parent() / "elsewhere"), "2.3");
        EXPECT_EQ(fs::is_symlink(played.tree()), asLink);
        EXPECT_EQ(contentOf(played.tree() / "version"), "2.3");
        EXPECT_THAT(played.startedVersions(), ElementsAre("2.3"));
        EXPECT_THAT(namesIn(played.parent()), UnorderedElementsAre("elsewhere", "ovrel"));
    }
}

TEST(Installer, RefusesATreeThatTookTheVerifiedOnesPlaceAndStartsTheOldOne) {
    PlayedInstallation played(OVREL_INSTALLER);
    PlayedProcess program = played.start("relaunch");
    ASSERT_TRUE(program.hasSpoken());
    const fs::path staged = played.stagingFolder() / "tree" / "ovrel";
    fs::rename(staged, played.parent() / "verified");
    fs::copy(played.parent() / "verified", staged, fs::copy_options::recursive);
    program.quit();
    waitForAllProcesses();
    EXPECT_EQ(PlayedInstallation::versionAt(played.tree()), "2.3");
    EXPECT_THAT(played.startedVersions(), ElementsAre("2.3", "2.3"));
    EXPECT_THAT(played.starts().back().all("argument"), IsEmpty());
    EXPECT_THAT(namesIn(played.parent()), ElementsAre("ovrel", "verified"));
}

TEST(Installer, NeverLeavesThePathWithoutAProgram) {
    PlayedInstallation played(OVREL_INSTALLER);
    PlayedProcess program = played.start("relaunch");
    ASSERT_TRUE(program.hasSpoken());
    const std::string path = (played.tree() / "bin" / "ovrel").native();
    std::atomic<bool> done = false;
    std::atomic<long> looks = 0;
    std::atomic<long> misses = 0;
    std::thread poller([&] {
        while (!done) {
            misses += ::access(path.c_str(), X_OK) == 0 ? 0 : 1;
            ++looks;
        }
    });
    program.quit();
    waitForAllProcesses();
    done = true;
    poller.join();
    EXPECT_EQ(PlayedInstallation::versionAt(played.tree()), "2.4");
    EXPECT_GT(looks, 0);
    EXPECT_EQ(misses, 0);
}

int errorOfLaunch(const InstallationPlace& place, const InstallerLaunch& launch) {
    const std::optional<UpdateLock> lock = UpdateLock::tryAcquire(place);
    try {
        launchInstaller(place, *lock, launch);
    } catch (const std::system_error& error) {
        return error.code().value();
    }
    return 0;
}

InstallerLaunch someLaunch() {
    return {.staging = PlayedInstallation::staging, .top = "ovrel", .version = "2.4", .environment = {}};
}

TEST(LaunchInstaller, SaysWhatIsWrong) {
    const PlayedInstallation played(OVREL_INSTALLER);
    InstallerLaunch launch = someLaunch();
    launch.environment = {std::string(environmentLimitBytes, 'x')};
    EXPECT_EQ(errorOfLaunch(played.place(), launch), E2BIG);
    launch = someLaunch();
    launch.program = "../bin/ovrel";
    EXPECT_EQ(errorOfLaunch(played.place(), launch), EINVAL);
    launch = someLaunch();
    launch.top = "missing";
    EXPECT_EQ(errorOfLaunch(played.place(), launch), ENOENT);
    const fs::path installer = played.tree() / installerPath;
    fs::remove(installer);
    EXPECT_EQ(errorOfLaunch(played.place(), someLaunch()), ENOENT);
    std::ofstream(installer) << "no program";
    EXPECT_EQ(errorOfLaunch(played.place(), someLaunch()), ENOEXEC);
    EXPECT_TRUE(UpdateLock::tryAcquire(played.place()));
}

TEST(LaunchInstaller, TellsWhenNobodyWaitsAnyMore) {
    const PlayedInstallation played(OVREL_INSTALLER);
    std::optional<UpdateLock> lock = UpdateLock::tryAcquire(played.place());
    WaitingInstaller installer = launchInstaller(played.place(), *lock, someLaunch());
    EXPECT_TRUE(installer.isWaiting());
    EXPECT_TRUE(installer.cancel());
    waitForAllProcesses();
    EXPECT_FALSE(installer.isWaiting());
    EXPECT_FALSE(installer.relaunch());
    EXPECT_FALSE(fs::exists(played.stagingFolder()));
    EXPECT_EQ(PlayedInstallation::versionAt(played.tree()), "2.3");
}

} // namespace
