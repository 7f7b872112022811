// Which calls a check makes, in their order, and what it leaves on the disk: checks that find nothing, fail, are
// refused, cancelled or put off.

#include "tests/updates/engine/updater_test.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <set>
#include <thread>

namespace ovrel::test {

namespace {

using testing::ElementsAreArray;
using testing::IsEmpty;

class UpdaterCheck : public UpdaterTest {};

std::set<std::filesystem::path> entriesOf(const std::filesystem::path& folder) {
    return {std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator()};
}

const Calls refusedAsked = {"D.mayPerformUpdateCheck asked"};
const Calls refusedBackground = {"D.mayPerformUpdateCheck background"};
const Calls asked = {refusedAsked[0], "D.feedURLString", "U.showUserInitiatedUpdateCheck"};
const Calls background = {refusedBackground[0], "D.feedURLString"};
const Calls read = {"D.didFinishLoadingAppcast"};
const Calls never = {"D.updaterWillNotScheduleUpdateCheck"};

Calls notFound(int reason) {
    return {"D.updaterDidNotFindUpdate 1001", "U.showUpdateNotFound " + std::to_string(reason)};
}

/// The end of a session.
/// \param error "none" without one
Calls endAsked(const std::string& error) {
    Calls calls = {"U.dismissUpdateInstallation"};
    if (error != "none") {
        calls.push_back("D.didAbortWithError " + error);
    }
    calls.push_back("D.didFinishUpdateCycle asked " + error);
    return joined({calls, never});
}

/// Of one in the background.
Calls endSilently(const std::string& error) {
    return {"D.didAbortWithError " + error, "D.didFinishUpdateCycle background " + error, never[0]};
}

Calls endShown(const std::string& error) {
    Calls calls = endSilently(error);
    if (error == "none") {
        calls.erase(calls.begin());
    }
    calls.insert(calls.begin(), "U.dismissUpdateInstallation");
    return calls;
}

Calls failed(const std::string& error) {
    return joined({{"U.showUpdaterError " + error}, endAsked(error)});
}

Calls found(const std::string& version, const std::string& how) {
    return {"D.shouldProceedWithUpdate " + version, "D.didFindValidUpdate " + version,
            "U.showUpdateFound " + version + " " + how};
}

FeedItem release(const std::string& version, const std::string& elements = "") {
    return {version, elements,
            "<enclosure url=\"https://" OVREL_PUBLISHER_HOST "/app/releases/x\" length=\"9\" sparkle:os=\"linux\"/>"};
}

} // namespace

TEST_F(UpdaterCheck, ThatFindsTheSameVersionSaysSoUntilItIsAcknowledged) {
    publishFeed({release("1.0")});
    start();
    recorder_.acknowledges = false;
    updater_->checkForUpdates();
    waitFor("U.showUpdateNotFound 1");
    EXPECT_TRUE(updater_->sessionInProgress());
    updater_->checkForUpdates();
    updater_->checkForUpdatesInBackground(); // neither begins another one
    QCoreApplication::processEvents();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({asked, read, notFound(1)})));
    (*recorder_.acknowledgement)();
    EXPECT_TRUE(updater_->sessionInProgress()) << "an acknowledgement takes effect in a later turn";
    waitForEnd();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({asked, read, notFound(1), endAsked("1001")})));
    EXPECT_TRUE(isUnchanged());
    EXPECT_TRUE(updater_->canCheckForUpdates());
}

TEST_F(UpdaterCheck, ThatFindsOlderOnesOrNoneGivesTheReason) {
    publishFeed({release("0.9")});
    start();
    checkAsked();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({asked, read, notFound(2), endAsked("1001")})));
    recorder_.calls.clear();
    publishFeed({});
    checkAsked();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({asked, read, notFound(1), endAsked("1001")})));
    EXPECT_TRUE(isUnchanged());
}

TEST_F(UpdaterCheck, InTheBackgroundOffersAnUpdateAndMayBePutOff) {
    publishFeed({release("1.1")});
    recorder_.offerAnswer = SPUUserUpdateChoice::dismiss;
    start();
    for (int i = 0; i < 2; ++i) { // it is offered again
        recorder_.calls.clear();
        checkInBackground();
        EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({background,
                                                              read,
                                                              found("1.1", "notDownloaded background"),
                                                              {"D.userDidMakeChoice dismiss"},
                                                              endShown("none")})));
    }
    EXPECT_THAT(server_.targets(), testing::Each("/app/appcast.xml"));
    EXPECT_TRUE(isUnchanged());
}

