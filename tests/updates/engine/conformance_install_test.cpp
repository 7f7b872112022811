// Which calls the way from an offer to the installation makes, in their order, and what it leaves on the disk.

#include "model/background.h"
#include "tests/support/private_mounts.h"
#include "tests/support/skip_outside_ci.h"
#include "tests/updates/engine/updater_test.h"
#include "tests/updates/installation/working_program.h"
#include "updates/installation/journal.h"

#include <gmock/gmock.h>

#include <QByteArray>
#include <QCoreApplication>
#include <QFile>
#include <QThread>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <sched.h>
#include <sys/mount.h>

namespace ovrel::test {

namespace {

using testing::ElementsAreArray;
using Choice = SPUUserUpdateChoice;

const Calls offered = {"D.mayPerformUpdateCheck asked",
                       "D.feedURLString",
                       "U.showUserInitiatedUpdateCheck",
                       "D.didFinishLoadingAppcast",
                       "D.shouldProceedWithUpdate 1.1",
                       "D.didFindValidUpdate 1.1",
                       "U.showUpdateFound 1.1 notDownloaded asked"};
const Calls begun = {"D.userDidMakeChoice install", "D.willDownloadUpdate", "U.showDownloadInitiated"};
const Calls received = {"U.showDownloadDidReceiveExpectedContentLength", "U.showDownloadDidReceiveData",
                        "D.didDownloadUpdate"};
const Calls extracting = {"D.willExtractUpdate", "U.showDownloadDidStartExtractingUpdate", "D.didExtractUpdate"};
const Calls progress = {"U.showExtractionReceivedProgress"};
const Calls ready = {"U.showReadyToInstallAndRelaunch"};
const Calls relaunching = {"D.updaterShouldRelaunchApplication", "D.shouldPostponeRelaunchForUpdate"};
const Calls installing = {"D.willInstallUpdate", "D.updaterWillRelaunchApplication", "U.showInstallingUpdate running"};

Calls end(const std::string& error = "none") {
    Calls calls = {"U.dismissUpdateInstallation"};
    if (error != "none") {
        calls.push_back("D.didAbortWithError " + error);
    }
    calls.push_back("D.didFinishUpdateCycle asked " + error);
    calls.push_back("D.updaterWillNotScheduleUpdateCheck");
    return calls;
}

Calls failed(const std::string& error) {
    return joined({{"U.showUpdaterError " + error}, end(error)});
}

/// How a session ends whose archive was verified, and refused while it was unpacked or afterwards.
auto endsAfterUnpacking(const std::string& error, const std::string& version = "1.1") {
    Calls begin = joined({offered, begun, received, extracting});
    for (std::string& call : begin) {
        if (const std::size_t at = call.find("1.1"); at != std::string::npos) {
            call.replace(at, 3, version);
        }
    }
    return testing::AnyOf(ElementsAreArray(joined({begin, failed(error)})),
                          ElementsAreArray(joined({begin, progress, failed(error)})));
}

const Calls prepared = joined({offered, begun, received, extracting, progress, ready});

/// The same of a session that began in the background: an update was offered, and everything after that is shown.
Calls inBackground(Calls calls) {
    for (std::string& call : calls) {
        const std::size_t at = call.find(" asked");
        if (at != std::string::npos) {
            call.replace(at, std::string(" asked").size(), " background");
        }
    }
    std::erase(calls, "U.showUserInitiatedUpdateCheck");
    return calls;
}

class UpdaterInstallation : public UpdaterTest {
protected:
    UpdaterInstallation() {
        recorder_.offerAnswer = Choice::install;
        publishArchive(writeTar(tree("1.1")));
        start();
    }

    /// A whole session with this archive, however it ends.
    void checkArchive(const std::string& archive, const std::string& version = "1.1") {
        recorder_.calls.clear();
        recorder_.progress.clear();
        publishArchive(archive, version);
        checkAsked();
    }

    /// What an update to version 1.0.5 has left.
    void writeJournal(JournalState state) const {
        const Journal journal{.state = state,
                              .token = std::string(32, 'a'),
                              .version = "1.0.5",
                              .staging = ".ovrel-update-" + std::string(32, 'b'),
                              .top = "ovrel-1.0.5"};
        TreeCalls calls;
        ovrel::writeJournal(calls, InstallationPlace(installation()), journal);
    }

