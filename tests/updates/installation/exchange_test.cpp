#include "updates/installation/exchange.h"

#include "tests/updates/installation/test_trees.h"
#include "updates/installation/recovery.h"

#include <cerrno>
#include <filesystem>
#include <ostream>
#include <string>
#include <system_error>
#include <vector>

#include <gmock/gmock.h>

namespace {

namespace fs = std::filesystem;
using namespace ovrel;
using namespace ovrel::test;
using testing::ElementsAre;

int errorOfInstall(TreeCalls& calls, const TestTrees& trees, const InstallOrder& order) {
    try {
        install(calls, trees.place(), order);
    } catch (const std::system_error& error) {
        return error.code().value();
    }
    return 0;
}

TEST(Exchange, PutsTheNewTreeInPlaceAndKeepsTheOldOne) {
    const TestTrees trees;
    const InstallOrder order = trees.order();
    TreeCalls calls;
    EXPECT_TRUE(install(calls, trees.place(), order).empty());
    EXPECT_EQ(versionAt(trees.tree()), "2.4");
    EXPECT_EQ(versionAt(trees.previous()), "2.3");
    EXPECT_EQ(identityOf(trees.place().parent(), "ovrel"), order.staged);
    EXPECT_EQ(identityOf(trees.place().parent(), ".ovrel-previous"), order.installed);
    const auto journal = readJournal(trees.place());
    ASSERT_TRUE(journal);
    EXPECT_EQ(journal->state, JournalState::installed);
    EXPECT_EQ(journal->version, "2.4");
    EXPECT_EQ(journal->startCount, 0U);
}

// What a power cut leaves hangs on this order, and no test of one shows whether something has reached the disk.
TEST(Exchange, WritesEachStepThroughBeforeTheNext) {
    const TestTrees trees;
    TestCalls calls;
    install(calls, trees.place(), trees.order());
    const std::vector<std::string> mark = {"remove .update-mark", "create .update-mark", "syncVolume"};
    const std::vector<std::string> journal = {"remove .ovrel-journal-next", "create .ovrel-journal-next",
                                              "replace .ovrel-journal", "sync"};
    const std::vector<std::string> exchange = {"exchange ovrel", "move .ovrel-previous", "sync", "sync"};
    std::vector<std::string> expected;
    for (const auto& step : {mark, journal, exchange, journal}) {
        expected.insert(expected.end(), step.begin(), step.end());
    }
    EXPECT_EQ(calls.made(), expected);
}

TEST(Exchange, RefusesWhileTheUpdateBeforeHasNotEnded) {
    const TestTrees trees;
    TreeCalls calls;
    install(calls, trees.place(), trees.order());
    makeTree(trees.staged(), "2.5");
    EXPECT_EQ(errorOfInstall(calls, trees, trees.order()), EBUSY);
    EXPECT_EQ(versionAt(trees.tree()), "2.4");
    EXPECT_EQ(versionAt(trees.previous()), "2.3");
}

TEST(Exchange, RefusesASymbolicLinkInTheInstallationsPlace) {
    const TestTrees trees;
    const InstallOrder order = trees.order();
    fs::rename(trees.tree(), trees.path() / "elsewhere");
    fs::create_directory_symlink("elsewhere", trees.tree());
    TreeCalls calls;
    EXPECT_EQ(errorOfInstall(calls, trees, order), ESTALE);
    EXPECT_TRUE(fs::is_symlink(trees.tree()));
    EXPECT_EQ(versionAt(trees.path() / "elsewhere"), "2.3");
    EXPECT_FALSE(fs::exists(trees.path() / ".ovrel-journal"));
}

TEST(Exchange, RefusesAnotherFolderInTheInstallationsPlace) {
    const TestTrees trees;
    const InstallOrder order = trees.order();
    fs::rename(trees.tree(), trees.path() / "elsewhere");
    makeTree(trees.tree(), "2.3");
    TreeCalls calls;
    EXPECT_EQ(errorOfInstall(calls, trees, order), ESTALE);
    EXPECT_EQ(versionAt(trees.tree()), "2.3");
    EXPECT_EQ(versionAt(trees.staged()), "2.4");
}

TEST(Exchange, RefusesAnotherTreeThanTheVerifiedOne) {
    for (const bool asLink : {false, true}) {
        const TestTrees trees;
        const InstallOrder order = trees.order();
        fs::rename(trees.staged(), trees.path() / "verified");
        makeTree(trees.path() / "foreign", "6.6");
        if (asLink) {
            fs::create_directory_symlink(trees.path() / "foreign", trees.staged());
        } else {
            fs::rename(trees.path() / "foreign", trees.staged());
        }
        TreeCalls calls;
        EXPECT_EQ(errorOfInstall(calls, trees, order), ESTALE);
        EXPECT_EQ(versionAt(trees.tree()), "2.3");
    }
}

// Between the last look and the exchange: the calls put another folder there themselves.
class SwappingCalls : public TestCalls {
public:
    explicit SwappingCalls(const TestTrees& trees) : trees_(trees) {}
    int exchange(int firstFolder, const std::string& first, int secondFolder, const std::string& second) override {
        if (!swapped_) {
            swapped_ = true;
            fs::rename(trees_.staged(), trees_.path() / "verified");
            makeTree(trees_.staged(), "6.6");
        }
        return TestCalls::exchange(firstFolder, first, secondFolder, second);
    }

private:
    const TestTrees& trees_;
    bool swapped_ = false;
};

TEST(Exchange, TakesAForeignTreeOutAgainThatCameInAtTheLastMoment) {
    for (const int exchangeError : {0, EINVAL}) {
        const TestTrees trees;
        SwappingCalls calls(trees);
        if (exchangeError != 0) {
            calls.failures[{"exchange", 0}] = exchangeError;
        }
        EXPECT_EQ(errorOfInstall(calls, trees, trees.order()), ESTALE);
        TreeCalls real;
        EXPECT_FALSE(settle(real, trees.place()));
        EXPECT_EQ(versionAt(trees.tree()), "2.3");
        EXPECT_THAT(trees.names(), ElementsAre("ovrel", "verified"));
    }
}

struct Failure {
    const char* what;
    std::map<std::pair<std::string, int>, int> failures;
    int error;           ///< that install() throws; 0 when it does not
    const char* version; ///< in place after settle()
};

void PrintTo(const Failure& failure, std::ostream* out) {
    *out << failure.what;
}

class ExchangeFailure : public testing::TestWithParam<Failure> {};

TEST_P(ExchangeFailure, LeavesOneCompleteTreeInPlace) {
    const TestTrees trees;
    TestCalls calls;
    calls.failures = GetParam().failures;
    EXPECT_EQ(errorOfInstall(calls, trees, trees.order()), GetParam().error);
    TreeCalls real;
    const std::optional<Journal> journal = settle(real, trees.place());
    EXPECT_EQ(versionAt(trees.tree()), GetParam().version);
    if (versionAt(trees.tree()) == "2.4") {
        ASSERT_TRUE(journal);
        EXPECT_EQ(journal->state, JournalState::installed);
        EXPECT_EQ(versionAt(trees.previous()), "2.3");
    } else {
        EXPECT_FALSE(journal);
        EXPECT_EQ(versionAt(trees.previous()), "none");
        EXPECT_FALSE(fs::exists(trees.path() / ".ovrel-journal"));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Calls, ExchangeFailure,
    testing::Values(
        Failure{"cannot exchange: EINVAL", {{{"exchange", 0}, EINVAL}}, 0, "2.4"},
        Failure{"cannot exchange: ENOSYS", {{{"exchange", 0}, ENOSYS}}, 0, "2.4"},
        Failure{"cannot exchange: EOPNOTSUPP", {{{"exchange", 0}, EOPNOTSUPP}}, 0, "2.4"},
        Failure{"cannot exchange: EXDEV", {{{"exchange", 0}, EXDEV}}, 0, "2.4"},
        Failure{"exchange fails: ENOSPC", {{{"exchange", 0}, ENOSPC}}, ENOSPC, "2.3"},
        Failure{"exchange fails: EIO", {{{"exchange", 0}, EIO}}, EIO, "2.3"},
        Failure{"exchange fails: EACCES", {{{"exchange", 0}, EACCES}}, EACCES, "2.3"},
        Failure{"another volume", {{{"exchange", 0}, EXDEV}, {{"move", 0}, EXDEV}}, EXDEV, "2.3"},
        Failure{"the old tree cannot be put aside", {{{"move", 1}, EIO}}, EIO, "2.3"},
        Failure{"neither aside nor back", {{{"move", 1}, EIO}, {{"exchange", 2}, EIO}}, EIO, "2.4"},
        Failure{"two steps, first fails", {{{"exchange", 0}, EINVAL}, {{"move", 1}, ENOSPC}}, ENOSPC, "2.3"},
        Failure{"two steps, second fails", {{{"exchange", 0}, EINVAL}, {{"move", 2}, ENOSPC}}, ENOSPC, "2.3"},
        Failure{"two steps, second and the way back fail",
                {{{"exchange", 0}, EINVAL}, {{"move", 2}, EIO}, {{"move", 3}, EIO}},
                EIO,
                "2.3"},
        Failure{"no mark", {{{"create", 1}, ENOSPC}}, ENOSPC, "2.3"},
        Failure{"not on the disk", {{{"syncVolume", 1}, EIO}}, EIO, "2.3"},
        Failure{"no journal", {{{"create", 2}, ENOSPC}}, ENOSPC, "2.3"},
        Failure{"journal not placed", {{{"replace", 1}, EIO}}, EIO, "2.3"},
        Failure{"journal not kept", {{{"sync", 1}, EIO}}, EIO, "2.3"},
        Failure{"exchange not kept", {{{"sync", 2}, EIO}}, EIO, "2.4"},
        Failure{"no second journal", {{{"create", 3}, ENOSPC}}, ENOSPC, "2.4"}));

} // namespace