TEST_F(UpdaterCheck, InTheBackgroundFailsWithoutAWord) {
    publishFeed({release("1.0")});
    start();
    checkInBackground();
    EXPECT_THAT(recorder_.calls,
                ElementsAreArray(joined({background, read, {"D.updaterDidNotFindUpdate 1001"}, endSilently("1001")})));
    recorder_.calls.clear();
    server_.answer("/app/appcast.xml", Answer::of(500));
    checkInBackground();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({background, endSilently("2001")})));
    recorder_.calls.clear();
    recorder_.mayCheck = false;
    recorder_.refusal = UpdateError("Ovrel.Updates", 1, "Нет.", "No.");
    checkInBackground();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({refusedBackground, endSilently("1")})));
    EXPECT_TRUE(isUnchanged());
}

TEST_F(UpdaterCheck, RemembersWhatWasSkippedUntilTheUserAsks) {
    publishFeed({release("1.1")});
    recorder_.offerAnswer = SPUUserUpdateChoice::skip;
    start();
    checkInBackground();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({background,
                                                          read,
                                                          found("1.1", "notDownloaded background"),
                                                          {"D.userDidMakeChoice skip"},
                                                          endShown("none")})));
    EXPECT_EQ(environment_.state.skippedVersion(), "1.1");

    recorder_.calls.clear();
    checkInBackground();
    EXPECT_THAT(recorder_.calls,
                ElementsAreArray(joined({background, read, {"D.updaterDidNotFindUpdate 1001"}, endSilently("1001")})));
    EXPECT_EQ(environment_.state.skippedVersion(), "1.1");

    recorder_.calls.clear();
    recorder_.offerAnswer = SPUUserUpdateChoice::dismiss;
    checkAsked();
    EXPECT_THAT(
        recorder_.calls,
        ElementsAreArray(joined(
            {asked, read, found("1.1", "notDownloaded asked"), {"D.userDidMakeChoice dismiss"}, endAsked("none")})));
    EXPECT_EQ(environment_.state.skippedVersion(), "");
    EXPECT_TRUE(isUnchanged());
}

TEST_F(UpdaterCheck, LeavesOutOtherChannelsAndSystems) {
    const std::string mac =
        "<enclosure url=\"https://" OVREL_PUBLISHER_HOST "/app/releases/x.dmg\" length=\"9\" sparkle:os=\"macos\"/>";
    publishFeed({{"3.0", "", mac},
                 release("1.2", "<sparkle:channel>beta</sparkle:channel>"),
                 release("1.1", "<title>first</title>"),
                 release("1.1", "<title>second</title>")});
    recorder_.offerAnswer = SPUUserUpdateChoice::dismiss;
    start();
    checkAsked();
    EXPECT_EQ(recorder_.count("U.showUpdateFound 1.1 notDownloaded asked"), 1);
    ASSERT_TRUE(recorder_.shownItem);
    EXPECT_EQ(recorder_.shownItem->title, "first");
}

TEST_F(UpdaterCheck, EndsWhenItIsCancelledFromAnyThread) {
    server_.answer("/app/appcast.xml", Answer());
    start();
    recorder_.during["U.showUserInitiatedUpdateCheck"] = [this] { EXPECT_TRUE(updater_->canCheckForUpdates()); };
    updater_->checkForUpdates();
    waitFor("U.showUserInitiatedUpdateCheck");
    turnUntil([this] { return !server_.requests().isEmpty(); });
    std::thread([cancellation = *recorder_.cancellation] {
        cancellation();
        cancellation();
    }).join();
    waitForEnd();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({asked, endAsked("none")})));
    turnUntil([this] { return proxy_.openConnections() == 0; });
    EXPECT_TRUE(updater_->canCheckForUpdates());
    (*recorder_.cancellation)();
    QCoreApplication::processEvents();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({asked, endAsked("none")})));
    EXPECT_TRUE(isUnchanged());
}

