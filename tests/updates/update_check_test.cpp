#include "tests/updates/update_fixture.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Calls = std::vector<std::string>;

const Wording checking{"Проверяем обновления…", "Checking for updates…"};
const Wording title{"Обновление Ovrel", "Ovrel Update"};
const Wording waitForProcessing{"Дождитесь завершения обработки", "Please wait for processing to finish"};

const Calls firstFront{"panel: made", "panel: title Ovrel Update", "panel: front"};
const Calls front{"panel: title Ovrel Update", "panel: front"};
const Calls firstStart{"updater: made", "updater: start"};
const Calls checks{"updater: check"};
const Calls checksInBackground{"updater: check in background"};

/// A manager that shows nothing and has done nothing that anyone could see.
void expectSilence(UpdateFixture& fixture) {
    EXPECT_THAT(fixture.takeCalls(), IsEmpty());
    EXPECT_EQ(fixture.shown(), Shown());
    EXPECT_FALSE(fixture.manager().checking());
}

} // namespace

TEST(UpdateCheck, AtTheStartRunsInTheBackgroundAndOnlyOnce) {
    UpdateFixture fixture;
    const QCoro::Task<void> launch = fixture.manager().launch();
    EXPECT_TRUE(fixture.manager().checking());
    EXPECT_FALSE(launch.isReady());
    fixture.answer(settingsWithFeed());
    EXPECT_TRUE(launch.isReady());
    EXPECT_EQ(fixture.takeCalls(), firstStart + configuration() + checksInBackground);
    fixture.endCycle();

    const QCoro::Task<void> again = fixture.manager().launch();
    EXPECT_TRUE(again.isReady());
    EXPECT_EQ(fixture.network.count(), 1U);
    expectSilence(fixture);
}

TEST(UpdateCheck, AtTheStartIsNotRepeatedWhenItWasPutOff) {
    UpdateFixture fixture;
    fixture.manager().setProcessing(true);
    fixture.manager().launch();
    fixture.manager().launch();
    fixture.manager().setProcessing(false);
    runEvents();
    EXPECT_EQ(fixture.network.count(), 1U);
}

TEST(UpdateCheck, OfTheUserShowsThatItRuns) {
    for (const AppLanguage language : AppLanguage::allCases) {
        SCOPED_TRACE(language.rawValue().toStdString());
        UpdateFixture fixture(language);
        fixture.begin(true);
        EXPECT_TRUE(fixture.manager().checking());
        EXPECT_EQ(fixture.shown(), (Shown{checking.in(language), "", true, {}, {}}));
        EXPECT_THAT(fixture.takeCalls(),
                    ElementsAre("panel: made", "panel: title " + title.in(language), "panel: front"));
        EXPECT_EQ(fixture.network.count(), 1U);
        EXPECT_EQ(fixture.network.address(0), BannerSettings::address());

        fixture.answer(settingsWithFeed());
        EXPECT_EQ(fixture.takeCalls(), firstStart + configuration() + checks);
        EXPECT_TRUE(fixture.manager().checking());
        EXPECT_EQ(fixture.shown(), (Shown{checking.in(language), "", true, {}, {}}));
    }
}

TEST(UpdateCheck, InTheBackgroundShowsNothing) {
    UpdateFixture fixture;
    fixture.begin(false);
    EXPECT_TRUE(fixture.manager().checking());
    EXPECT_THAT(fixture.takeCalls(), IsEmpty());
    fixture.answer(settingsWithFeed());
    EXPECT_EQ(fixture.takeCalls(), firstStart + configuration() + checksInBackground);
    EXPECT_TRUE(fixture.manager().checking());
    EXPECT_EQ(fixture.shown(), Shown());
}

TEST(UpdateCheck, ConfiguresTheUpdaterEachTimeButMakesAndStartsItOnce) {
    UpdateFixture fixture;
    fixture.check(false);
    EXPECT_EQ(fixture.takeCalls(), firstStart + configuration() + checksInBackground);
    fixture.endCycle();
    fixture.check(true);
    EXPECT_EQ(fixture.takeCalls(), firstFront + configuration() + checks);
    fixture.endCycle();
    fixture.check(false);
    EXPECT_EQ(fixture.takeCalls(), configuration() + checksInBackground);
}

