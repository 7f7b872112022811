#include "tests/updates/update_fixture.h"

#include <gmock/gmock.h>

#include <limits>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Calls = std::vector<std::string>;

const Wording cancel{"Отмена", "Cancel"};
const Wording install{"Установить обновление", "Install Update"};
const Wording later{"Позже", "Later"};
const Wording skip{"Пропустить эту версию", "Skip This Version"};
const Wording offerDetail{"Обновление будет загружено и проверено. Затем Ovrel установит его и перезапустится. "
                          "Исходные изображения останутся "
                          "на месте.",
                          "The update will be downloaded and verified. Ovrel will then install it and restart. Your "
                          "original images will remain "
                          "untouched."};

SUAppcastItem informationOnly() {
    SUAppcastItem item = installableItem();
    item.isInformationOnlyUpdate = true;
    return item;
}

SUAppcastItem withNotes() {
    SUAppcastItem item = installableItem();
    item.itemDescription = QStringLiteral("Новое\n---en---\nNew");
    return item;
}

/// What the updater asks the driver, in a state in which nothing is processed.
struct State {
    const char* what;
    std::function<void(UpdateFixture&)> enter;
    Wording heading;
    Wording detail;
    bool showsProgress;
    std::vector<Wording> titles;
};

const std::vector<State>& states() {
    static const std::vector<State> rows{
        {"the user's check",
         [](UpdateFixture& fixture) {
             fixture.manager().showUserInitiatedUpdateCheckWithCancellation(fixture.block("cancellation"));
         },
         {"Проверяем обновления…", "Checking for updates…"},
         {},
         true,
         {cancel}},
        {"nothing found",
         [](UpdateFixture& fixture) {
             fixture.manager().showUpdateNotFoundWithError(someError(), fixture.block("acknowledgement"));
         },
         {"Новых обновлений нет", "No updates available"},
         {"У вас установлена последняя актуальная версия приложения.",
          "You have the latest version of the app installed."},
         false,
         {{"OK", "OK"}}},
        {"failure",
         [](UpdateFixture& fixture) {
             fixture.manager().showUpdaterError(someError(), fixture.block("acknowledgement"));
         },
         {"Не удалось обновить Ovrel", "Unable to update Ovrel"},
         {"Обновление не было установлено. Повторите попытку позже. Если Ovrel открыта из DMG, сначала перенесите её в "
          "«Программы».\n\nНет сети.",
          "The update was not installed. Please try again later. If Ovrel is running from a DMG, move it to "
          "Applications "
          "first.\n\nNo network."},
         false,
         {{"OK", "OK"}}},
        {"an offer",
         [](UpdateFixture& fixture) {
             fixture.manager().showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.reply());
         },
         {"Доступна новая версия Ovrel — 2.4", "A new version of Ovrel is available — 2.4"},
         offerDetail,
         false,
         {install, later, skip}},
        {"an offer with notes",
         [](UpdateFixture& fixture) {
             fixture.manager().showUpdateFoundWithAppcastItem(withNotes(), {SPUUserUpdateStage::installing, true},
                                                              fixture.reply());
         },
         {"Доступна новая версия Ovrel — 2.4", "A new version of Ovrel is available — 2.4"},
         {"Новое\n\n" + offerDetail.russian, "New\n\n" + offerDetail.english},
         false,
         {install, later, skip}},
        {"an offer of nothing that could be installed",
         [](UpdateFixture& fixture) {
             fixture.manager().showUpdateFoundWithAppcastItem(informationOnly(), {}, fixture.reply());
         },
         {"Обновление недоступно", "Update unavailable"},
         {},
         false,
         {{"OK", "OK"}}},
        {"the download",
         [](UpdateFixture& fixture) {
             fixture.manager().showDownloadInitiatedWithCancellation(fixture.block("cancellation"));
         },
         {"Загружаем обновление…", "Downloading update…"},
         {},
         true,
         {cancel}},
        {"the verification",
         [](UpdateFixture& fixture) { fixture.manager().showDownloadDidStartExtractingUpdate(); },
         {"Проверяем и подготавливаем обновление…", "Verifying and preparing update…"},
         {},
         true,
         {}},
        {"the installation",
         [](UpdateFixture& fixture) {
             fixture.manager().showInstallingUpdateWithApplicationTerminated(false, OneShot<>([] {}));
         },
         {"Устанавливаем обновление…", "Installing update…"},
         {"Ovrel сейчас перезапустится.", "Ovrel will restart shortly."},
         true,
         {}},
        {"the installation after the end of the program",
         [](UpdateFixture& fixture) {
             fixture.manager().showInstallingUpdateWithApplicationTerminated(true, OneShot<>([] {}));
         },
         {"Устанавливаем обновление…", "Installing update…"},
         {"Ovrel сейчас перезапустится.", "Ovrel will restart shortly."},
         true,
         {}},
    };
    return rows;
}

} // namespace