TEST_F(UpdaterCheck, EndsWhenNobodyIsLeftWhoCouldCancelIt) {
    server_.answer("/app/appcast.xml", Answer());
    start();
    recorder_.during["U.showUserInitiatedUpdateCheck"] = [this] { recorder_.cancellation.reset(); };
    checkAsked();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({asked, endAsked("none")})));
}

TEST_F(UpdaterCheck, CanNoMoreBeCancelledOnceTheFeedIsRead) {
    publishFeed({release("1.1")});
    recorder_.offerAnswer = SPUUserUpdateChoice::dismiss;
    start();
    recorder_.during["D.didFinishLoadingAppcast"] = [this] { (*recorder_.cancellation)(); };
    checkAsked();
    EXPECT_EQ(recorder_.count("U.showUpdateFound 1.1 notDownloaded asked"), 1);
}

TEST_F(UpdaterCheck, ThatIsRefusedShowsNoSearch) {
    publishFeed({release("1.1")});
    start();
    recorder_.mayCheck = false;
    recorder_.refusal = UpdateError("Ovrel.Updates", 1, "Нет.", "No.");
    checkAsked();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({refusedAsked, failed("1")})));
    recorder_.calls.clear();
    recorder_.refusal.reset();
    checkAsked();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({refusedAsked, endAsked("none")})));
    EXPECT_THAT(proxy_.requests(), IsEmpty());
}

TEST_F(UpdaterCheck, ThatMayNotProceedTellsNobodyOfTheUpdate) {
    publishFeed({release("1.1")});
    start();
    recorder_.shouldProceed = false;
    const Calls before = {"D.shouldProceedWithUpdate 1.1"};
    checkAsked();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({asked, read, before, endAsked("none")})));
    recorder_.calls.clear();
    recorder_.refusal = UpdateError("Ovrel.Updates", 1, "Нет.", "No.");
    checkAsked();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({asked, read, before, failed("1")})));
    recorder_.calls.clear();
    checkInBackground();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({background, read, before, endSilently("1")})));
}

TEST_F(UpdaterCheck, OfABadFeedFails) {
    const std::string doctype = "<!DOCTYPE rss [<!ENTITY a \"b\">]><rss version=\"2.0\"><channel/></rss>";
    const struct {
        const char* what;
        std::string feed;
        const char* error;
    } rows[] = {
        {"no XML", "<rss><channel></rss>", "1000"},
        {"nothing", "", "1000"},
        {"no version", feedOf({{"", "", release("1.1").enclosure}}), "1000"},
        {"an archive by another protocol", feedOf({{"1.1", "", "<enclosure url=\"ftp://x/y\" length=\"9\"/>"}}),
         "1000"},
        {"an unknown way to install",
         feedOf({{"1.1", "", "<enclosure url=\"https://x/y\" sparkle:installationType=\"magic\"/>"}}), "1000"},
        {"a document type", doctype, "1000"},
        {"2 MiB", feedOf({release("1.1", "<description>" + std::string(2U << 20U, 'x') + "</description>")}), "1000"},
    };
    start();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        recorder_.calls.clear();
        publishFeedText(row.feed);
        checkAsked();
        EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({asked, failed(row.error)})));
    }
    EXPECT_TRUE(isUnchanged());
}

TEST_F(UpdaterCheck, WithoutAFeedThatIsHttpsAsksNobody) {
    start();
    recorder_.feed.reset();
    checkAsked();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({{asked[0], asked[1]}, failed("4")})));
    for (const char* feed :
         {"", "http://" OVREL_PUBLISHER_HOST "/app/appcast.xml", "file:///appcast.xml", "appcast.xml"}) {
        recorder_.calls.clear();
        recorder_.feed = feed;
        checkAsked();
        EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({{asked[0], asked[1]}, failed("4")}))) << feed;
    }
    EXPECT_THAT(proxy_.requests(), IsEmpty());
}

TEST_F(UpdaterCheck, FollowsNoRedirectToALessSafeAddress) {
    server_.answer("/app/appcast.xml", Answer::redirect(302, "http://" OVREL_PUBLISHER_HOST "/app/y"));
    start();
    checkAsked();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({asked, failed("2001")})));
    EXPECT_EQ(proxy_.requests().size(), 1);
}

