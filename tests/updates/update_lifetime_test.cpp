#include "tests/updates/update_fixture.h"

#include <gmock/gmock.h>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Calls = std::vector<std::string>;

} // namespace

TEST(UpdateLifetime, DropsEveryReplyThatIsStillOutstanding) {
    struct Row {
        const char* what;
        std::function<void(UpdateFixture&)> begin;
        Calls calls;
    };
    const Row rows[] = {
        {"an offer that is shown",
         [](UpdateFixture& fixture) {
             fixture.manager().showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.reply());
         },
         {"panel: gone", "reply: dropped"}},
        {"an offer that waits",
         [](UpdateFixture& fixture) {
             fixture.manager().setProcessing(true);
             fixture.manager().showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.reply());
         },
         {"reply: dropped"}},
        {"a choice that waits",
         [](UpdateFixture& fixture) {
             fixture.manager().showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.reply());
             fixture.manager().setProcessing(true);
             fixture.press("Install Update");
         },
         {"panel: gone", "reply: dropped"}},
        {"an installation that waits",
         [](UpdateFixture& fixture) {
             fixture.authorize();
             fixture.manager().setProcessing(true);
             fixture.manager().showReadyToInstallAndRelaunch(fixture.reply());
         },
         {"panel: gone", "reply: dropped"}},
        {"a restart that waits",
         [](UpdateFixture& fixture) {
             fixture.manager().setProcessing(true);
             fixture.manager().shouldPostponeRelaunchForUpdate(installableItem(), fixture.block("restart"));
         },
         {"restart: dropped"}},
        {"a message about a failure",
         [](UpdateFixture& fixture) {
             fixture.manager().showUpdaterError(someError(), fixture.block("acknowledgement"));
         },
         {"panel: gone", "acknowledgement: dropped"}},
        {"a message that there is nothing",
         [](UpdateFixture& fixture) {
             fixture.manager().showUpdateNotFoundWithError(someError(), fixture.block("acknowledgement"));
         },
         {"panel: gone", "acknowledgement: dropped"}},
        {"a download",
         [](UpdateFixture& fixture) {
             fixture.manager().showDownloadInitiatedWithCancellation(fixture.block("cancellation"));
         },
         {"panel: gone", "cancellation: dropped"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        UpdateFixture fixture;
        fixture.check(false);
        row.begin(fixture);
        fixture.takeCalls();
        fixture.destroyManager();
        EXPECT_EQ(fixture.takeCalls(), Calls{"updater: gone"} + row.calls);
    }
}

TEST(UpdateLifetime, DropsAReplyThatGivesWayToSomethingElse) {
    UpdateFixture fixture;
    fixture.manager().showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.reply());
    fixture.takeCalls();
    fixture.manager().show(QStringLiteral("something else"), {}, false, {});
    EXPECT_THAT(fixture.takeCalls(), ElementsAre("reply: dropped", "panel: title Ovrel Update", "panel: front"));
}

TEST(UpdateLifetime, HearsOutAnUpdaterThatEnds) {
    UpdateFixture fixture;
    fixture.check(true);
    fixture.authorize();
    fixture.manager().setProcessing(true);
    fixture.manager().showReadyToInstallAndRelaunch(fixture.reply("ready"));
    fixture.takeCalls();
    UpdateManager& manager = fixture.manager();
    fixture.whenUpdaterEnds = [&fixture, &manager] {
        EXPECT_TRUE(manager.checking());
        EXPECT_TRUE(manager.installing());
        manager.showUpdaterError(someError(), fixture.block("acknowledgement"));
        manager.dismissUpdateInstallation();
        manager.didFinishUpdateCycleForUpdateCheck(SPUUpdateCheck::updates, someError());
        manager.setProcessing(false);
        manager.check(true); // asks for settings that nobody waits for
    };
    fixture.destroyManager();
    const Calls calls = fixture.takeCalls();
    ASSERT_GE(calls.size(), 2U);
    EXPECT_EQ(calls.front(), "ready: dropped");
    EXPECT_EQ(calls[calls.size() - 2], "updater: gone");
    EXPECT_EQ(calls.back(), "panel: gone");
    EXPECT_EQ(fixture.network.count(), 2U);
    fixture.answer(settingsWithFeed());
    EXPECT_THAT(fixture.takeCalls(), IsEmpty());
}

TEST(UpdateLifetime, IsOutlivedByACheckThatDoesNothingThen) {
    struct Row {
        const char* what;
        std::function<void(UpdateFixture&)> end;
    };
    const Row rows[] = {
        {"settings", [](UpdateFixture& fixture) { fixture.answer(settingsWithFeed()); }},
        {"switched off", [](UpdateFixture& fixture) { fixture.answer("enabled=true\nupdates_enabled=false"); }},
        {"malformed settings", [](UpdateFixture& fixture) { fixture.answer("words"); }},
    };
    for (const Row& row : rows) {
        for (const bool manual : {true, false}) {
            SCOPED_TRACE(row.what);
            UpdateFixture fixture;
            const QCoro::Task<void> check = fixture.manager().check(manual);
            fixture.destroyManager();
            EXPECT_FALSE(check.isReady());
            fixture.takeCalls();
            row.end(fixture);
            EXPECT_TRUE(check.isReady());
            EXPECT_THAT(fixture.takeCalls(), IsEmpty());
        }
    }
}

TEST(UpdateLifetime, IsOutlivedByTheCheckAtTheStart) {
    UpdateFixture fixture;
    const QCoro::Task<void> launch = fixture.manager().launch();
    fixture.destroyManager();
    fixture.answer(settingsWithFeed());
    EXPECT_TRUE(launch.isReady());
    EXPECT_THAT(fixture.takeCalls(), IsEmpty());
}

TEST(UpdateLifetime, TakesACheckAlongThatHasNotBegunYet) {
    UpdateFixture fixture;
    fixture.manager().setProcessing(true);
    fixture.begin(false);
    fixture.manager().setProcessing(false);
    fixture.destroyManager();
    runEvents();
    EXPECT_EQ(fixture.network.count(), 0U);
}

TEST(UpdateLifetime, KeepsWhatLoadsTheSettingsUntilTheyHaveCome) {
    const auto held = std::make_shared<HeldFetch>();
    auto manager = std::make_unique<UpdateManager>(UpdateManager::Services{
        [settings = std::make_shared<RemoteSettings>(held->function())]() -> QCoro::Task<BannerSettings> {
            co_return co_await settings->fetch();
        },
        {},
        [] { return AppLanguage::english; },
        {}});
    const QCoro::Task<void> check = manager->check(true);
    manager.reset();
    held->answer(0, settingsWithFeed());
    EXPECT_TRUE(check.isReady());
}

} // namespace ovrel::test
