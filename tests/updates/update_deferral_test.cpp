#include "tests/updates/update_fixture.h"

#include <gmock/gmock.h>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Calls = std::vector<std::string>;

const Calls front{"panel: title Ovrel Update", "panel: front"};
const Shown offer{"A new version of Ovrel is available — 2.4",
                  "The update will be downloaded and verified. Ovrel will then install it and restart. Your original "
                  "images will remain untouched.",
                  false,
                  {},
                  {"Install Update", "Later", "Skip This Version"}};
const Shown waiting{"Waiting for processing to finish…", "", true, {}, {"Later"}};

/// One step that waits for the end of processing.
struct Step {
    const char* what;
    std::function<void(UpdateFixture&)> before; ///< while nothing is processed
    std::function<void(UpdateFixture&)> begin;  ///< while images are processed
    Calls atOnce;
    Calls afterwards; ///< once processing has ended
    Calls replaced;   ///< what becomes of it when another step takes its place
    bool asksSettings = false;
};

const std::vector<Step>& steps() {
    static const std::vector<Step> rows{
        {"a check in the background",
         [](UpdateFixture&) {},
         [](UpdateFixture& fixture) { fixture.begin(false); },
         {},
         {},
         {},
         true},
        {"an offer",
         [](UpdateFixture&) {},
         [](UpdateFixture& fixture) {
             fixture.manager().showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.reply("offer"));
         },
         {},
         front,
         {"offer: dropped"}},
        {"an offer of nothing that could be installed",
         [](UpdateFixture&) {},
         [](UpdateFixture& fixture) {
             SUAppcastItem item = installableItem();
             item.fileURL.reset();
             fixture.manager().showUpdateFoundWithAppcastItem(item, {}, fixture.reply("offer"));
         },
         {},
         Calls{"offer: dismiss"} + front,
         {"offer: dropped"}},
        {"the choice to install",
         [](UpdateFixture& fixture) {
             fixture.manager().showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.reply("offer"));
         },
         [](UpdateFixture& fixture) { fixture.press("Install Update"); },
         front,
         front,
         {}},
        {"the installation",
         [](UpdateFixture& fixture) { fixture.authorize(); },
         [](UpdateFixture& fixture) { fixture.manager().showReadyToInstallAndRelaunch(fixture.reply("ready")); },
         {},
         {"ready: install"},
         {"ready: dropped"}},
        {"the restart",
         [](UpdateFixture&) {},
         [](UpdateFixture& fixture) {
             EXPECT_TRUE(
                 fixture.manager().shouldPostponeRelaunchForUpdate(installableItem(), fixture.block("restart")));
         },
         {},
         {"restart: called"},
         {"restart: dropped"}},
    };
    return rows;
}

/// A fixture with a panel, in which a step waits.
void putOff(UpdateFixture& fixture, const Step& step) {
    fixture.manager().notice({}, {}, [] {});
    step.before(fixture);
    fixture.manager().setProcessing(true);
    fixture.takeCalls();
    step.begin(fixture);
}

} // namespace

TEST(UpdateDeferral, HoldsEachStepUntilProcessingHasEnded) {
    for (const Step& step : steps()) {
        SCOPED_TRACE(step.what);
        UpdateFixture fixture;
        putOff(fixture, step);
        EXPECT_EQ(fixture.takeCalls(), step.atOnce);
        fixture.manager().setProcessing(true); // no end
        runEvents();
        EXPECT_THAT(fixture.takeCalls(), IsEmpty());
        EXPECT_EQ(fixture.network.count(), 0U);

        fixture.manager().setProcessing(false);
        EXPECT_EQ(fixture.takeCalls(), step.afterwards);
        runEvents();
        EXPECT_EQ(fixture.network.count(), step.asksSettings ? 1U : 0U);

        fixture.manager().setProcessing(false);
        fixture.manager().setProcessing(true);
        fixture.manager().setProcessing(false);
        runEvents();
        EXPECT_THAT(fixture.takeCalls(), IsEmpty());
        EXPECT_EQ(fixture.network.count(), step.asksSettings ? 1U : 0U);
    }
}

