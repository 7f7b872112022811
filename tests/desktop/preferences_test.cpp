#include "desktop/preferences.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

const QString key = QStringLiteral("OvrelLanguage");

/// The user's own store, in a home of the test. Qt looks once in a process where that is.
class PreferencesTest : public testing::Test {
protected:
    static void SetUpTestSuite() { ::setenv("XDG_CONFIG_HOME", home_.path().c_str(), 1); }

    PreferencesTest() { fs::remove_all(home_ / "Ovrel"); }

    static inline const TemporaryFolder home_;
};

TEST_F(PreferencesTest, AreEmptyAndWriteNothingAtFirst) {
    EXPECT_EQ(Preferences::ofUser()->text(key), std::nullopt);
    EXPECT_EQ(savedLanguage(*Preferences::ofUser()), AppLanguage::russian);
    EXPECT_THAT(home_.listing(), IsEmpty());
}

TEST_F(PreferencesTest, KeepTheLanguageAcrossStarts) {
    for (const AppLanguage language : {AppLanguage::english, AppLanguage::russian}) {
        saveLanguage(*Preferences::ofUser(), language);
        const auto next = Preferences::ofUser();
        EXPECT_EQ(next->text(key), language.rawValue());
        EXPECT_EQ(savedLanguage(*next), language);
    }
}

TEST_F(PreferencesTest, HoldNothingButTheLanguage) {
    saveLanguage(*Preferences::ofUser(), AppLanguage::english);
    EXPECT_THAT(home_.listing(), ElementsAre("Ovrel", "Ovrel/Ovrel.conf"));
    EXPECT_EQ(contentOf(home_ / "Ovrel/Ovrel.conf"), "[General]\nOvrelLanguage=en\n");
}

TEST_F(PreferencesTest, ReadUnknownLanguagesAsRussian) {
    for (const char* stored : {"EN", "de", ""}) {
        Preferences::ofUser()->setText(key, QString::fromLatin1(stored));
        EXPECT_EQ(savedLanguage(*Preferences::ofUser()), AppLanguage::russian) << stored;
    }
}

TEST_F(PreferencesTest, TellAtOnceOfAChangeAndOnlyOfThat) {
    const auto preferences = Preferences::ofUser();
    std::vector<std::string> seen;
    QObject::connect(preferences.get(), &Preferences::changed, preferences.get(), [&](const QString& changed) {
        seen.push_back(changed.toStdString() + "=" + savedLanguage(*preferences).rawValue().toStdString());
    });
    saveLanguage(*preferences, AppLanguage::english);
    saveLanguage(*preferences, AppLanguage::english);
    saveLanguage(*preferences, AppLanguage::russian);
    EXPECT_THAT(seen, ElementsAre("OvrelLanguage=en", "OvrelLanguage=ru"));
}

TEST_F(PreferencesTest, TellOfTheLanguageNowAndWhenItChanges) {
    const auto preferences = Preferences::ofUser();
    saveLanguage(*preferences, AppLanguage::english);
    std::vector<std::string> seen;
    {
        const QObject follower;
        followLanguage(*preferences, &follower,
                       [&](AppLanguage language) { seen.push_back(language.rawValue().toStdString()); });
        EXPECT_THAT(seen, ElementsAre("en"));
        saveLanguage(*preferences, AppLanguage::russian);
        preferences->setText(QStringLiteral("Other"), QStringLiteral("text"));
        preferences->setText(key, QStringLiteral("en"));
        EXPECT_THAT(seen, ElementsAre("en", "ru", "en"));
    }
    saveLanguage(*preferences, AppLanguage::russian);
    EXPECT_THAT(seen, ElementsAre("en", "ru", "en"));
}

TEST_F(PreferencesTest, WriteATextAgainThatIsTheSame) {
    const auto preferences = Preferences::ofUser();
    saveLanguage(*preferences, AppLanguage::english);
    fs::remove(home_ / "Ovrel/Ovrel.conf");
    saveLanguage(*preferences, AppLanguage::english);
    EXPECT_EQ(contentOf(home_ / "Ovrel/Ovrel.conf"), "[General]\nOvrelLanguage=en\n");
}

TEST_F(PreferencesTest, RememberForAsLongAsTheyLiveWhereNothingCanBeWritten) {
    home_.write("Ovrel", "a file where the folder should be");
    const auto preferences = Preferences::ofUser();
    saveLanguage(*preferences, AppLanguage::english);
    EXPECT_EQ(savedLanguage(*preferences), AppLanguage::english);
    EXPECT_EQ(contentOf(home_ / "Ovrel"), "a file where the folder should be");
}

} // namespace

} // namespace ovrel::test