    /// Kills the installer that waits, and waits for its end.
    void killInstaller() const {
        for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator("/proc")) {
            std::error_code none;
            const std::string program = std::filesystem::read_symlink(entry.path() / "exe", none).native();
            if (program.starts_with((parent() / ".ovrel-update-").native())) {
                ASSERT_EQ(::kill(std::stoi(entry.path().filename().native()), SIGKILL), 0);
            }
        }
        while (!UpdateLock::tryAcquire(InstallationPlace(installation()))) {
            QThread::msleep(1);
        }
    }

    /// A session during which the updater goes away within this call.
    void endDuring(const std::string& when) {
        SCOPED_TRACE(when);
        recorder_.during.clear();
        start();
        recorder_.during[when] = [this] { updater_.reset(); };
        updater_->checkForUpdates();
        turnUntil([this] { return !updater_; });
        EXPECT_EQ(recorder_.calls.back(), when);
        EXPECT_TRUE(networkEnds());
        backgroundThreads().waitForDone();
        QCoreApplication::processEvents();
        EXPECT_EQ(recorder_.calls.back(), when);
    }

    /// As far as an update that is ready.
    void prepare() {
        updater_->checkForUpdates();
        waitFor(ready[0]);
    }
};

} // namespace

TEST_F(UpdaterInstallation, GoesFromTheOfferToTheEndOfTheProgram) {
    recorder_.readyAnswer = Choice::install;
    updater_->checkForUpdates();
    turnUntil([this] { return quits_ == 1; });
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({prepared, relaunching, installing})));
    EXPECT_EQ(recorder_.receivedBytes, recorder_.expectedBytes.front());
    EXPECT_TRUE(std::is_sorted(recorder_.progress.begin(), recorder_.progress.end()));
    EXPECT_GE(recorder_.progress.front(), 0.0);
    EXPECT_EQ(recorder_.progress.back(), 1.0);
    EXPECT_TRUE(updater_->sessionInProgress()) << "the session lasts as long as the program";

    // The program refuses to end, and is asked again.
    recorder_.calls.clear();
    (*recorder_.retry)();
    turnUntil([this] { return quits_ == 2; });
    EXPECT_THAT(recorder_.calls, ElementsAreArray(Calls{"D.updaterShouldRelaunchApplication"}));
    EXPECT_EQ(stagingCount(), 1);
}

TEST_F(UpdaterInstallation, OfAnOfferThatCameByItselfShowsEverythingAfterIt) {
    const std::string archive = writeTar(tree("1.1"));
    const QByteArray bytes = QByteArray::fromStdString(archive);
    const struct {
        const char* what;
        Answer answer;
        std::string signature;
        Calls calls;
    } rows[] = {
        {"an archive that is gone", Answer::of(404), sign(archive).toStdString(),
         joined({offered, begun, {received[0], "D.failedToDownloadUpdate 2001"}, failed("2001")})},
        {"an archive of others", Answer::of(200, bytes), sign("other").toStdString(),
         joined({offered, begun, received, extracting, failed("4005/3001")})},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        recorder_.calls.clear();
        publishFeed({{"1.1", "", enclosure("ovrel.tar.xz", archive.size(), row.signature)}});
        server_.answer("/app/releases/ovrel.tar.xz", row.answer);
        checkInBackground();
        EXPECT_THAT(recorder_.calls, ElementsAreArray(inBackground(row.calls)));
        EXPECT_TRUE(isUnchanged());
    }
    publishArchive(archive);
    recorder_.calls.clear();
    recorder_.readyAnswer = Choice::install;
    updater_->checkForUpdatesInBackground();
    turnUntil([this] { return quits_ == 1; });
    EXPECT_THAT(recorder_.calls, ElementsAreArray(inBackground(joined({prepared, relaunching, installing}))));
}