TEST(UpdateDeferral, LetsEachStepReplaceTheOneBefore) {
    for (const Step& first : steps()) {
        SCOPED_TRACE(first.what);
        UpdateFixture fixture;
        putOff(fixture, first);
        fixture.takeCalls();
        EXPECT_TRUE(fixture.manager().shouldPostponeRelaunchForUpdate(installableItem(), fixture.block("second")));
        EXPECT_EQ(fixture.takeCalls(), first.replaced);
        fixture.manager().setProcessing(false);
        runEvents();
        EXPECT_THAT(fixture.takeCalls(), ElementsAre("second: called"));
        EXPECT_EQ(fixture.network.count(), 0U);
    }
    for (const Step& second : steps()) {
        SCOPED_TRACE(second.what);
        UpdateFixture fixture;
        fixture.manager().notice({}, {}, [] {});
        second.before(fixture);
        fixture.manager().setProcessing(true);
        EXPECT_TRUE(fixture.manager().shouldPostponeRelaunchForUpdate(installableItem(), fixture.block("first")));
        fixture.takeCalls();
        second.begin(fixture);
        const Calls calls = fixture.takeCalls();
        if (std::string(second.what) == "a check in the background") {
            EXPECT_THAT(calls, ElementsAre("first: dropped"));
        } else {
            EXPECT_EQ(calls, Calls{"first: dropped"} + second.atOnce);
        }
        fixture.manager().setProcessing(false);
        EXPECT_EQ(fixture.takeCalls(), second.afterwards);
    }
}

TEST(UpdateDeferral, HasForgottenAStepWhenItRuns) {
    UpdateFixture fixture;
    fixture.manager().setProcessing(true);
    EXPECT_TRUE(fixture.manager().shouldPostponeRelaunchForUpdate(installableItem(), OneShot<>([&fixture] {
                                                                      fixture.record("first");
                                                                      fixture.manager().setProcessing(false);
                                                                      fixture.manager().setProcessing(true);
                                                                      fixture.manager().shouldPostponeRelaunchForUpdate(
                                                                          installableItem(), fixture.block("second"));
                                                                  })));
    fixture.manager().setProcessing(false);
    EXPECT_THAT(fixture.takeCalls(), ElementsAre("first"));
    fixture.manager().setProcessing(false);
    EXPECT_THAT(fixture.takeCalls(), ElementsAre("second: called"));
}

TEST(UpdateDeferral, HasForgottenAStepWhenItsReplyIsDropped) {
    UpdateFixture fixture;
    fixture.manager().setProcessing(true);
    EXPECT_TRUE(fixture.manager().shouldPostponeRelaunchForUpdate(installableItem(),
                                                                  OneShot<>([] {},
                                                                            [&fixture] {
                                                                                fixture.record("dropped");
                                                                                fixture.manager().setProcessing(false);
                                                                            })));
    fixture.manager().dismissUpdateInstallation();
    EXPECT_THAT(fixture.takeCalls(), ElementsAre("dropped"));
    EXPECT_FALSE(fixture.manager().processing());
}

TEST(UpdateDeferral, RestartsAtOnceWhileNothingIsProcessed) {
    UpdateFixture fixture;
    EXPECT_FALSE(fixture.manager().shouldPostponeRelaunchForUpdate(installableItem(), fixture.block("restart")));
    EXPECT_THAT(fixture.takeCalls(), ElementsAre("restart: dropped"));
    fixture.manager().setProcessing(true);
    fixture.manager().setProcessing(false);
    EXPECT_THAT(fixture.takeCalls(), IsEmpty());
}

