// The power is cut before each call in turn; then the disk is looked at somewhere else, as after a restore.

#include "tests/updates/installation/test_trees.h"
#include "updates/installation/exchange.h"
#include "updates/installation/recovery.h"

#include <cerrno>
#include <filesystem>
#include <functional>
#include <ostream>
#include <string>

#include <gmock/gmock.h>

namespace {

namespace fs = std::filesystem;
using namespace ovrel;
using namespace ovrel::test;
using testing::AnyOf;
using testing::ElementsAre;

struct Work {
    const char* what;
    bool canExchange;
    std::function<void(const TestTrees&)> before; ///< is not interrupted
    std::function<void(TreeCalls&, const TestTrees&)> cut;
    int leastCalls; ///< the work consists of at least this many
};

void PrintTo(const Work& work, std::ostream* out) {
    *out << work.what;
}

void installUpdate(TreeCalls& calls, const TestTrees& trees) {
    install(calls, trees.place(), trees.order());
}

void installed(const TestTrees& trees) {
    TreeCalls calls;
    installUpdate(calls, trees);
}

void takeUpdateBack(TreeCalls& calls, const TestTrees& trees) {
    ASSERT_TRUE(takeBack(calls, trees.place(), readJournal(trees.place()).value()));
}

void confirm(TreeCalls& calls, const TestTrees& trees) {
    confirmHealthyStart(calls, trees.place(), identityOf(trees.tree()).value());
}

/// A program starts in what the power cut has left: the one in place, or where there is none, the previous one.
void startOnce(const fs::path& folder) {
    const fs::path tree = fs::exists(folder / "ovrel") ? folder / "ovrel" : folder / ".ovrel-previous";
    ASSERT_NE(versionAt(tree), "incomplete");
    ASSERT_NE(versionAt(tree), "none");
    const InstallationPlace place(tree);
    const FileIdentity running = identityOf(tree).value();
    InstanceLock instance(place);
    TreeCalls calls;
    const StartReport report = recoverAtStart(calls, place, running, instance);
    EXPECT_TRUE(report.kept.empty());
    EXPECT_THAT(versionAt(folder / "ovrel"), AnyOf("2.3", "2.4"));
    if (report.failedVersion) {
        EXPECT_EQ(*report.failedVersion, "2.4");
        EXPECT_EQ(versionAt(folder / "ovrel"), "2.3");
        forgetFailedVersion(calls, place, *report.failedVersion);
    }
}

class PowerCutDuring : public testing::TestWithParam<Work> {};

TEST_P(PowerCutDuring, LeavesOneCompleteTreeAfterTheNextStart) {
    const Work& work = GetParam();
    bool wasCut = true;
    int number = 0;
    while (wasCut) {
        ++number;
        SCOPED_TRACE("call " + std::to_string(number));
        const TestTrees trees;
        work.before(trees);
        TestCalls calls;
        calls.cutAt = number;
        if (!work.canExchange) {
            calls.failures[{"exchange", 0}] = EINVAL;
        }
        try {
            work.cut(calls, trees);
            wasCut = false;
        } catch (const PowerCut&) {
        }
        const TemporaryFolder restored;
        fs::copy(trees.path(), restored.path(), fs::copy_options::recursive);
        startOnce(restored.path());
        const std::string version = versionAt(restored / "ovrel");

        // A start or two later nothing is left over, and it is still the same version.
        TreeCalls real;
        startOnce(restored.path());
        confirmHealthyStart(real, InstallationPlace(restored / "ovrel"), identityOf(restored / "ovrel").value());
        startOnce(restored.path());
        EXPECT_EQ(versionAt(restored / "ovrel"), version);
        EXPECT_FALSE(fs::exists(restored / "ovrel" / ".update-mark"));
        std::vector<std::string> left = namesIn(restored.path());
        std::erase(left, ".ovrel-journal-next"); // the next journal takes its place
        std::erase(left, TestTrees::staging);    // an update that had not begun yet; the engine removes it some day
        EXPECT_THAT(left, ElementsAre("ovrel"));
    }
    EXPECT_GT(number, work.leastCalls);
}

INSTANTIATE_TEST_SUITE_P(Updates, PowerCutDuring,
                         testing::Values(Work{"install", true, [](const TestTrees&) {}, installUpdate, 12},
                                         Work{"install in two steps", false, [](const TestTrees&) {}, installUpdate,
                                              13},
                                         Work{"take back", true, installed, takeUpdateBack, 10},
                                         Work{"take back in two steps", false, installed, takeUpdateBack, 11},
                                         Work{"confirm", true, installed, confirm, 6}));

} // namespace