TEST_F(UpdaterInstallation, ThatHasFailedHoldsNothingWhileTheUserReadsWhy) {
    const std::string archive = writeTar(tree("1.1"));
    publishArchive(archive);
    const struct {
        const char* what;
        Answer answer;
        const char* shown;
    } rows[] = {
        {"the download", Answer::of(404), "U.showUpdaterError 2001"},
        {"the signature", Answer::of(200, QByteArray(qsizetype(archive.size()), 'x')), "U.showUpdaterError 4005/3001"},
    };
    recorder_.acknowledges = false;
    const auto expectNothingHeld = [this](const std::string& shown) {
        updater_->checkForUpdates();
        waitFor(shown);
        EXPECT_TRUE(UpdateLock::tryAcquire(InstallationPlace(installation())));
        EXPECT_TRUE(isUnchanged());
        (*recorder_.acknowledgement)();
        waitForEnd();
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        server_.answer("/app/releases/ovrel.tar.xz", row.answer);
        expectNothingHeld(row.shown);
    }
    std::vector<TarEntry> entries = tree("1.1");
    entries[2] = tarFile("ovrel-1.1/bin/ovrel", "#!/bin/sh\n", 0755);
    publishArchive(writeTar(entries)); // what is wrong with it shows when it has been unpacked
    expectNothingHeld("U.showUpdaterError 4005/3002");
}

TEST_F(UpdaterInstallation, EndsWhatAnEarlierUpdateHasLeft) {
    writeJournal(JournalState::failed);
    recorder_.readyAnswer = Choice::skip;
    checkAsked();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({prepared, end()})));
    EXPECT_EQ(environment_.state.failedVersion(), "1.0.5");
    EXPECT_FALSE(std::filesystem::exists(parent() / ".ovrel-journal"));
    EXPECT_TRUE(becomesUnchanged());
}

TEST_F(UpdaterInstallation, SaysWhenAnEarlierUpdateIsInTheWay) {
    folder_.write("state", "a file where the state's folder should be");
    for (const JournalState state : {JournalState::failed, JournalState::undoing}) {
        recorder_.calls.clear();
        writeJournal(state);
        checkAsked();
        EXPECT_THAT(recorder_.calls,
                    ElementsAreArray(joined({offered, begun, {"D.failedToDownloadUpdate 4005"}, failed("4005")})));
        EXPECT_EQ(recorder_.shownError->localizedDescription(AppLanguage::english),
                  "An earlier update of Ovrel could not be finished. Close all its windows and open it again.");
        EXPECT_EQ(recorder_.shownError->localizedDescription(AppLanguage::russian),
                  "Прошлое обновление Ovrel не удалось завершить. Закройте все её окна и откройте её снова.");
        EXPECT_TRUE(isUnchanged());
    }
}

TEST_F(UpdaterInstallation, ThatIsPutOffWaitsAndIsOfferedAgainWithoutTheNetwork) {
    recorder_.readyAnswer = Choice::dismiss;
    checkAsked();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({prepared, end()})));
    EXPECT_EQ(stagingCount(), 1);

    recorder_.calls.clear();
    const qsizetype requests = proxy_.requests().size();
    updater_->checkForUpdates();
    turnUntil([this] { return quits_ == 1; });
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined(
                                     {{"D.mayPerformUpdateCheck asked", "D.feedURLString", "D.didFindValidUpdate 1.1",
                                       "U.showUpdateFound 1.1 installing asked", "D.userDidMakeChoice install"},
                                      relaunching,
                                      installing})));
    EXPECT_EQ(proxy_.requests().size(), requests);
}

TEST_F(UpdaterInstallation, IsRefusedWhileAnotherProgramRunsFromTheInstallation) {
    recorder_.readyAnswer = Choice::install;
    {
        const WorkingProgram other(installation());
        checkAsked();
    }
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({prepared, relaunching, failed("4005")})));
    EXPECT_EQ(
        recorder_.shownError->localizedDescription(AppLanguage::english),
        "Ovrel is open in another window, or ovrel-cli is at work. Close them and try again; otherwise the update "
        "is installed once all of them have ended.");
    EXPECT_EQ(
        recorder_.shownError->localizedDescription(AppLanguage::russian),
        "Ovrel открыта ещё в одном окне, или работает ovrel-cli. Закройте их и повторите попытку; иначе обновление "
        "установится, когда все они завершатся.");
    EXPECT_EQ(quits_, 0);

    recorder_.calls.clear();
    updater_->checkForUpdates();
    turnUntil([this] { return quits_ == 1; });
    EXPECT_EQ(recorder_.count("U.showUpdateFound 1.1 installing asked"), 1);
}

TEST_F(UpdaterInstallation, BeginsAnewWhereNoInstallerWaitsAnyMore) {
    recorder_.readyAnswer = Choice::dismiss;
    checkAsked();
    killInstaller();
    recorder_.calls.clear();
    recorder_.readyAnswer = Choice::skip;
    checkAsked();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({prepared, end()})));
    EXPECT_TRUE(becomesUnchanged());
}

