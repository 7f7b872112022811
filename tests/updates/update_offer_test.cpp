#include "tests/updates/update_fixture.h"
#include "updates/update_offer.h"

#include <gtest/gtest.h>

namespace ovrel::test {

namespace {

const Wording consequences{"Обновление будет загружено и проверено. Затем Ovrel установит его и перезапустится. "
                           "Исходные изображения останутся "
                           "на месте.",
                           "The update will be downloaded and verified. Ovrel will then install it and restart. Your "
                           "original images will remain "
                           "untouched."};

QUrl publishers(const QString& path) {
    return QUrl(QStringLiteral("https://" OVREL_PUBLISHER_HOST) + path);
}

} // namespace

TEST(UpdateOffer, NeedsAnArchiveAtAnAddressOfThePublisher) {
    struct Row {
        const char* what;
        std::optional<QUrl> archive;
        bool isInformationOnly;
        bool offered;
    };
    const Row rows[] = {
        {"an archive of the publisher", publishers("/app/a.tar.xz"), false, true},
        {"the standard port", publishers(":443/app/a.tar.xz"), false, true},
        {"something to read, with an archive", publishers("/app/a.tar.xz"), true, false},
        {"no archive", std::nullopt, false, false},
        {"something to read", std::nullopt, true, false},
        {"an empty address", QUrl(), false, false},
        {"another host", QUrl(QStringLiteral("https://example.com/app/a.tar.xz")), false, false},
        {"no encryption", QUrl(QStringLiteral("http://" OVREL_PUBLISHER_HOST "/app/a.tar.xz")), false, false},
        {"another port", publishers(":8443/app/a.tar.xz"), false, false},
        {"another folder", publishers("/application/a.tar.xz"), false, false},
        {"a user", QUrl(QStringLiteral("https://me@" OVREL_PUBLISHER_HOST "/app/a.tar.xz")), false, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        SUAppcastItem item = installableItem();
        item.fileURL = row.archive;
        item.isInformationOnlyUpdate = row.isInformationOnly;
        EXPECT_EQ(canBeOffered(item), row.offered);
    }
}

TEST(UpdateOffer, LooksAtTheAddressAsItIsWritten) {
    SUAppcastItem item = installableItem();
    item.fileAddress = "https://" OVREL_PUBLISHER_HOST "/app/ovrel-2.4.tar.xz";
    EXPECT_TRUE(canBeOffered(item));
    for (const QString written : {"HTTPS://" OVREL_PUBLISHER_HOST "/app/x", "https://Ovrel.example/app/x",
                                  "https://" OVREL_PUBLISHER_HOST "/app/../app/x"}) {
        item.fileAddress = written;
        EXPECT_FALSE(canBeOffered(item)) << written.toStdString();
    }
}

TEST(UpdateOffer, TakesTheNotesInItsLanguage) {
    struct Row {
        const char* what;
        const char* description;
        const char* russian;
        const char* english;
    };
    const Row rows[] = {
        {"nothing", "", "", ""},
        {"no separator", "Новое\nи ещё", "Новое\nи ещё", "Новое\nи ещё"},
        {"both", "Новое\n---en---\nNew", "Новое", "New"},
        {"several lines", "Раз\nдва\n---en---\nOne\ntwo\n", "Раз\nдва", "One\ntwo\n"},
        {"English alone", "\n---en---\nNew", "", "New"},
        {"Russian alone", "Новое\n---en---\n", "Новое", ""},
        {"the separator alone", "\n---en---\n", "", ""},
        {"two separators", "Новое\n---en---\nNew\n---en---\nNeu", "Новое", "Новое"},
        {"separators that share a line break", "А\n---en---\n---en---\nB", "А", "---en---\nB"},
        {"no line break before", "---en---\nNew", "---en---\nNew", "---en---\nNew"},
        {"no line break after", "Новое\n---en---", "Новое\n---en---", "Новое\n---en---"},
        {"blanks beside the separator", "Новое\n ---en---\nNew", "Новое\n ---en---\nNew", "Новое\n ---en---\nNew"},
        {"carriage returns", "Новое\r\n---en---\r\nNew", "Новое\r\n---en---\r\nNew", "Новое\r\n---en---\r\nNew"},
        {"capitals", "Новое\n---EN---\nNew", "Новое\n---EN---\nNew", "Новое\n---EN---\nNew"},
        {"blanks around the notes", " Новое \n---en---\n New ", " Новое ", " New "},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const QString description = QString::fromUtf8(row.description);
        EXPECT_EQ(releaseNotes(description, AppLanguage::russian).toStdString(), row.russian);
        EXPECT_EQ(releaseNotes(description, AppLanguage::english).toStdString(), row.english);
    }
}

TEST(UpdateOffer, NamesTheVersionThatPeopleRead) {
    const SUAppcastItem item = installableItem();
    EXPECT_EQ(offerHeading(item, AppLanguage::russian).toStdString(), "Доступна новая версия Ovrel — 2.4");
    EXPECT_EQ(offerHeading(item, AppLanguage::english).toStdString(), "A new version of Ovrel is available — 2.4");
}

TEST(UpdateOffer, SaysAfterTheNotesWhatAnInstallationDoes) {
    struct Row {
        const char* what;
        std::optional<QString> description;
        Wording notes;
    };
    const Row rows[] = {
        {"no description", std::nullopt, {"", ""}},
        {"an empty one", QString(), {"", ""}},
        {"notes in both languages", QStringLiteral("Новое\n---en---\nNew"), {"Новое\n\n", "New\n\n"}},
        {"notes in one language", QStringLiteral("Новое"), {"Новое\n\n", "Новое\n\n"}},
        {"no English notes", QStringLiteral("Новое\n---en---\n"), {"Новое\n\n", ""}},
    };
    for (const Row& row : rows) {
        for (const AppLanguage language : AppLanguage::allCases) {
            SCOPED_TRACE(row.what);
            SCOPED_TRACE(language.rawValue().toStdString());
            SUAppcastItem item = installableItem();
            item.itemDescription = row.description;
            EXPECT_EQ(offerDetail(item, language).toStdString(), row.notes.in(language) + consequences.in(language));
        }
    }
}

} // namespace ovrel::test
