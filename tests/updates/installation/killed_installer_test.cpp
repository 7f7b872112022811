// The installer is killed before each change that it makes in turn; then the program is started again.

#include "tests/updates/installation/played_installation.h"
#include "tests/updates/installation/test_trees.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <ostream>

#include <gmock/gmock.h>

namespace {

namespace fs = std::filesystem;
using namespace ovrel;
using namespace ovrel::test;
using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;

struct Killing {
    const char* what;
    const char* who;
    const char* scope;
    int exchangeError;
    const char* behaviour; ///< of the new version
    int leastCalls;
};

void PrintTo(const Killing& killing, std::ostream* out) {
    *out << killing.what;
}

class KilledInstaller : public testing::TestWithParam<Killing> {};

TEST_P(KilledInstaller, LeavesOneCompleteProgramAfterTheNextStarts) {
    const Killing& killing = GetParam();
    bool wasKilled = true;
    int call = 0;
    while (wasKilled) {
        ++call;
        SCOPED_TRACE("call " + std::to_string(call));
        PlayedInstallation played(OVREL_TEST_INSTALLER, killing.behaviour);
        std::ofstream(played.stagingFolder() / "interrupt")
            << call << " " << killing.who << " " << killing.scope << " " << killing.exchangeError;
        played.playToTheEnd("relaunch");
        wasKilled = fs::remove(played.parent() / "killed");

        const bool mayBeEmpty = killing.exchangeError != 0 && std::string(killing.scope) == "all";
        const std::string found = PlayedInstallation::versionAt(played.tree());
        EXPECT_TRUE(found == "2.3" || found == "2.4" || (mayBeEmpty && found == "none")) << found;
        if (std::string(killing.scope) == "one") { // the other half of the installer has gone on
            EXPECT_EQ(played.starts().size(), 2U);
        }

        // The third start at the latest takes a version back that does not run.
        for (int start = 0; start < 4; ++start) {
            played.playToTheEnd();
        }
        const std::string version = PlayedInstallation::versionAt(played.tree());
        if (std::string(killing.behaviour).empty()) {
            EXPECT_THAT(version, AnyOf("2.3", "2.4"));
        } else {
            EXPECT_EQ(version, "2.3");
        }
        EXPECT_EQ(played.startedVersions().back(), version);
        std::vector<std::string> left = namesIn(played.parent());
        std::erase(left, ".ovrel-journal-next");
        std::erase(left, PlayedInstallation::staging); // an update that had not begun yet
        EXPECT_THAT(left, ElementsAre("ovrel"));
    }
    EXPECT_GT(call, killing.leastCalls);
}

INSTANTIATE_TEST_SUITE_P(
    Halves, KilledInstaller,
    testing::Values(Killing{"all of it", "worker", "all", 0, "", 12}, Killing{"the worker", "worker", "one", 0, "", 12},
                    Killing{"all of it, in two steps", "worker", "all", EINVAL, "", 13},
                    Killing{"the worker, in two steps", "worker", "one", EINVAL, "", 13},
                    Killing{"while it takes back", "guardian", "all", 0, "crash later", 10},
                    Killing{"while it takes back in two steps", "guardian", "all", EINVAL, "crash later", 11}));

TEST(ConfinedInstaller, OpensNoSocket) {
    // The installer of this test would be killed for one.
    PlayedInstallation played(OVREL_TEST_INSTALLER);
    played.playToTheEnd("relaunch");
    EXPECT_THAT(played.startedVersions(), Contains("2.4"));
    EXPECT_EQ(PlayedInstallation::versionAt(played.tree()), "2.4");
}

} // namespace
