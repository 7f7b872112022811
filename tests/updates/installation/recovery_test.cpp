#include "updates/installation/recovery.h"

#include "tests/updates/installation/test_trees.h"
#include "tests/updates/installation/working_program.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>

namespace {

namespace fs = std::filesystem;
using namespace ovrel;
using namespace ovrel::test;
using testing::ElementsAre;
using testing::SizeIs;

StartReport startAt(TreeCalls& calls, const TestTrees& trees, const fs::path& tree) {
    const InstallationPlace place(tree);
    InstanceLock instance(place);
    return recoverAtStart(calls, trees.place(), identityOf(tree).value(), instance);
}

StartReport startAt(const TestTrees& trees, const fs::path& tree) {
    TreeCalls calls;
    const StartReport report = startAt(calls, trees, tree);
    EXPECT_FALSE(report.failure);
    return report;
}

KeptFiles confirm(const TestTrees& trees) {
    TreeCalls calls;
    return confirmHealthyStart(calls, trees.place(), identityOf(trees.tree()).value());
}

void installUpdate(const TestTrees& trees) {
    TreeCalls calls;
    install(calls, trees.place(), trees.order());
}

TEST(Recovery, HasNothingToDoWithoutAnUpdate) {
    const TestTrees trees;
    const StartReport report = startAt(trees, trees.tree());
    EXPECT_FALSE(report.restart);
    EXPECT_FALSE(report.failedVersion);
    EXPECT_FALSE(report.counted);
    EXPECT_TRUE(confirm(trees).empty());
    EXPECT_THAT(trees.names(), ElementsAre(TestTrees::staging, "ovrel"));
    EXPECT_EQ(versionAt(trees.tree()), "2.3");
}

TEST(Recovery, RemovesThePreviousTreeOnlyWhenTheStartWasHealthy) {
    const TestTrees trees;
    installUpdate(trees);
    EXPECT_TRUE(startAt(trees, trees.tree()).counted);
    EXPECT_EQ(versionAt(trees.previous()), "2.3");
    EXPECT_TRUE(confirm(trees).empty());
    EXPECT_THAT(trees.names(), ElementsAre("ovrel"));
    EXPECT_EQ(versionAt(trees.tree()), "2.4");
    EXPECT_FALSE(startAt(trees, trees.tree()).counted);
}

TEST(Recovery, TakesAVersionBackThatDidNotStartTwice) {
    const TestTrees trees;
    installUpdate(trees);
    EXPECT_TRUE(startAt(trees, trees.tree()).counted);
    EXPECT_TRUE(startAt(trees, trees.tree()).counted);
    const StartReport third = startAt(trees, trees.tree());
    EXPECT_TRUE(third.restart);
    EXPECT_FALSE(third.counted);
    EXPECT_EQ(third.failedVersion, "2.4");
    EXPECT_EQ(versionAt(trees.tree()), "2.3");

    // The old version hears of it until it says that it has remembered.
    EXPECT_EQ(startAt(trees, trees.tree()).failedVersion, "2.4");
    EXPECT_EQ(startAt(trees, trees.tree()).failedVersion, "2.4");
    TreeCalls calls;
    EXPECT_TRUE(confirm(trees).empty());
    EXPECT_EQ(startAt(trees, trees.tree()).failedVersion, "2.4");
    forgetFailedVersion(calls, trees.place(), "2.5"); // another one
    EXPECT_EQ(startAt(trees, trees.tree()).failedVersion, "2.4");
    forgetFailedVersion(calls, trees.place(), "2.4");
    EXPECT_FALSE(startAt(trees, trees.tree()).failedVersion);
    EXPECT_THAT(trees.names(), ElementsAre("ovrel"));
}

TEST(Recovery, DoesNotCountAStartThatShowedNoWindowAndEndedWell) {
    const TestTrees trees;
    installUpdate(trees);
    TreeCalls calls;
    for (int start = 0; start < 5; ++start) {
        EXPECT_TRUE(startAt(trees, trees.tree()).counted);
        discountStart(calls, trees.place());
    }
    EXPECT_EQ(readJournal(trees.place())->startCount, 0U);
    discountStart(calls, trees.place());
    EXPECT_EQ(readJournal(trees.place())->startCount, 0U);
    EXPECT_TRUE(startAt(trees, trees.tree()).counted);
    EXPECT_TRUE(startAt(trees, trees.tree()).counted);
    EXPECT_FALSE(startAt(trees, trees.tree()).counted);
    EXPECT_EQ(versionAt(trees.tree()), "2.3");

    discountStart(calls, trees.place()); // of a version that was taken back
    EXPECT_EQ(readJournal(trees.place())->state, JournalState::failed);
}

TEST(Recovery, CountsNoStartBesideAProgramThatRuns) {
    const TestTrees trees;
    installUpdate(trees);
    const InstanceLock other(trees.place());
    for (int start = 0; start < 5; ++start) {
        const StartReport report = startAt(trees, trees.tree());
        EXPECT_FALSE(report.counted);
        EXPECT_FALSE(report.restart);
    }
    EXPECT_EQ(readJournal(trees.place())->startCount, 0U);
}

TEST(Recovery, CountsNoStartBesideAProgramThatHoldsNoLock) {
    const TestTrees trees;
    installUpdate(trees);
    const WorkingProgram other(trees.tree());
    for (int start = 0; start < 5; ++start) {
        EXPECT_FALSE(startAt(trees, trees.tree()).restart);
    }
    EXPECT_EQ(readJournal(trees.place())->startCount, 0U);
}

TEST(Recovery, KeepsThePreviousTreeUntilNoProgramNeedsIt) {
    const TestTrees trees;
    installUpdate(trees);
    {
        const WorkingProgram other(trees.previous());
        EXPECT_TRUE(confirm(trees).empty());
        EXPECT_EQ(versionAt(trees.previous()), "2.3");
        EXPECT_FALSE(startAt(trees, trees.tree()).counted);
        EXPECT_EQ(versionAt(trees.previous()), "2.3");
    }
    startAt(trees, trees.tree());
    EXPECT_THAT(trees.names(), ElementsAre("ovrel"));
    EXPECT_EQ(versionAt(trees.tree()), "2.4");
}

TEST(Recovery, LetsOthersStartAgainAfterItsLook) {
    const TestTrees trees;
    installUpdate(trees);
    const InstallationPlace place = trees.place();
    InstanceLock instance(place);
    TestCalls calls;
    calls.failures[{"create", 0}] = ENOSPC;
    EXPECT_TRUE(recoverAtStart(calls, place, identityOf(trees.tree()).value(), instance).failure);
    LockFile other(place);
    EXPECT_TRUE(other.tryShared(LockFile::Part::instances));
}

/// While it exists, this process can open so many files more.
class FewDescriptors {
public:
    explicit FewDescriptors(rlim_t count) {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        const FileDescriptor next(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        rlimit few = before_;
        few.rlim_cur = static_cast<rlim_t>(next.get()) + count;
        ::setrlimit(RLIMIT_NOFILE, &few);
    }
    ~FewDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }
    FewDescriptors(const FewDescriptors&) = delete;
    FewDescriptors& operator=(const FewDescriptors&) = delete;

private:
    rlimit before_ = {};
};

TEST(Recovery, LetsOthersStartAgainWhereItCannotLook) {
    const TestTrees trees;
    installUpdate(trees);
    const InstallationPlace place = trees.place();
    const FileIdentity running = identityOf(trees.tree()).value();
    InstanceLock instance(place);
    int failures = 0;
    for (rlim_t descriptors = 0;; ++descriptors) {
        TreeCalls calls;
        StartReport report;
        {
            const FewDescriptors limit(descriptors);
            report = recoverAtStart(calls, place, running, instance);
        }
        LockFile other(place);
        ASSERT_TRUE(other.tryShared(LockFile::Part::instances)) << descriptors;
        if (report.counted) {
            break;
        }
        failures += report.failure ? 1 : 0;
    }
    EXPECT_GE(failures, 3); // to lock, and more than one way to look
}

TEST(Recovery, SaysWhatIsTheCaseAlsoWhereItFails) {
    const TestTrees trees;
    installUpdate(trees);
    TestCalls full;
    full.failures[{"create", 0}] = ENOSPC;
    const StartReport start = startAt(full, trees, trees.previous());
    EXPECT_TRUE(start.failure);
    EXPECT_TRUE(start.restart);

    TreeCalls calls;
    ASSERT_TRUE(takeBack(calls, trees.place(), readJournal(trees.place()).value()));
    std::ofstream(trees.path() / ".ovrel-failed" / "mine.txt") << "mine";
    TestCalls broken;
    broken.failures[{"move", 0}] = EIO;
    const StartReport next = startAt(broken, trees, trees.tree());
    EXPECT_TRUE(next.failure);
    EXPECT_FALSE(next.restart);
    EXPECT_EQ(next.failedVersion, "2.4");
}

TEST(Recovery, StaysWithAVersionThatHasNothingToGoBackTo) {
    const TestTrees trees;
    installUpdate(trees);
    fs::remove_all(trees.previous());
    for (int start = 0; start < 5; ++start) {
        const StartReport report = startAt(trees, trees.tree());
        EXPECT_FALSE(report.restart);
        EXPECT_EQ(readJournal(trees.place())->state, JournalState::installed);
        EXPECT_EQ(versionAt(trees.tree()), "2.4");
    }
}

TEST(Recovery, ChangesNothingWhileAnUpdateIsAtWork) {
    const TestTrees trees;
    installUpdate(trees);
    const auto lock = UpdateLock::tryAcquire(trees.place());
    ASSERT_TRUE(lock);
    const StartReport report = startAt(trees, trees.tree());
    EXPECT_FALSE(report.restart);
    EXPECT_FALSE(report.counted);
    EXPECT_EQ(readJournal(trees.place())->startCount, 0U);
}

TEST(Recovery, SendsAProgramOfThePreviousTreeToTheNewOne) {
    const TestTrees trees;
    installUpdate(trees);
    EXPECT_TRUE(startAt(trees, trees.previous()).restart);
}

TEST(Recovery, PutsThePreviousTreeBackIntoAnEmptyPlace) {
    for (const bool withJournal : {false, true}) {
        const TestTrees trees;
        installUpdate(trees);
        fs::remove_all(trees.tree());
        if (!withJournal) {
            std::ofstream(trees.path() / ".ovrel-journal") << "nonsense";
        }
        EXPECT_FALSE(startAt(trees, trees.previous()).restart);
        EXPECT_EQ(versionAt(trees.tree()), "2.3");
        confirm(trees);
        EXPECT_EQ(versionAt(trees.tree()), "2.3");
    }
}

TEST(Recovery, ConfirmsNothingForATreeThatIsNotInPlace) {
    const TestTrees trees;
    installUpdate(trees);
    const FileIdentity running = identityOf(trees.tree()).value();
    fs::rename(trees.tree(), trees.path() / "elsewhere");
    TreeCalls calls;
    EXPECT_THROW(confirmHealthyStart(calls, trees.place(), running), std::system_error);
    EXPECT_EQ(versionAt(trees.previous()), "2.3");
}

// Where the new program cannot be executed, the previous one runs on from its hidden folder.
TEST(Recovery, ConfirmsNothingForAProgramOfAnotherTree) {
    const TestTrees trees;
    installUpdate(trees);
    startAt(trees, trees.previous());
    TreeCalls calls;
    EXPECT_THROW(confirmHealthyStart(calls, trees.place(), identityOf(trees.previous()).value()), std::system_error);
    EXPECT_EQ(readJournal(trees.place())->state, JournalState::installed);
    EXPECT_EQ(versionAt(trees.previous()), "2.3");
    EXPECT_EQ(versionAt(trees.tree()), "2.4");
}

TEST(Recovery, ConfirmsNothingInTheMiddleOfAnExchange) {
    for (const JournalState state : {JournalState::exchanging, JournalState::undoing}) {
        const TestTrees trees;
        installUpdate(trees);
        Journal journal = readJournal(trees.place()).value();
        journal.state = state;
        TreeCalls calls;
        writeJournal(calls, trees.place(), journal);
        EXPECT_THROW(confirm(trees), std::system_error);
        EXPECT_EQ(versionAt(trees.previous()), "2.3");
    }
}

TEST(Recovery, NeverRemovesTheTreeThatAsks) {
    for (const bool isMoved : {false, true}) {
        const TestTrees trees;
        installUpdate(trees);
        Journal journal = readJournal(trees.place()).value();
        journal.state = JournalState::confirmed;
        TreeCalls calls;
        writeJournal(calls, trees.place(), journal);
        if (isMoved) {
            fs::rename(trees.tree(), trees.path() / "elsewhere");
        }
        EXPECT_EQ(startAt(trees, trees.previous()).restart, !isMoved);
        EXPECT_EQ(versionAt(trees.previous()), "2.3");
    }
}

TEST(Recovery, RemovesNoFolderThatIsNotAnUpdates) {
    const TestTrees trees;
    TreeCalls calls;
    makeTree(trees.path() / "letters", "mine");
    writeJournal(calls, trees.place(),
                 {.state = JournalState::exchanging,
                  .token = std::string(32, 'a'),
                  .version = "2.4",
                  .staging = "letters",
                  .top = "x"});
    startAt(trees, trees.tree());
    EXPECT_EQ(versionAt(trees.path() / "letters"), "mine");
    EXPECT_FALSE(readJournal(trees.place()));
}

TEST(Recovery, KeepsTheUsersFilesAndSaysWhere) {
    const TestTrees trees;
    std::ofstream(trees.tree() / "lib" / "mine.txt") << "mine";
    installUpdate(trees);
    const KeptFiles kept = confirm(trees);
    EXPECT_EQ(kept.folder, "ovrel-kept");
    EXPECT_THAT(kept.files, ElementsAre("lib/mine.txt"));
    EXPECT_EQ(contentOf(trees.path() / "ovrel-kept" / "lib" / "mine.txt"), "mine");
    EXPECT_THAT(trees.names(), ElementsAre("ovrel", "ovrel-kept"));
}

TEST(Recovery, KeepsTheUsersFilesOfAVersionThatWasTakenBack) {
    const TestTrees trees;
    installUpdate(trees);
    std::ofstream(trees.tree() / "mine.txt") << "mine";
    startAt(trees, trees.tree());
    startAt(trees, trees.tree());
    startAt(trees, trees.tree());
    const StartReport report = startAt(trees, trees.tree());
    ASSERT_THAT(report.kept, SizeIs(1));
    EXPECT_THAT(report.kept.front().files, ElementsAre("mine.txt"));
    EXPECT_EQ(contentOf(trees.path() / "ovrel-kept" / "mine.txt"), "mine");
    EXPECT_EQ(versionAt(trees.tree()), "2.3");
}

bool remembers(const std::string& version) {
    EXPECT_EQ(version, "2.4");
    return true;
}

bool cannotRemember(const std::string& /*version*/) {
    return false;
}

/// \return 0 when a new update may begin, otherwise the errno of what stands in its way
int errorOfNewUpdate(const TestTrees& trees, const fs::path& running, const RememberFailed& remember) {
    try {
        TreeCalls calls;
        return lockForNewUpdate(calls, trees.place(), identityOf(running).value(), remember) ? 0 : EALREADY;
    } catch (const std::system_error& error) {
        return error.code().value();
    }
}

int errorOfNewUpdate(const TestTrees& trees, const RememberFailed& remember = cannotRemember) {
    return errorOfNewUpdate(trees, trees.tree(), remember);
}

TEST(NewUpdate, WaitsForNobodyButAnotherOneAtWork) {
    const TestTrees trees;
    EXPECT_EQ(errorOfNewUpdate(trees), 0);
    const auto other = UpdateLock::tryAcquire(trees.place());
    EXPECT_EQ(errorOfNewUpdate(trees), EALREADY);
}

TEST(NewUpdate, ConfirmsTheVersionThatAsksForIt) {
    const TestTrees trees;
    installUpdate(trees);
    EXPECT_EQ(errorOfNewUpdate(trees), 0);
    EXPECT_THAT(trees.names(), ElementsAre("ovrel"));
    EXPECT_EQ(versionAt(trees.tree()), "2.4");
    EXPECT_FALSE(fs::exists(trees.tree() / treeMarkName));
}

TEST(NewUpdate, IsRefusedToAProgramOfAnotherTree) {
    const TestTrees trees;
    installUpdate(trees);
    EXPECT_EQ(errorOfNewUpdate(trees, trees.previous(), cannotRemember), ESTALE);
    EXPECT_EQ(readJournal(trees.place())->state, JournalState::installed);
    EXPECT_EQ(versionAt(trees.previous()), "2.3");
}

TEST(NewUpdate, EndsAConfirmationThatWasInterrupted) {
    const TestTrees trees;
    installUpdate(trees);
    TestCalls calls;
    calls.failures[{"remove", 0}] = EIO;
    EXPECT_THROW(confirmHealthyStart(calls, trees.place(), identityOf(trees.tree()).value()), std::system_error);
    ASSERT_EQ(readJournal(trees.place())->state, JournalState::confirmed);
    EXPECT_EQ(errorOfNewUpdate(trees), 0);
    EXPECT_THAT(trees.names(), ElementsAre("ovrel"));
}

TEST(NewUpdate, HasToWaitWhereAProgramStillNeedsThePreviousTree) {
    const TestTrees trees;
    installUpdate(trees);
    {
        const WorkingProgram other(trees.previous());
        EXPECT_EQ(errorOfNewUpdate(trees), EBUSY);
        EXPECT_EQ(versionAt(trees.previous()), "2.3");
    }
    EXPECT_EQ(errorOfNewUpdate(trees), 0);
}

TEST(NewUpdate, GivesUpAnInstallationThatHadNotBegun) {
    const TestTrees trees;
    TestCalls calls;
    calls.failures[{"exchange", 1}] = EIO;
    EXPECT_THROW(install(calls, trees.place(), trees.order()), std::system_error);
    ASSERT_EQ(readJournal(trees.place())->state, JournalState::exchanging);
    EXPECT_EQ(errorOfNewUpdate(trees), 0);
    EXPECT_THAT(trees.names(), ElementsAre("ovrel"));
    EXPECT_EQ(versionAt(trees.tree()), "2.3");
}

TEST(NewUpdate, ComesAfterAFailedVersionOnlyOnceThatIsRemembered) {
    const TestTrees trees;
    installUpdate(trees);
    TreeCalls calls;
    ASSERT_TRUE(takeBack(calls, trees.place(), readJournal(trees.place()).value()));
    EXPECT_EQ(errorOfNewUpdate(trees, cannotRemember), EBUSY);
    EXPECT_EQ(readJournal(trees.place())->state, JournalState::failed);
    EXPECT_EQ(errorOfNewUpdate(trees, remembers), 0);
    EXPECT_THAT(trees.names(), ElementsAre("ovrel"));
    EXPECT_EQ(versionAt(trees.tree()), "2.3");
}

TEST(NewUpdate, LeavesAnExchangeBackToTheNextStart) {
    const TestTrees trees;
    installUpdate(trees);
    TestCalls calls;
    calls.failures[{"exchange", 1}] = EIO;
    EXPECT_THROW(takeBack(calls, trees.place(), readJournal(trees.place()).value()), std::system_error);
    ASSERT_EQ(readJournal(trees.place())->state, JournalState::undoing);
    EXPECT_EQ(errorOfNewUpdate(trees, remembers), EBUSY);
    EXPECT_EQ(versionAt(trees.tree()), "2.4");
    EXPECT_TRUE(startAt(trees, trees.tree()).restart);
    EXPECT_EQ(errorOfNewUpdate(trees, remembers), 0);
    EXPECT_EQ(versionAt(trees.tree()), "2.3");
}

} // namespace