TEST_F(UpdaterCheck, FollowsFiveRedirectsToAnyHost) {
    start();
    publishFeed({release("1.0")});
    server_.answer("/1", Answer::redirect(302, "/app/appcast.xml"));
    for (const QByteArray target : {"/2", "/3", "/4", "/5"}) {
        server_.answer(target, Answer::redirect(302, "/" + QByteArray::number(target.mid(1).toInt() - 1)));
    }
    recorder_.feed = QString::fromUtf8(addressOf("/5").toEncoded());
    checkAsked();
    EXPECT_EQ(recorder_.count("U.showUpdateNotFound 1"), 1);
    server_.answer("/6", Answer::redirect(302, "/5"));
    recorder_.feed = QString::fromUtf8(addressOf("/6").toEncoded());
    recorder_.calls.clear();
    checkAsked();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({asked, failed("2001")})));
}

TEST_F(UpdaterCheck, TellsServersNameAndVersionAlone) {
    publishFeed({release("1.0")});
    start();
    checkAsked();
    ASSERT_EQ(server_.requests().size(), 1);
    const QByteArray request = server_.requests().first();
    EXPECT_TRUE(request.contains("User-Agent: Ovrel/1.0 Sparkle\r\n")) << request.toStdString();
    EXPECT_TRUE(request.contains("Accept-Encoding: identity\r\n")) << request.toStdString();
    EXPECT_TRUE(request.contains("Accept: application/rss+xml,*/*;q=0.1\r\n")) << request.toStdString();
}

TEST_F(UpdaterCheck, LeavesAloneWhatOthersManage) {
    const struct {
        const char* what;
        InstallationKind kind;
        const char* managedBy;
        bool hasKey;
        Calls begin;
        Calls beginInBackground;
        const char* error;
    } rows[] = {
        {"a package manager", InstallationKind::managed, "Debian", true, refusedAsked, refusedBackground, "4012"},
        {"a package manager, and a build of its own", InstallationKind::managed, "Debian", false, refusedAsked,
         refusedBackground, "4012"},
        {"nobody says", InstallationKind::unknown, "", true, refusedAsked, refusedBackground, "4012"},
        {"nobody says, of a build for nobody else", InstallationKind::unknown, "", false, refusedAsked,
         refusedBackground, "4012"},
        {"a place that cannot be written", InstallationKind::notWritable, "", true, asked, background, "1003"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        environment_.publicKey = [&row] {
            return row.hasKey ? testKey() : PublicKey::fromBase64(u"", PublicKey::Audience::developers);
        };
        environment_.installation = {row.kind, row.managedBy, "a test"};
        start();
        checkAsked();
        EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({row.begin, failed(row.error)})));
        ASSERT_TRUE(recorder_.shownError);
        EXPECT_TRUE(recorder_.shownError->localizedDescription(AppLanguage::english).contains(row.managedBy));
        recorder_.calls.clear();
        checkInBackground();
        EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({row.beginInBackground, endSilently(row.error)})));
    }
    EXPECT_THAT(proxy_.requests(), IsEmpty());
    EXPECT_TRUE(isUnchanged());
    // Neither a lock nor a journal, and nothing that would have to be remembered.
    EXPECT_THAT(entriesOf(parent()), testing::ElementsAre(installation()));
}

TEST_F(UpdaterCheck, BringsAnOfferIntoFocusInsteadOfSearchingAgain) {
    publishFeed({release("1.1")});
    start();
    updater_->checkForUpdates();
    waitFor("U.showUpdateFound 1.1 notDownloaded asked");
    EXPECT_TRUE(updater_->canCheckForUpdates());
    updater_->checkForUpdates();
    EXPECT_EQ(recorder_.count("U.showUpdateInFocus"), 1);
    updater_->checkForUpdatesInBackground();
    EXPECT_EQ(recorder_.calls.back(), "U.showUpdateInFocus");
    (*recorder_.offer)(SPUUserUpdateChoice::dismiss);
    (*recorder_.offer)(SPUUserUpdateChoice::skip); // too late
    waitForEnd();
    EXPECT_EQ(recorder_.count("D.userDidMakeChoice dismiss"), 1);
    EXPECT_EQ(environment_.state.skippedVersion(), "");
}