TEST(UpdateCheck, OnlyBringsThePanelForwardWhileSomethingIsUnderWay) {
    struct Row {
        const char* what;
        std::function<void(UpdateFixture&)> begin;
    };
    const Row rows[] = {
        {"settings are loaded for the user", [](UpdateFixture& fixture) { fixture.begin(true); }},
        {"settings are loaded in the background", [](UpdateFixture& fixture) { fixture.begin(false); }},
        {"the updater checks", [](UpdateFixture& fixture) { fixture.check(true); }},
        {"something is being installed", [](UpdateFixture& fixture) { fixture.authorize(); }},
        {"something is being installed while images are processed",
         [](UpdateFixture& fixture) {
             fixture.authorize();
             fixture.manager().setProcessing(true);
         }},
        {"the updater has not ended its session",
         [](UpdateFixture& fixture) {
             fixture.check(true);
             fixture.endCycle();
             fixture.sessionInProgress = true;
         }},
    };
    for (const Row& row : rows) {
        for (const bool manual : {true, false}) {
            for (const bool hasPanel : {true, false}) {
                SCOPED_TRACE(row.what);
                SCOPED_TRACE(manual ? "the user asks" : "in the background");
                SCOPED_TRACE(hasPanel ? "with a panel" : "without a panel");
                UpdateFixture fixture;
                if (hasPanel) {
                    fixture.manager().notice(QStringLiteral("earlier"), {}, [] {});
                } else {
                    fixture.manager().setPanelFactory({});
                }
                row.begin(fixture);
                const Shown shown = fixture.shown();
                const bool wasChecking = fixture.manager().checking();
                const std::size_t requests = fixture.network.count();
                fixture.takeCalls();

                fixture.begin(manual);
                runEvents();
                EXPECT_EQ(fixture.takeCalls(), hasPanel ? Calls{"panel: front"} : Calls{});
                EXPECT_EQ(fixture.shown(), shown);
                EXPECT_EQ(fixture.manager().checking(), wasChecking);
                EXPECT_EQ(fixture.network.count(), requests);
            }
        }
    }
}

TEST(UpdateCheck, OfTheUserHasToWaitForProcessing) {
    for (const AppLanguage language : AppLanguage::allCases) {
        SCOPED_TRACE(language.rawValue().toStdString());
        UpdateFixture fixture(language);
        fixture.manager().setProcessing(true);
        fixture.begin(true);
        EXPECT_FALSE(fixture.manager().checking());
        EXPECT_EQ(fixture.shown(), (Shown{waitForProcessing.in(language), "", false, {}, {"OK"}}));

        fixture.takeCalls();
        fixture.press("OK");
        EXPECT_THAT(fixture.takeCalls(), ElementsAre("panel: out"));
        EXPECT_THAT(fixture.manager().actions(), IsEmpty());

        fixture.manager().setProcessing(false);
        runEvents();
        EXPECT_EQ(fixture.network.count(), 0U);
    }
}

TEST(UpdateCheck, InTheBackgroundRunsOnceWhenProcessingHasEnded) {
    UpdateFixture fixture;
    fixture.manager().setProcessing(true);
    for (int count = 0; count < 3; ++count) {
        fixture.begin(false);
    }
    runEvents();
    EXPECT_EQ(fixture.network.count(), 0U);
    expectSilence(fixture);

    fixture.manager().setProcessing(false);
    runEvents();
    ASSERT_EQ(fixture.network.count(), 1U);
    fixture.answer(settingsWithFeed());
    EXPECT_EQ(fixture.takeCalls(), firstStart + configuration() + checksInBackground);
    fixture.endCycle();

    fixture.manager().setProcessing(true);
    fixture.manager().setProcessing(false);
    runEvents();
    EXPECT_EQ(fixture.network.count(), 1U);
}

TEST(UpdateCheck, ThatWasPutOffLeavesTheTurnToWhateverFollowsTheProcessing) {
    UpdateFixture fixture;
    fixture.manager().setProcessing(true);
    fixture.begin(false);
    fixture.manager().setProcessing(false);
    EXPECT_FALSE(fixture.manager().checking());
    fixture.manager().setProcessing(true); // the next run has begun
    runEvents();
    EXPECT_EQ(fixture.network.count(), 0U);

    fixture.manager().setProcessing(false);
    runEvents();
    EXPECT_TRUE(fixture.manager().checking());
    EXPECT_EQ(fixture.network.count(), 1U);
}