TEST_F(UpdaterInstallation, ThatIsPutOffCanStillBeSkipped) {
    recorder_.readyAnswer = Choice::dismiss;
    checkAsked();
    recorder_.offerAnswer = Choice::skip;
    recorder_.calls.clear();
    checkInBackground();
    EXPECT_EQ(recorder_.calls[3], "U.showUpdateFound 1.1 installing background");
    EXPECT_EQ(environment_.state.skippedVersion(), "1.1");
    EXPECT_TRUE(becomesUnchanged());
}

TEST_F(UpdaterInstallation, ThatIsSkippedWhenReadyIsThrownAwayButNotRemembered) {
    recorder_.readyAnswer = Choice::skip;
    checkAsked();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({prepared, end()})));
    EXPECT_TRUE(becomesUnchanged());
    EXPECT_EQ(environment_.state.skippedVersion(), "");

    recorder_.calls.clear();
    checkAsked();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({prepared, end()})));
}

TEST_F(UpdaterInstallation, TakesADroppedReplyForADismissal) {
    prepare();
    recorder_.ready.reset();
    waitForEnd();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({prepared, end()})));
    EXPECT_EQ(stagingCount(), 1);
}

TEST_F(UpdaterInstallation, WaitsForAPostponementAndAsksNoMoreForOne) {
    recorder_.readyAnswer = Choice::install;
    recorder_.postpones = true;
    updater_->checkForUpdates();
    waitFor(relaunching[1]);
    QCoreApplication::processEvents();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({prepared, relaunching})));
    (*recorder_.postponed)();
    turnUntil([this] { return quits_ == 1; });
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({prepared, relaunching, {relaunching[0]}, installing})));
}

TEST_F(UpdaterInstallation, EndsWithAPostponementThatIsDropped) {
    recorder_.readyAnswer = Choice::install;
    recorder_.postpones = true;
    updater_->checkForUpdates();
    waitFor(relaunching[1]);
    recorder_.postponed.reset();
    waitForEnd();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({prepared, relaunching, end()})));
    EXPECT_EQ(quits_, 0);
}

TEST_F(UpdaterInstallation, DoesNotEndAProgramThatMayNotBeRelaunched) {
    recorder_.readyAnswer = Choice::install;
    recorder_.shouldRelaunch = false;
    checkAsked();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({prepared, {relaunching[0]}, end()})));
    EXPECT_EQ(quits_, 0);
    EXPECT_EQ(stagingCount(), 1) << "it is installed when the program ends";
}

TEST_F(UpdaterInstallation, EndsWithTheUpdaterAtAnyStep) {
    for (const std::string& when :
         {begun[1], begun[2], received[1], received[2], extracting[1], extracting[2], progress[0], ready[0],
          relaunching[0], relaunching[1], installing[0], installing[2]}) {
        SCOPED_TRACE(when);
        recorder_.during.clear();
        recorder_.readyAnswer = Choice::install;
        start();
        checkUntilTheUpdaterGoes(when);
        backgroundThreads().waitForDone();
        for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator(parent())) {
            if (entry.path().filename().native().starts_with(".ovrel-")) {
                std::filesystem::remove_all(entry.path()); // what an installer would wait in
            }
        }
    }
}

TEST_F(UpdaterInstallation, EndsWithAnUpdaterThatGoesWithinACall) {
    for (const std::string& when :
         {offered[0],     offered[1],     offered[2],    offered[3],    offered[4],   offered[5],
          offered[6],     begun[0],       begun[1],      begun[2],      received[0],  received[1],
          received[2],    extracting[0],  extracting[1], extracting[2], progress[0],  ready[0],
          relaunching[0], relaunching[1], installing[0], installing[1], installing[2]}) {
        recorder_.readyAnswer = Choice::install;
        endDuring(when);
        for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator(parent())) {
            if (entry.path().filename().native().starts_with(".ovrel-")) {
                std::filesystem::remove_all(entry.path()); // what an installer would wait in
            }
        }
    }
}

TEST_F(UpdaterInstallation, EndsWithAnUpdaterThatGoesWithinACallAboutAFailure) {
    server_.answer("/app/releases/ovrel.tar.xz", Answer::of(404, {}));
    for (const std::string& when : joined({{"D.failedToDownloadUpdate 2001"}, failed("2001")})) {
        endDuring(when);
    }
}