TEST(UpdateDeferral, ShowsADeferredOfferInTheLanguageOfThatMoment) {
    UpdateFixture fixture(AppLanguage::english);
    fixture.manager().setProcessing(true);
    fixture.manager().showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.reply());
    EXPECT_EQ(fixture.shown(), Shown());
    fixture.language = AppLanguage::russian;
    fixture.manager().setProcessing(false);
    EXPECT_EQ(fixture.shown().heading, "Доступна новая версия Ovrel — 2.4");
    fixture.press("Пропустить эту версию");
    EXPECT_THAT(fixture.takeCalls(),
                ElementsAre("panel: made", "panel: title Обновление Ovrel", "panel: front", "reply: skip"));
}

TEST(UpdateDeferral, OffersAgainWhatWasChosenWhileImagesWereProcessed) {
    for (const AppLanguage language : AppLanguage::allCases) {
        SCOPED_TRACE(language.rawValue().toStdString());
        const Wording install{"Установить обновление", "Install Update"};
        const Wording heading{"Ожидаем завершения обработки…", "Waiting for processing to finish…"};
        const Wording later{"Позже", "Later"};
        UpdateFixture fixture(language);
        fixture.manager().showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.reply());
        const Shown first = fixture.shown();
        fixture.manager().setProcessing(true);
        fixture.takeCalls();
        fixture.press(install.in(language));
        EXPECT_EQ(fixture.shown(), (Shown{heading.in(language), "", true, {}, {later.in(language)}}));
        EXPECT_FALSE(fixture.manager().installing());

        fixture.manager().setProcessing(false);
        EXPECT_EQ(fixture.shown(), first);
        EXPECT_FALSE(fixture.manager().installing());
        fixture.takeCalls();
        fixture.press(install.in(language));
        EXPECT_THAT(fixture.takeCalls(), ElementsAre("reply: install"));
        EXPECT_TRUE(fixture.manager().installing());
    }
}

TEST(UpdateDeferral, MayBeChosenWhileImagesAreProcessedAgainAndAgain) {
    UpdateFixture fixture;
    fixture.manager().showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.reply());
    fixture.takeCalls();
    for (int run = 0; run < 3; ++run) {
        fixture.manager().setProcessing(true);
        fixture.press("Install Update");
        EXPECT_EQ(fixture.shown(), waiting);
        fixture.manager().setProcessing(false);
        EXPECT_EQ(fixture.shown(), offer);
    }
    fixture.takeCalls();
    fixture.press("Install Update");
    EXPECT_THAT(fixture.takeCalls(), ElementsAre("reply: install"));
}

TEST(UpdateDeferral, InstallsNothingWhenTheUserNoLongerWantsToWait) {
    UpdateFixture fixture;
    fixture.manager().showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.reply());
    fixture.manager().setProcessing(true);
    fixture.press("Install Update");
    fixture.takeCalls();
    fixture.press("Later");
    EXPECT_THAT(fixture.takeCalls(), ElementsAre("reply: dismiss"));
    fixture.manager().dismissUpdateInstallation(); // the updater's answer
    fixture.takeCalls();

    fixture.manager().setProcessing(false);
    runEvents();
    EXPECT_THAT(fixture.takeCalls(), IsEmpty());
    EXPECT_FALSE(fixture.manager().installing());
    EXPECT_THAT(fixture.manager().actions(), IsEmpty());
}

TEST(UpdateDeferral, TakesOtherAnswersToAnOfferWhileImagesAreProcessed) {
    for (const auto& [button, call] :
         {std::pair{"Later", "reply: dismiss"}, std::pair{"Skip This Version", "reply: skip"}}) {
        UpdateFixture fixture;
        fixture.manager().showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.reply());
        fixture.manager().setProcessing(true);
        fixture.takeCalls();
        fixture.press(button);
        EXPECT_THAT(fixture.takeCalls(), ElementsAre(call));
        EXPECT_EQ(fixture.shown(), offer);
    }
}

} // namespace ovrel::test
