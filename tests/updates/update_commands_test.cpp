#include "tests/model/model_fixture.h"
#include "tests/updates/update_fixture.h"
#include "updates/update_commands.h"

#include <QAction>

#include <gmock/gmock.h>

namespace ovrel::test {

namespace {

class UpdateCommandsTest : public testing::Test {
protected:
    bool enabled() { return commands.checkForUpdates().isEnabled(); }

    UpdateFixture fixture;
    FakePreferences preferences;
    UpdateCommands commands{fixture.manager(), preferences};
};

TEST_F(UpdateCommandsTest, NameTheirItemInTheStoredLanguage) {
    struct Row {
        const char* stored;
        const char* title;
    };
    const Row rows[] = {
        {"en", "Check for Updates…"},
        {"ru", "Проверить обновления…"},
        {"en", "Check for Updates…"},
        {"de", "Проверить обновления…"},
    };
    EXPECT_EQ(commands.checkForUpdates().text(), QStringLiteral("Проверить обновления…"));
    for (const Row& row : rows) {
        preferences.setText(QStringLiteral("OvrelLanguage"), QString::fromUtf8(row.stored));
        EXPECT_EQ(commands.checkForUpdates().text(), QString::fromUtf8(row.title)) << row.stored;
    }
}

TEST_F(UpdateCommandsTest, BeginACheckOfTheUser) {
    commands.checkForUpdates().trigger();
    EXPECT_TRUE(fixture.manager().checking());
    fixture.answer(settingsWithFeed());
    // Otherwise it would be a check in the background.
    EXPECT_THAT(fixture.takeCalls(), testing::Contains("updater: check"));
}

TEST_F(UpdateCommandsTest, AreDisabledFromTheBeginningOfACheckToTheEndOfItsCycle) {
    EXPECT_TRUE(enabled());
    fixture.begin(false);
    EXPECT_FALSE(enabled());
    fixture.answer(settingsWithFeed());
    EXPECT_FALSE(enabled());
    fixture.endCycle();
    EXPECT_TRUE(enabled());
}

TEST_F(UpdateCommandsTest, AreDisabledThroughTheWholeInstallation) {
    UpdateManager& manager = fixture.manager();
    fixture.authorize();
    EXPECT_FALSE(enabled());
    manager.showDownloadInitiatedWithCancellation(fixture.block("cancellation"));
    manager.showDownloadDidStartExtractingUpdate();
    manager.showReadyToInstallAndRelaunch(fixture.reply());
    manager.showInstallingUpdateWithApplicationTerminated(false, fixture.block("retry"));
    EXPECT_FALSE(enabled());
    manager.showUpdaterError(someError(), fixture.block("acknowledgement"));
    EXPECT_TRUE(enabled());
}

TEST_F(UpdateCommandsTest, AreDisabledWhenTheyAreMadeDuringACheck) {
    fixture.begin(true);
    UpdateCommands made(fixture.manager(), preferences);
    EXPECT_FALSE(made.checkForUpdates().isEnabled());
}

} // namespace

} // namespace ovrel::test