TEST(UpdateDriver, ShowsEachStateInBothLanguages) {
    for (const State& state : states()) {
        for (const AppLanguage language : AppLanguage::allCases) {
            SCOPED_TRACE(state.what);
            SCOPED_TRACE(language.rawValue().toStdString());
            UpdateFixture fixture(language);
            fixture.manager().show(QStringLiteral("earlier"), QStringLiteral("words"), !state.showsProgress, {});
            fixture.manager().showExtractionReceivedProgress(0.5); // must be gone
            fixture.takeCalls();

            state.enter(fixture);
            Shown expected{state.heading.in(language), state.detail.in(language), state.showsProgress, {}, {}};
            for (const Wording& title : state.titles) {
                expected.titles.push_back(title.in(language));
            }
            EXPECT_EQ(fixture.shown(), expected);
            const Calls calls = fixture.takeCalls();
            ASSERT_GE(calls.size(), 2U);
            EXPECT_EQ(calls.back(), "panel: front");
            EXPECT_EQ(calls[calls.size() - 2],
                      language == AppLanguage::english ? "panel: title Ovrel Update" : "panel: title Обновление Ovrel");
        }
    }
}

TEST(UpdateDriver, DoesWhatItsButtonsSay) {
    struct Row {
        const char* what;
        const char* state;
        Wording button;
        Calls calls;
        bool hides = false;
    };
    const Row rows[] = {
        {"cancel a check", "the user's check", cancel, {"cancellation: called"}},
        {"acknowledge that there is nothing",
         "nothing found",
         {"OK", "OK"},
         {"panel: out", "acknowledgement: called"},
         true},
        {"acknowledge a failure", "failure", {"OK", "OK"}, {"panel: out", "acknowledgement: called"}, true},
        {"install", "an offer", install, {"reply: install"}},
        {"not now", "an offer", later, {"reply: dismiss"}},
        {"never", "an offer", skip, {"reply: skip"}},
        {"acknowledge that nothing can be installed",
         "an offer of nothing that could be installed",
         {"OK", "OK"},
         {"panel: out"},
         true},
        {"cancel a download", "the download", cancel, {"cancellation: called"}},
    };
    for (const Row& row : rows) {
        for (const AppLanguage language : AppLanguage::allCases) {
            SCOPED_TRACE(row.what);
            SCOPED_TRACE(language.rawValue().toStdString());
            UpdateFixture fixture(language);
            for (const State& state : states()) {
                if (state.what == std::string(row.state)) {
                    state.enter(fixture);
                }
            }
            const Shown shown = fixture.shown();
            fixture.takeCalls();
            fixture.press(row.button.in(language));
            EXPECT_EQ(fixture.takeCalls(), row.calls);
            Shown after = shown;
            if (row.hides) {
                after.titles.clear();
            }
            EXPECT_EQ(fixture.shown(), after);
            EXPECT_EQ(fixture.manager().installing(), row.button.english == install.english);
        }
    }
}

TEST(UpdateDriver, AllowsTheUpdaterNothingByItselfAndAsksNobody) {
    UpdateFixture fixture;
    std::optional<SUUpdatePermissionResponse> response;
    fixture.manager().showUpdatePermissionRequest(
        UpdateManager::PermissionReply([&response](SUUpdatePermissionResponse given) { response = given; }));
    ASSERT_TRUE(response);
    EXPECT_FALSE(response->automaticUpdateChecks);
    EXPECT_FALSE(response->sendSystemProfile);
    EXPECT_THAT(fixture.takeCalls(), IsEmpty());
    EXPECT_EQ(fixture.shown(), Shown());
}

TEST(UpdateDriver, DismissesAnInvalidOfferBeforeItSaysSo) {
    UpdateFixture fixture;
    fixture.manager().showUpdateFoundWithAppcastItem(informationOnly(), {}, fixture.reply());
    EXPECT_THAT(fixture.takeCalls(),
                ElementsAre("reply: dismiss", "panel: made", "panel: title Ovrel Update", "panel: front"));
}

TEST(UpdateDriver, TakesTheFirstAnswerToAnOfferOnly) {
    UpdateFixture fixture;
    fixture.manager().showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.reply());
    fixture.takeCalls();
    fixture.press("Later");
    fixture.press("Skip This Version");
    fixture.press("Install Update");
    EXPECT_THAT(fixture.takeCalls(), ElementsAre("reply: dismiss"));
}

