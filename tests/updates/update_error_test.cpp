#include "updates/framework/update_error.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace ovrel::test {

namespace {

UpdateError errorOf(SUError code) {
    return UpdateError(code, QStringLiteral("Беда."), QStringLiteral("Trouble."));
}

} // namespace

TEST(UpdateError, IsWordedInTheLanguageThatIsAskedFor) {
    const UpdateError error = errorOf(SUError::download);
    EXPECT_EQ(error.localizedDescription(AppLanguage::russian), QStringLiteral("Беда."));
    EXPECT_EQ(error.localizedDescription(AppLanguage::english), QStringLiteral("Trouble."));
}

TEST(UpdateError, HasTheNumberThatTheFrameworkGivesIt) {
    struct Row {
        const char* what;
        SUError error;
        int code;
    };
    const Row rows[] = {
        {"insecure", SUError::insecure, 1},
        {"invalid feed", SUError::invalidFeedURL, 4},
        {"invalid updater", SUError::invalidUpdater, 5},
        {"feed", SUError::appcastParse, 1000},
        {"no update", SUError::noUpdate, 1001},
        {"read-only", SUError::runningFromReadOnly, 1003},
        {"temporary directory", SUError::temporaryDirectory, 2000},
        {"download", SUError::download, 2001},
        {"unarchiving", SUError::unarchiving, 3000},
        {"signature", SUError::signature, 3001},
        {"validation", SUError::validation, 3002},
        {"installation", SUError::installation, 4005},
        {"downgrade", SUError::downgrade, 4006},
        {"installation cancelled", SUError::installationCanceled, 4007},
        {"no permission", SUError::noWritePermission, 4012},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const UpdateError error = errorOf(row.error);
        EXPECT_EQ(error.domain(), QStringLiteral("SUSparkleErrorDomain"));
        EXPECT_EQ(error.code(), row.code);
        for (const Row& other : rows) {
            EXPECT_EQ(error.is(other.error), other.code == row.code) << other.what;
        }
    }
}

TEST(UpdateError, OfAnotherDomainIsNoneOfTheFrameworks) {
    const UpdateError error(QStringLiteral("Ovrel.Updates"), 1, QStringLiteral("Нет."), QStringLiteral("No."));
    EXPECT_EQ(error.domain(), QStringLiteral("Ovrel.Updates"));
    EXPECT_EQ(error.code(), 1);
    EXPECT_FALSE(error.is(SUError::insecure));
}

TEST(UpdateError, NamesItsCauses) {
    const UpdateError first = errorOf(SUError::signature);
    EXPECT_EQ(first.underlying(), nullptr);

    std::optional<UpdateError> chain;
    {
        const UpdateError second = errorOf(SUError::validation).withUnderlying(first);
        chain = errorOf(SUError::installation).withUnderlying(second);
    }
    EXPECT_TRUE(chain->is(SUError::installation));
    ASSERT_NE(chain->underlying(), nullptr);
    EXPECT_TRUE(chain->underlying()->is(SUError::validation));
    ASSERT_NE(chain->underlying()->underlying(), nullptr);
    EXPECT_TRUE(chain->underlying()->underlying()->is(SUError::signature));
    EXPECT_EQ(first.underlying(), nullptr);
}

TEST(UpdateError, SaysWhyNothingWasFound) {
    const UpdateError plain = errorOf(SUError::noUpdate);
    EXPECT_EQ(plain.noUpdateFoundReason(), std::nullopt);
    const UpdateError explained = plain.withReason(SPUNoUpdateFoundReason::systemIsTooOld);
    EXPECT_EQ(explained.noUpdateFoundReason(), SPUNoUpdateFoundReason::systemIsTooOld);
    EXPECT_TRUE(explained.is(SUError::noUpdate));
    EXPECT_EQ(plain.noUpdateFoundReason(), std::nullopt);
}

TEST(UpdateError, KeepsAllThatItSaysWhenItIsThrown) {
    try {
        throw errorOf(SUError::noUpdate)
            .withReason(SPUNoUpdateFoundReason::onLatestVersion)
            .withUnderlying(errorOf(SUError::download));
    } catch (const std::exception& caught) {
        const auto* error = dynamic_cast<const UpdateError*>(&caught);
        ASSERT_NE(error, nullptr);
        EXPECT_STREQ(error->what(), "update error");
        EXPECT_EQ(error->noUpdateFoundReason(), SPUNoUpdateFoundReason::onLatestVersion);
        EXPECT_EQ(error->localizedDescription(AppLanguage::english), QStringLiteral("Trouble."));
        ASSERT_NE(error->underlying(), nullptr);
        EXPECT_TRUE(error->underlying()->is(SUError::download));
    }
}

} // namespace ovrel::test