TEST_F(UpdaterCheck, TakesADroppedReplyForADismissal) {
    publishFeed({release("1.1")});
    start();
    recorder_.during["U.showUpdateFound 1.1 notDownloaded asked"] = [this] { recorder_.offer.reset(); };
    checkAsked();
    EXPECT_EQ(recorder_.count("D.userDidMakeChoice dismiss"), 1);

    publishFeed({release("1.0")});
    recorder_.acknowledges = false;
    recorder_.calls.clear();
    updater_->checkForUpdates();
    waitFor("U.showUpdateNotFound 1");
    recorder_.acknowledgement.reset();
    waitForEnd();
    EXPECT_THAT(recorder_.calls, ElementsAreArray(joined({asked, read, notFound(1), endAsked("1001")})));
}

TEST_F(UpdaterCheck, NeverInstallsWhatIsInformationOnly) {
    publishFeed(
        {{"1.1", "<link>https://ovrel.example/news</link><sparkle:informationalUpdate/>", release("1.1").enclosure}});
    recorder_.offerAnswer = SPUUserUpdateChoice::install;
    start();
    checkAsked();
    ASSERT_TRUE(recorder_.shownItem);
    EXPECT_TRUE(recorder_.shownItem->isInformationOnlyUpdate);
    EXPECT_EQ(recorder_.count("D.userDidMakeChoice dismiss"), 1);
    EXPECT_THAT(server_.targets(), testing::Each("/app/appcast.xml"));
}

TEST_F(UpdaterCheck, MayBeginAnotherOneFromTheEndOfTheFirst) {
    publishFeed({release("1.0")});
    start();
    int times = 0;
    recorder_.during["D.didFinishUpdateCycle background 1001"] = [&] {
        if (++times == 1) {
            updater_->checkForUpdatesInBackground();
        }
    };
    updater_->checkForUpdatesInBackground();
    turnUntil([&] { return times == 2 && !updater_->sessionInProgress(); });
    EXPECT_EQ(recorder_.count("D.updaterWillNotScheduleUpdateCheck"), 1);
}

TEST_F(UpdaterCheck, EndsSilentlyWithTheUpdater) {
    publishFeed({release("1.1")});
    for (const char* when :
         {"D.mayPerformUpdateCheck asked", "D.feedURLString", "U.showUserInitiatedUpdateCheck",
          "D.didFinishLoadingAppcast", "D.didFindValidUpdate 1.1", "U.showUpdateFound 1.1 notDownloaded asked",
          "D.userDidMakeChoice dismiss", "U.dismissUpdateInstallation", "D.didFinishUpdateCycle asked none"}) {
        SCOPED_TRACE(when);
        recorder_.during.clear();
        recorder_.calls.clear();
        recorder_.offerAnswer = SPUUserUpdateChoice::dismiss;
        start();
        checkUntilTheUpdaterGoes(when);
    }
}

TEST_F(UpdaterCheck, DoesNothingBeforeTheStart) {
    updater_ = std::make_unique<Updater>(environment_, recorder_, recorder_);
    EXPECT_FALSE(updater_->canCheckForUpdates());
    updater_->checkForUpdates();
    updater_->checkForUpdatesInBackground();
    QCoreApplication::processEvents();
    EXPECT_THAT(recorder_.calls, IsEmpty());
}

TEST_F(UpdaterCheck, IsNotToBeHadWithoutAKeyOfThePublisher) {
    const struct {
        const char* what;
        QString key;
        PublicKey::Audience audience;
    } rows[] = {
        {"none", "", PublicKey::Audience::developers},
        {"no key", "x", PublicKey::Audience::developers},
        {"the key of the tests, for users", testKeyText(), PublicKey::Audience::users},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        environment_.publicKey = [&row] { return PublicKey::fromBase64(row.key, row.audience); };
        updater_ = std::make_unique<Updater>(environment_, recorder_, recorder_);
        const std::optional<UpdateError> error = updater_->startUpdater();
        ASSERT_TRUE(error);
        EXPECT_TRUE(error->is(SUError::insecure));
        updater_->checkForUpdates();
        EXPECT_THAT(recorder_.calls, IsEmpty());
    }
}

} // namespace ovrel::test