TEST_F(UpdaterInstallation, EndsWithTheUpdaterWhileMoreOfTheArchiveHasComeThanWasHandedOver) {
    const std::string archive(4U << 20U, 'x');
    publishArchive(archive);
    std::uint64_t handedOver = 0;
    recorder_.during["U.showDownloadDidReceiveData"] = [&] {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [&] {
                turnUntil([this] { return server_.requests().size() >= 2; });
                QThread::msleep(200); // the network's thread goes on meanwhile
                handedOver = recorder_.receivedBytes;
                updater_.reset();
            },
            Qt::QueuedConnection);
    };
    updater_->checkForUpdates();
    turnUntil([this] { return !updater_; });
    EXPECT_TRUE(networkEnds());
    EXPECT_EQ(recorder_.receivedBytes, handedOver);
    EXPECT_LT(handedOver, archive.size());
}

TEST_F(UpdaterInstallation, IsCancelledDuringTheDownload) {
    const std::string archive = writeTar(tree("1.1"));
    server_.answer("/app/releases/ovrel.tar.xz",
                   Answer::head(200, "Content-Length: " + QByteArray::number(qsizetype(archive.size())) + "\r\n")
                       .send(QByteArray::fromStdString(archive.substr(0, archive.size() / 2))));
    updater_->checkForUpdates();
    waitFor(received[1]);
    (*recorder_.cancellation)();
    (*recorder_.cancellation)();
    waitForEnd();
    EXPECT_THAT(
        recorder_.calls,
        ElementsAreArray(joined({offered, begun, {received[0], received[1]}, {"D.userDidCancelDownload"}, end()})));
    EXPECT_TRUE(isUnchanged());
    turnUntil([this] { return proxy_.openConnections() == 0; });
}

TEST_F(UpdaterInstallation, CanNoMoreBeCancelledOnceTheArchiveIsComplete) {
    recorder_.during[received[2]] = [this] { (*recorder_.cancellation)(); };
    recorder_.readyAnswer = Choice::skip;
    checkAsked();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({prepared, end()})));
}

TEST_F(UpdaterInstallation, FailsWhereTheDownloadDoes) {
    const std::string archive = writeTar(tree("1.1"));
    const QByteArray bytes = QByteArray::fromStdString(archive);
    const QByteArray length = "Content-Length: " + QByteArray::number(bytes.size()) + "\r\n";
    const struct {
        const char* what;
        Answer answer;
        bool hasData;
    } rows[] = {
        {"absent", Answer::of(404), false},
        {"cut", Answer::head(200, length).send(bytes.first(bytes.size() / 2)).close(), true},
        {"to a less safe address", Answer::redirect(302, "http://" OVREL_PUBLISHER_HOST "/app/x"), false},
        {"longer, as announced", Answer::of(200, bytes + "x"), false},
        {"longer, unannounced", Answer::head(200).send(bytes + "x").close(), true},
        {"endless", Answer::head(200).flood("x"), true},
        {"shorter", Answer::of(200, bytes.chopped(1)), true},
        {"encoded", Answer::head(200, "Content-Encoding: gzip\r\n").send("\x1f\x8b\x08" + bytes).close(), true},
        {"a part", Answer::head(206, "Content-Range: bytes 0-3/4\r\n" + length).send(bytes), false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        recorder_.calls.clear();
        recorder_.receivedBytes = 0;
        server_.answer("/app/releases/ovrel.tar.xz", row.answer);
        checkAsked();
        Calls data = {received[0]};
        if (row.hasData) {
            data.push_back(received[1]);
        }
        EXPECT_THAT(recorder_.calls, ElementsAreArray(joined(
                                         {offered, begun, data, {"D.failedToDownloadUpdate 2001"}, failed("2001")})));
        EXPECT_LE(recorder_.receivedBytes, archive.size());
        EXPECT_TRUE(isUnchanged());
    }
}

TEST_F(UpdaterInstallation, FailsWhereTheServerFallsSilent) {
    environment_.silence = std::chrono::milliseconds(200);
    start();
    server_.answer("/app/releases/ovrel.tar.xz", Answer::head(200).send("x"));
    checkAsked();
    EXPECT_EQ(recorder_.count("U.showUpdaterError 2001"), 1);
}

TEST_F(UpdaterInstallation, NeedsTheLengthInTheFeedAlone) {
    const std::string archive = writeTar(tree("1.1"));
    server_.answer("/app/releases/ovrel.tar.xz", Answer::head(200).send(QByteArray::fromStdString(archive)).close());
    recorder_.readyAnswer = Choice::skip;
    checkAsked();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({prepared, end()})));

    for (const std::string length : {"", "0", "-1", "x", "99999999999999"}) {
        recorder_.calls.clear();
        publishFeed(
            {{"1.1", "",
              "<enclosure url=\"" + addressOf("/app/releases/ovrel.tar.xz").toEncoded().toStdString() + "\" length=\"" +
                  length + "\" sparkle:edSignature=\"" + sign(archive).toStdString() + "\"/>"}});
        checkAsked();
        EXPECT_THAT(recorder_.calls,
                    ElementsAreArray(joined({offered, begun, {"D.failedToDownloadUpdate 2001"}, failed("2001")})))
            << length;
    }
}

