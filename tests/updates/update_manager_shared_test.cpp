#include "desktop/preferences.h"
#include "tests/support/temporary_folder.h"
#include "tests/updates/update_fixture.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace ovrel {

/// In place of the engine, which these tests do without: `UpdateManager::shared` alone names it.
std::unique_ptr<SPUUpdater> makeUpdater(SPUUserDriver& /*driver*/, SPUUpdaterDelegate& /*delegate*/) {
    return nullptr;
}

} // namespace ovrel

namespace ovrel::test {

TEST(UpdateManagerShared, IsOneThatFollowsTheLanguageOfTheUser) {
    const TemporaryFolder home;
    ::setenv("XDG_CONFIG_HOME", home.path().c_str(), 1); // before anything in this process looks for preferences
    UpdateManager& manager = UpdateManager::shared();
    EXPECT_EQ(&UpdateManager::shared(), &manager);
    EXPECT_FALSE(manager.checking());
    EXPECT_FALSE(manager.processing());
    EXPECT_EQ(manager.feedURLStringForUpdater(), std::nullopt);

    const auto preferences = Preferences::ofUser();
    for (const Wording& heading : {Wording{"Устанавливаем обновление…", {}}, Wording{{}, "Installing update…"}}) {
        const AppLanguage language = heading.english.empty() ? AppLanguage::russian : AppLanguage::english;
        saveLanguage(*preferences, language);
        manager.showInstallingUpdateWithApplicationTerminated(false, OneShot<>([] {}));
        EXPECT_EQ(manager.heading().toStdString(), heading.in(language));
    }
    manager.dismissUpdateInstallation();
}

} // namespace ovrel::test