TEST(UpdateCheck, OfTheUserHasToWaitForProcessingThatBeganMeanwhile) {
    UpdateFixture fixture;
    fixture.begin(true);
    fixture.manager().setProcessing(true);
    fixture.answer(settingsWithFeed());
    EXPECT_EQ(fixture.takeCalls(), firstFront + firstStart + configuration() + front);
    EXPECT_FALSE(fixture.manager().checking());
    EXPECT_EQ(fixture.shown(), (Shown{waitForProcessing.english, "", false, {}, {"OK"}}));

    fixture.manager().setProcessing(false);
    runEvents();
    EXPECT_EQ(fixture.network.count(), 1U);
}

TEST(UpdateCheck, InTheBackgroundIsPutOffByProcessingThatBeganMeanwhile) {
    UpdateFixture fixture;
    fixture.begin(false);
    fixture.manager().setProcessing(true);
    fixture.answer(settingsWithFeed());
    EXPECT_EQ(fixture.takeCalls(), firstStart + configuration());
    expectSilence(fixture);

    fixture.manager().setProcessing(false);
    runEvents();
    ASSERT_EQ(fixture.network.count(), 2U);
    fixture.answer(settingsWithFeed());
    EXPECT_EQ(fixture.takeCalls(), configuration() + checksInBackground);
}

TEST(UpdateCheck, IsNotPutOffByProcessingThatEndedMeanwhile) {
    UpdateFixture fixture;
    fixture.begin(false);
    fixture.manager().setProcessing(true);
    fixture.manager().setProcessing(false);
    fixture.answer(settingsWithFeed());
    EXPECT_EQ(fixture.takeCalls(), firstStart + configuration() + checksInBackground);
}

TEST(UpdateCheck, TellsTheUserAloneHowItEndedWithoutTheUpdater) {
    struct Row {
        const char* what;
        std::function<void(UpdateFixture&)> end;
        Wording heading;
        Wording detail;
        bool asksUpdater = false;
    };
    const Wording failed{"Не удалось проверить обновления", "Unable to check for updates"};
    const Wording failedDetail{"Проверьте подключение к интернету и повторите попытку позже.",
                               "Check your internet connection and try again later."};
    const auto answers = [](const QByteArray& settings) {
        return [settings](UpdateFixture& fixture) { fixture.answer(settings); };
    };
    const Row rows[] = {
        {"switched off, the feed malformed",
         answers("enabled=true\nupdates_enabled=false\nupdate_feed_url=::"),
         {"Обновления пока отключены", "Updates are currently disabled"},
         {"Проверка обновлений отключена издателем приложения. Попробуйте позже.",
          "Update checks are disabled by the app publisher. Please try again later."}},
        {"no network",
         [](UpdateFixture& fixture) {
             fixture.network.fail(fixture.network.count() - 1,
                                  std::make_exception_ptr(std::runtime_error("no network")));
         },
         failed, failedDetail},
        {"malformed settings", answers("words"), failed, failedDetail},
        {"settings without \"enabled\"", answers(settingsWithFeed().mid(settingsWithFeed().indexOf('\n'))), failed,
         failedDetail},
        {"settings without a switch", answers("enabled=true"), failed, failedDetail},
        {"a switch that is none", answers("enabled=true\nupdates_enabled=yes"), failed, failedDetail},
        {"no feed", answers("enabled=true\nupdates_enabled=true"), failed, failedDetail},
        {"a feed elsewhere",
         answers("enabled=true\nupdates_enabled=true\nupdate_feed_url=https://example.com/app/a.xml"), failed,
         failedDetail},
        {"an updater that does not start",
         [](UpdateFixture& fixture) {
             fixture.startError = someError();
             fixture.answer(settingsWithFeed());
         },
         failed, failedDetail, true},
    };
    for (const Row& row : rows) {
        for (const AppLanguage language : AppLanguage::allCases) {
            SCOPED_TRACE(row.what);
            SCOPED_TRACE(language.rawValue().toStdString());
            const Calls asked = row.asksUpdater ? firstStart : Calls{};

            UpdateFixture fixture(language);
            fixture.begin(true);
            fixture.takeCalls();
            row.end(fixture);
            EXPECT_EQ(fixture.takeCalls(), (asked + Calls{"panel: title " + title.in(language), "panel: front"}));
            EXPECT_FALSE(fixture.manager().checking());
            EXPECT_EQ(fixture.shown(), (Shown{row.heading.in(language), row.detail.in(language), false, {}, {"OK"}}));
            fixture.press("OK");
            EXPECT_THAT(fixture.takeCalls(), ElementsAre("panel: out"));
            EXPECT_THAT(fixture.manager().actions(), IsEmpty());

            UpdateFixture background(language);
            background.begin(false);
            row.end(background);
            EXPECT_EQ(background.takeCalls(), asked);
            expectSilence(background);
        }
    }
}