TEST_F(UpdaterInstallation, BelievesNothingWithoutThePublishersSignature) {
    const std::string archive = writeTar(tree("1.1"));
    const std::string good = sign(archive).toStdString();
    std::string flipped = archive;
    flipped[flipped.size() / 2] = static_cast<char>(flipped[flipped.size() / 2] ^ 1);
    const struct {
        const char* what;
        std::string archive;
        std::string signature;
    } rows[] = {
        {"one bit of the archive", flipped, good},
        {"the signature of another archive", archive, sign("other").toStdString()},
        {"no signature", archive, ""},
        {"63 bytes", archive, QByteArray(63, 'x').toBase64().toStdString()},
        {"another key", archive,
         "wTcpXCgWoa4NrJpsfzS61FXJIbv963//12U2ef9xstzVOLPHYK2N4/ojgpDV5N1/NGG1uWMBgK+kEWp0Z5zMDQ=="},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        recorder_.calls.clear();
        publishFeed({{"1.1", "", enclosure("ovrel.tar.xz", row.archive.size(), row.signature)}});
        server_.answer("/app/releases/ovrel.tar.xz", Answer::of(200, QByteArray::fromStdString(row.archive)));
        checkAsked();
        EXPECT_THAT(recorder_.calls,
                    ElementsAreArray(joined({offered, begun, received, extracting, failed("4005/3001")})));
        EXPECT_TRUE(isUnchanged());
    }
}

TEST_F(UpdaterInstallation, RefusesASignedArchiveThatIsBroken) {
    const std::string archive = writeTar(tree("1.1"));
    for (const std::string& broken : {archive.substr(0, archive.size() / 2), std::string("no archive at all"),
                                      archive.substr(0, 40) + std::string(archive.size() - 40, '\0')}) {
        checkArchive(broken);
        EXPECT_THAT(recorder_.calls, endsAfterUnpacking("3000"));
        EXPECT_TRUE(isUnchanged());
    }
}