TEST(UpdateDriver, DoesNothingAboutNotesOutsideOfTheFeed) {
    for (const bool arrived : {true, false}) {
        UpdateFixture fixture;
        fixture.manager().showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.reply());
        const Shown shown = fixture.shown();
        const QList<UpdateManager::Action> actions = fixture.manager().actions();
        fixture.takeCalls();
        if (arrived) {
            fixture.manager().showUpdateReleaseNotesWithDownloadData("notes");
        } else {
            fixture.manager().showUpdateReleaseNotesFailedToDownloadWithError(someError());
        }
        EXPECT_THAT(fixture.takeCalls(), IsEmpty());
        EXPECT_EQ(fixture.shown(), shown);
        EXPECT_EQ(fixture.manager().actions(), actions);
    }
}

TEST(UpdateDriver, ShowsHowFarADownloadIs) {
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    struct Step {
        bool isLength; ///< else data
        std::uint64_t bytes;
        std::optional<double> progress; ///< afterwards
    };
    struct Row {
        const char* what;
        std::vector<Step> steps;
    };
    const Row rows[] = {
        {"no length", {{false, 10, {}}, {false, 20, {}}}},
        {"a length of nothing", {{true, 0, {}}, {false, 10, {}}}},
        {"a length and data",
         {{true, 200, {}}, {false, 0, 0.0}, {false, 50, 0.25}, {false, 50, 0.5}, {false, 100, 1.0}}},
        {"more than was said", {{true, 100, {}}, {false, 99, 0.99}, {false, 2, 1.0}, {false, 1000, 1.0}}},
        {"a length after some data", {{false, 50, {}}, {true, 200, {}}, {false, 50, 0.5}}},
        {"another length", {{true, 100, {}}, {false, 50, 0.5}, {true, 400, 0.5}, {false, 50, 0.25}}},
        {"a length that is taken back", {{true, 100, {}}, {false, 50, 0.5}, {true, 0, 0.5}, {false, 50, 0.5}}},
        {"the largest numbers", {{true, most, {}}, {false, most, 1.0}, {false, 0, 1.0}}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        UpdateFixture fixture;
        // Twice, as each download begins anew.
        for (int download = 0; download < 2; ++download) {
            fixture.manager().showDownloadInitiatedWithCancellation(OneShot<>([] {}));
            EXPECT_EQ(fixture.manager().progress(), std::nullopt);
            fixture.takeCalls();
            for (const Step& step : row.steps) {
                if (step.isLength) {
                    fixture.manager().showDownloadDidReceiveExpectedContentLength(step.bytes);
                } else {
                    fixture.manager().showDownloadDidReceiveDataOfLength(step.bytes);
                }
                EXPECT_EQ(fixture.manager().progress(), step.progress);
            }
            EXPECT_TRUE(fixture.manager().showsProgress());
            EXPECT_THAT(fixture.takeCalls(), IsEmpty());
        }
    }
}

TEST(UpdateDriver, ForgetsTheLengthOfAnEarlierDownload) {
    UpdateFixture fixture;
    fixture.manager().showDownloadInitiatedWithCancellation(OneShot<>([] {}));
    fixture.manager().showDownloadDidReceiveExpectedContentLength(100);
    fixture.manager().showDownloadInitiatedWithCancellation(OneShot<>([] {}));
    fixture.manager().showDownloadDidReceiveDataOfLength(50);
    EXPECT_EQ(fixture.manager().progress(), std::nullopt);
}

TEST(UpdateDriverDeathTest, EndsTheProgramWhenADownloadCannotBeCounted) {
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    for (const std::uint64_t expected : {std::uint64_t{0}, most}) {
        UpdateFixture fixture;
        fixture.manager().showDownloadInitiatedWithCancellation(OneShot<>([] {}));
        fixture.manager().showDownloadDidReceiveExpectedContentLength(expected);
        fixture.manager().showDownloadDidReceiveDataOfLength(1);
        fixture.manager().showDownloadDidReceiveDataOfLength(most - 1);
        EXPECT_DEATH(fixture.manager().showDownloadDidReceiveDataOfLength(1), "more bytes than 64 bits");
    }
}

TEST(UpdateDriver, ShowsHowFarTheVerificationIs) {
    UpdateFixture fixture;
    fixture.manager().showDownloadInitiatedWithCancellation(OneShot<>([] {}));
    fixture.manager().showDownloadDidReceiveExpectedContentLength(100);
    fixture.manager().showDownloadDidReceiveDataOfLength(100);
    fixture.manager().showDownloadDidStartExtractingUpdate();
    EXPECT_EQ(fixture.manager().progress(), std::nullopt);
    for (const double progress : {0.0, 0.5, 1.0, 0.0}) {
        fixture.manager().showExtractionReceivedProgress(progress);
        EXPECT_EQ(fixture.manager().progress(), progress);
    }
}

TEST(UpdateDriver, InstallsWhatTheUserChoseToInstallAndSkipsTheRest) {
    struct Row {
        const char* what;
        std::function<void(UpdateFixture&)> before;
        const char* answer;
    };
    const auto offer = [](UpdateFixture& fixture) {
        fixture.manager().showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.reply("offer"));
    };
    const Row rows[] = {
        {"never offered", [](UpdateFixture&) {}, "ready: skip"},
        {"offered", offer, "ready: skip"},
        {"put off by the user",
         [offer](UpdateFixture& fixture) {
             offer(fixture);
             fixture.press("Later");
         },
         "ready: skip"},
        {"chosen", [](UpdateFixture& fixture) { fixture.authorize(); }, "ready: install"},
        {"chosen, then downloaded",
         [](UpdateFixture& fixture) {
             fixture.authorize();
             fixture.manager().showDownloadInitiatedWithCancellation(OneShot<>([] {}));
             fixture.manager().showDownloadDidStartExtractingUpdate();
         },
         "ready: install"},
        {"chosen, then dismissed",
         [](UpdateFixture& fixture) {
             fixture.authorize();
             fixture.manager().dismissUpdateInstallation();
         },
         "ready: skip"},
        {"chosen, then failed",
         [](UpdateFixture& fixture) {
             fixture.authorize();
             fixture.manager().showUpdaterError(someError(), OneShot<>([] {}));
         },
         "ready: skip"},
        {"chosen while images were processed",
         [offer](UpdateFixture& fixture) {
             offer(fixture);
             fixture.manager().setProcessing(true);
             fixture.press("Install Update");
         },
         "ready: skip"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        UpdateFixture fixture;
        row.before(fixture);
        const Shown shown = fixture.shown();
        fixture.takeCalls();
        fixture.manager().showReadyToInstallAndRelaunch(fixture.reply("ready"));
        EXPECT_THAT(fixture.takeCalls(), ElementsAre(row.answer));
        EXPECT_EQ(fixture.shown(), shown);
    }
}

TEST(UpdateDriver, AcknowledgesAFinishedUpdateAtOnce) {
    for (const bool relaunched : {true, false}) {
        UpdateFixture fixture;
        fixture.manager().showUpdateInstalledAndRelaunched(relaunched, fixture.block("acknowledgement"));
        EXPECT_THAT(fixture.takeCalls(), ElementsAre("acknowledgement: called"));
        EXPECT_EQ(fixture.shown(), Shown());
    }
}

TEST(UpdateDriver, BringsThePanelIntoFocusIfThereIsOne) {
    UpdateFixture fixture;
    fixture.manager().showUpdateInFocus();
    EXPECT_THAT(fixture.takeCalls(), IsEmpty());
    fixture.manager().showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.reply());
    const Shown shown = fixture.shown();
    fixture.takeCalls();
    fixture.manager().showUpdateInFocus();
    EXPECT_THAT(fixture.takeCalls(), ElementsAre("panel: front"));
    EXPECT_EQ(fixture.shown(), shown);
}