TEST(UpdateCheck, FailsWhenItsSettingsFailAtOnce) {
    UpdateManager manager(
        {[]() -> QCoro::Task<BannerSettings> { throw 1; }, {}, [] { return AppLanguage::english; }, {}});
    const QCoro::Task<void> check = manager.check(true);
    EXPECT_TRUE(check.isReady());
    EXPECT_FALSE(manager.checking());
    EXPECT_EQ(manager.heading(), QStringLiteral("Unable to check for updates"));
}

TEST(UpdateCheck, StartsTheUpdaterAgainAfterAFailure) {
    UpdateFixture fixture;
    fixture.startError = someError();
    fixture.check(false);
    EXPECT_EQ(fixture.takeCalls(), firstStart);
    fixture.startError.reset();
    fixture.check(false);
    EXPECT_EQ(fixture.takeCalls(), Calls{"updater: start"} + configuration() + checksInBackground);
}

TEST(UpdateCheck, EndsWithoutAWordWhereThereIsNoUpdater) {
    UpdateFixture fixture;
    fixture.hasUpdater = false;
    fixture.check(false);
    expectSilence(fixture);

    fixture.check(true);
    EXPECT_EQ(fixture.takeCalls(), firstFront + Calls{"panel: out"});
    EXPECT_FALSE(fixture.manager().checking());
    EXPECT_THAT(fixture.manager().actions(), IsEmpty());

    fixture.hasUpdater = true;
    fixture.check(false);
    EXPECT_EQ(fixture.takeCalls(), firstStart + configuration() + checksInBackground);
}

TEST(UpdateCheck, InTheBackgroundLeavesAMessageAloneWhereThereIsNoUpdater) {
    UpdateFixture fixture;
    fixture.hasUpdater = false;
    fixture.manager().notice(QStringLiteral("earlier"), {}, [] {});
    fixture.takeCalls();
    fixture.check(false);
    EXPECT_THAT(fixture.takeCalls(), IsEmpty());
    EXPECT_EQ(fixture.shown(), (Shown{"earlier", "", false, {}, {"OK"}}));
}

TEST(UpdateCheck, LastsUntilTheUpdaterEndsIt) {
    struct Row {
        const char* what;
        std::function<void(UpdateManager&)> end;
    };
    const Row rows[] = {
        {"the cycle ends",
         [](UpdateManager& manager) {
             manager.didFinishUpdateCycleForUpdateCheck(SPUUpdateCheck::updatesInBackground, std::nullopt);
         }},
        {"the cycle ends in failure",
         [](UpdateManager& manager) {
             manager.didFinishUpdateCycleForUpdateCheck(SPUUpdateCheck::updates, someError());
         }},
        {"nothing is found",
         [](UpdateManager& manager) { manager.showUpdateNotFoundWithError(someError(), OneShot<>([] {})); }},
        {"the session fails", [](UpdateManager& manager) { manager.showUpdaterError(someError(), OneShot<>([] {})); }},
        {"the session is dismissed", [](UpdateManager& manager) { manager.dismissUpdateInstallation(); }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        UpdateFixture fixture;
        fixture.check(true);
        runEvents();
        EXPECT_TRUE(fixture.manager().checking());
        row.end(fixture.manager());
        EXPECT_FALSE(fixture.manager().checking());
    }
}

} // namespace ovrel::test