TEST_F(UpdaterInstallation, RefusesASignedArchiveThatReachesOutside) {
    folder_.write("sentinel", "untouched");
    const struct {
        const char* what;
        TarEntry entry;
    } rows[] = {
        {"dots", tarFile("../sentinel", "changed")},
        {"dots inside", tarFile("ovrel-1.1/../../sentinel", "changed")},
        {"an absolute path", tarFile((parent() / "sentinel").native(), "changed")},
        {"a link out", tarLink("ovrel-1.1/out", "../../..")},
        {"an absolute link", tarLink("ovrel-1.1/out", parent().native())},
        {"a second top folder", tarFolder("other")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        std::vector<TarEntry> entries = tree("1.1");
        entries.push_back(row.entry);
        checkArchive(writeTar(entries));
        EXPECT_THAT(recorder_.calls, endsAfterUnpacking("3002"));
        EXPECT_TRUE(isUnchanged());
        QFile sentinel(QString::fromStdString((parent() / "sentinel").native()));
        ASSERT_TRUE(sentinel.open(QIODevice::ReadOnly));
        EXPECT_EQ(sentinel.readAll(), "untouched");
    }
}

TEST_F(UpdaterInstallation, RefusesASignedArchiveThatIsAnotherOneThanTheFeedSays) {
    const auto treeWith = [](const TarEntry& manifest) {
        std::vector<TarEntry> entries = tree("1.1");
        *std::find_if(entries.begin(), entries.end(),
                      [](const TarEntry& entry) { return entry.path.ends_with("manifest.json"); }) = manifest;
        return writeTar(entries);
    };
    const auto named = [](TarEntry entry) {
        entry.path = "ovrel-1.1/manifest.json";
        return entry;
    };
    const struct {
        const char* what;
        std::string archive;
        const char* version; ///< in the feed
        const char* error;
    } rows[] = {
        {"an older one", treeWith(named(manifest("0.9"))), "1.1", "4005/4006"},
        {"the same one", treeWith(named(manifest("1.0"))), "1.1", "4005/4006"},
        {"another number", treeWith(named(manifest("1.1"))), "1.2", "4005/3002"},
        {"another application", treeWith(manifest("1.1", "other")), "1.1", "4005/3002"},
        {"another system", treeWith(manifest("1.1", "example.ovrel.Ovrel", "macos")), "1.1", "4005/3002"},
        {"another machine", treeWith(manifest("1.1", "example.ovrel.Ovrel", "linux", "riscv128")), "1.1", "4005/3002"},
        {"no manifest", treeWith(tarFile("ovrel-1.1/other", "{}")), "1.1", "4005/3002"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        checkArchive(row.archive, row.version);
        EXPECT_THAT(recorder_.calls, endsAfterUnpacking(row.error, row.version));
        EXPECT_TRUE(isUnchanged());
    }
    EXPECT_EQ(environment_.highestVersion(), "");
}

TEST_F(UpdaterInstallation, OffersNothingThatIsNoNewerThanAnyVersionThatEverRanThere) {
    const QString folder = QString::fromStdString(installation().native());
    ASSERT_TRUE(environment_.state.recordInstalled(folder, "1.5"));
    checkAsked();
    EXPECT_EQ(recorder_.count("U.showUpdateNotFound 0"), 1) << testing::PrintToString(recorder_.calls);
    recorder_.calls.clear();
    checkInBackground();
    EXPECT_EQ(recorder_.calls.back(), "D.updaterWillNotScheduleUpdateCheck");
    EXPECT_EQ(recorder_.count("U.showUpdateFound 1.1 notDownloaded background"), 0);
    EXPECT_THAT(server_.targets(), testing::Each("/app/appcast.xml"));
    EXPECT_TRUE(isUnchanged());
}

TEST_F(UpdaterInstallation, OffersWhatRanFromAnotherFolder) {
    ASSERT_TRUE(environment_.state.recordInstalled(QString::fromStdString(parent().native()), "1.1"));
    recorder_.readyAnswer = Choice::skip;
    checkAsked();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({prepared, end()})));
}

TEST_F(UpdaterInstallation, RefusesWhatAnotherWindowHasInstalledMeanwhile) {
    recorder_.during["D.willDownloadUpdate"] = [this] {
        ASSERT_TRUE(environment_.state.recordInstalled(QString::fromStdString(installation().native()), "1.5"));
    };
    checkAsked();
    EXPECT_EQ(recorder_.count("U.showUpdaterError 4005/4006"), 1);
    EXPECT_TRUE(isUnchanged());
}

TEST_F(UpdaterInstallation, RefusesAnArchiveWithoutAProgramForThisComputer) {
    for (const TarEntry& program :
         {tarFile("ovrel-1.1/bin/ovrel", "#!/bin/sh\n", 0755), tarFile("ovrel-1.1/bin/other", "", 0755)}) {
        std::vector<TarEntry> entries = tree("1.1");
        entries[2] = program;
        checkArchive(writeTar(entries));
        EXPECT_THAT(recorder_.calls, endsAfterUnpacking("4005/3002"));
        EXPECT_TRUE(isUnchanged());
    }
}