TEST(UpdateDriver, ForgetsAnInstallationThatFailsOrIsDismissed) {
    for (const bool fails : {true, false}) {
        SCOPED_TRACE(fails ? "failed" : "dismissed");
        UpdateFixture fixture;
        fixture.check(true);
        fixture.authorize();
        EXPECT_TRUE(fixture.manager().checking());
        EXPECT_TRUE(fixture.manager().installing());
        fixture.manager().setProcessing(true);
        fixture.manager().showReadyToInstallAndRelaunch(fixture.reply("ready"));
        fixture.takeCalls();

        if (fails) {
            fixture.manager().showUpdaterError(someError(), OneShot<>([] {}));
            EXPECT_THAT(fixture.takeCalls(),
                        ElementsAre("ready: dropped", "panel: title Ovrel Update", "panel: front"));
        } else {
            fixture.manager().dismissUpdateInstallation();
            EXPECT_THAT(fixture.takeCalls(), ElementsAre("ready: dropped", "panel: out"));
            EXPECT_THAT(fixture.manager().actions(), IsEmpty());
        }
        EXPECT_FALSE(fixture.manager().checking());
        EXPECT_FALSE(fixture.manager().installing());
        fixture.manager().setProcessing(false);
        runEvents();
        EXPECT_THAT(fixture.takeCalls(), IsEmpty());
    }
}

TEST(UpdateDriver, DismissesWithoutAPanelToHide) {
    UpdateFixture fixture;
    fixture.manager().dismissUpdateInstallation();
    EXPECT_THAT(fixture.takeCalls(), IsEmpty());
}

} // namespace ovrel::test
