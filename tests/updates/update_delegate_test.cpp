#include "tests/updates/update_fixture.h"

#include <gtest/gtest.h>

namespace ovrel::test {

namespace {

constexpr SPUUpdateCheck kindsOfChecks[] = {SPUUpdateCheck::updates, SPUUpdateCheck::updatesInBackground,
                                            SPUUpdateCheck::updateInformation};

std::optional<std::string> feedOf(UpdateManager& manager) {
    const std::optional<QString> feed = manager.feedURLStringForUpdater();
    return feed ? std::optional(feed->toStdString()) : std::nullopt;
}

} // namespace

TEST(UpdateDelegate, NamesTheFeedOfTheLastSettingsThatNamedOne) {
    UpdateFixture fixture;
    EXPECT_EQ(feedOf(fixture.manager()), std::nullopt);
    fixture.begin(false);
    EXPECT_EQ(feedOf(fixture.manager()), std::nullopt);
    fixture.answer(settingsWithFeed());
    EXPECT_EQ(feedOf(fixture.manager()), feedAddress);
    fixture.endCycle();

    for (const char* settings : {"words", "enabled=true\nupdates_enabled=false"}) {
        SCOPED_TRACE(settings);
        fixture.begin(false);
        fixture.answer(settings);
        EXPECT_EQ(feedOf(fixture.manager()), feedAddress);
    }

    const std::string other = "https://" OVREL_PUBLISHER_HOST ":443/app/a%20b/%D0%BD.xml?c=%26#d";
    fixture.begin(false);
    fixture.answer("enabled=true\nupdates_enabled=true\nupdate_feed_url=" + QByteArray::fromStdString(other));
    EXPECT_EQ(feedOf(fixture.manager()), other);
}

TEST(UpdateDelegate, KnowsTheFeedEvenWhereThereIsNoUpdater) {
    UpdateFixture fixture;
    fixture.hasUpdater = false;
    fixture.check(false);
    EXPECT_EQ(feedOf(fixture.manager()), feedAddress);
}

TEST(UpdateDelegate, AllowsChecksOfAFeedWhileNothingIsProcessed) {
    struct Row {
        bool processing;
        bool hasFeed;
    };
    const Row rows[] = {{false, false}, {false, true}, {true, false}, {true, true}};
    for (const Row& row : rows) {
        for (const SPUUpdateCheck kind : kindsOfChecks) {
            SCOPED_TRACE(row.processing ? "processing" : "idle");
            SCOPED_TRACE(row.hasFeed ? "with a feed" : "without a feed");
            UpdateFixture fixture;
            if (row.hasFeed) {
                fixture.check(false);
            }
            fixture.manager().setProcessing(row.processing);

            std::optional<UpdateError> error;
            const bool may = fixture.manager().mayPerformUpdateCheck(kind, error);
            EXPECT_EQ(may, !row.processing && row.hasFeed);
            EXPECT_EQ(error.has_value(), !may);
            if (error) {
                EXPECT_EQ(error->domain(), QStringLiteral("Ovrel.Updates"));
                EXPECT_EQ(error->code(), 1);
                EXPECT_EQ(error->localizedDescription(AppLanguage::russian).toStdString(),
                          "Обработка ещё не завершена.");
                EXPECT_EQ(error->localizedDescription(AppLanguage::english).toStdString(),
                          "Processing has not finished yet.");
            }
        }
    }
}

TEST(UpdateDelegate, HearsOfTheEndOfACycleOfAnyKind) {
    for (const SPUUpdateCheck kind : kindsOfChecks) {
        for (const std::optional<UpdateError>& error : {std::optional<UpdateError>(), std::optional(someError())}) {
            UpdateFixture fixture;
            fixture.check(true);
            const Shown shown = fixture.shown();
            fixture.takeCalls();
            fixture.manager().didFinishUpdateCycleForUpdateCheck(kind, error);
            EXPECT_FALSE(fixture.manager().checking());
            EXPECT_EQ(fixture.shown(), shown);
            EXPECT_TRUE(fixture.takeCalls().empty());
        }
    }
}

} // namespace ovrel::test