TEST_F(UpdaterInstallation, RefusesAnArchiveThatWouldBeTheLastUpdate) {
    for (const char* const name : {"bin/ovrel-installer", "portable-installation", "installed-files.txt"}) {
        SCOPED_TRACE(name);
        std::vector<TarEntry> entries = tree("1.1");
        ASSERT_EQ(std::erase_if(entries, [&](const TarEntry& entry) { return entry.path.ends_with(name); }), 1U);
        checkArchive(writeTar(entries));
        EXPECT_THAT(recorder_.calls, endsAfterUnpacking("4005/3002"));
        EXPECT_TRUE(isUnchanged());
    }
    for (const char* const name : {"bin/managed-by", "bin/portable-installation"}) {
        SCOPED_TRACE(name);
        std::vector<TarEntry> entries = tree("1.1");
        entries.push_back(tarFile(std::string("ovrel-1.1/") + name, "example.ovrel.Ovrel\n"));
        checkArchive(writeTar(entries));
        EXPECT_THAT(recorder_.calls, endsAfterUnpacking("4005/3002"));
        EXPECT_TRUE(isUnchanged());
    }
}

// A volume of its own has to be seen by all threads of a process from their beginning, so it has a process of its own.

using UpdaterInstallationDeathTest = UpdaterInstallation;

TEST_F(UpdaterInstallationDeathTest, LeavesNothingOnAVolumeThatIsFull) {
    if (!runWithOwnMounts([] {})) {
        OVREL_SKIP_OUTSIDE_CI("nothing can be mounted here");
    }
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto updateOnAFullVolume = [this] {
        const std::filesystem::path volume = folder_.path() / "volume";
        std::filesystem::create_directory(volume);
        ASSERT_EQ(::unshare(CLONE_NEWNS), 0);
        ASSERT_EQ(::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
        mountMemory(volume, "size=8m");
        std::filesystem::copy(installation(), volume / "ovrel", std::filesystem::copy_options::recursive);
        environment_.directory = volume / "ovrel";
        environment_.tree = identityOf(environment_.directory).value();
        start();
        std::vector<TarEntry> entries = tree("1.1");
        entries.push_back(tarFile("ovrel-1.1/large", std::string(16U << 20U, 'x')));
        checkArchive(writeTar(entries));
        EXPECT_THAT(recorder_.calls,
                    ElementsAreArray(joined({offered, begun, received, extracting, progress, failed("3000")})));
        EXPECT_EQ(recorder_.shownError->localizedDescription(AppLanguage::english),
                  "There is not enough space on the disk for the update.");
        std::vector<std::string> names;
        for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator(volume)) {
            names.push_back(entry.path().filename().native());
        }
        EXPECT_THAT(names, testing::UnorderedElementsAre("ovrel", ".ovrel-lock"));
    };
    EXPECT_EXIT(
        {
            updateOnAFullVolume();
            std::_Exit(HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(UpdaterInstallation, IsLeftToOneUpdaterAtATime) {
    prepare();
    Recorder other;
    other.feed = recorder_.feed;
    other.offerAnswer = Choice::install;
    Updater second(environment_, other, other);
    ASSERT_EQ(second.startUpdater(), std::nullopt);
    second.checkForUpdates();
    turnUntil([&] { return !second.sessionInProgress(); });
    EXPECT_EQ(other.count("U.showUpdaterError 2000"), 1) << testing::PrintToString(other.calls);
    (*recorder_.ready)(Choice::skip);
    waitForEnd();
}

TEST_F(UpdaterInstallation, KeepsItsFolderFromOtherStartsForAsLongAsAnInstallerLives) {
    const InstallationPlace place(installation());
    prepare();
    EXPECT_FALSE(UpdateLock::tryAcquire(place));
    updater_.reset();
    EXPECT_FALSE(UpdateLock::tryAcquire(place)) << "the installer waits for the end of the program";
    EXPECT_EQ(stagingCount(), 1);
}

TEST_F(UpdaterInstallation, OfAnInstallerThatGaveUpLeavesTheLockFree) {
    recorder_.readyAnswer = Choice::skip;
    checkAsked();
    const InstallationPlace place(installation());
    const std::optional<UpdateLock> lock = UpdateLock::acquireSoon(place);
    ASSERT_TRUE(lock);
    EXPECT_TRUE(becomesUnchanged());
}

TEST_F(UpdaterInstallation, OffersAVersionThatDidNotStartOnlyWhenAsked) {
    ASSERT_TRUE(environment_.state.recordFailed("1.1"));
    recorder_.readyAnswer = Choice::skip;
    checkInBackground();
    EXPECT_EQ(recorder_.count("U.showUpdateFound 1.1 notDownloaded background"), 0);
    recorder_.calls.clear();
    checkAsked();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({prepared, end()})));
}

} // namespace ovrel::test
