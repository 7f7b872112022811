#include "model/app_language.h"
#include "model/english_text.h"

#include <QByteArray>
#include <QCryptographicHash>

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>
#include <vector>

namespace ovrel::test {

namespace {

/// The SHA-256 of a column of the table in UTF-8, a line break behind each text.
std::string checksum(std::u16string_view TextPair::*column) {
    QByteArray bytes;
    for (const TextPair& pair : englishTextPairs) {
        const std::u16string_view text = pair.*column;
        bytes += QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size())).toUtf8() + '\n';
    }
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex().toStdString();
}

} // namespace

TEST(AppLanguage, OffersRussianFirst) {
    EXPECT_EQ(AppLanguage::allCases.size(), 2U);
    EXPECT_EQ(AppLanguage(AppLanguage::allCases[0]).rawValue(), QStringLiteral("ru"));
    EXPECT_EQ(AppLanguage(AppLanguage::allCases[1]).rawValue(), QStringLiteral("en"));
}

TEST(AppLanguage, IsMadeFromItsRawValuesAlone) {
    EXPECT_EQ(AppLanguage::fromRawValue(QStringLiteral("ru")), AppLanguage::russian);
    EXPECT_EQ(AppLanguage::fromRawValue(QStringLiteral("en")), AppLanguage::english);
    for (const char* other : {"", "EN", "Ru", "en ", "de", "english"}) {
        EXPECT_EQ(AppLanguage::fromRawValue(QString::fromLatin1(other)), std::nullopt) << other;
    }
}

TEST(AppLanguage, IsRussianUnlessEnglishIsStored) {
    EXPECT_EQ(AppLanguage::saved(std::nullopt), AppLanguage::russian);
    EXPECT_EQ(AppLanguage::saved(QStringLiteral("en")), AppLanguage::english);
    for (const char* other : {"ru", "", "EN", "de"}) {
        EXPECT_EQ(AppLanguage::saved(QString::fromLatin1(other)), AppLanguage::russian) << other;
    }
}

TEST(AppLanguage, IsStoredUnderOneName) {
    EXPECT_EQ(AppLanguage::preferenceKey, QLatin1StringView("OvrelLanguage"));
}

TEST(AppLanguage, IsAKeyOfHashes) {
    QHash<AppLanguage, int> numbers;
    numbers[AppLanguage::russian] = 1;
    numbers[AppLanguage::english] = 2;
    EXPECT_EQ(numbers.value(AppLanguage::russian), 1);
    EXPECT_EQ(numbers.value(AppLanguage::english), 2);
}

TEST(AppLanguage, HasEveryTextOfTheInterface) {
    EXPECT_EQ(AppLanguage::englishText().size(), 53);
    EXPECT_EQ(checksum(&TextPair::russian), "d97e8ce387bc2428dd7a0ff85885eea193e79b52af236292a3f879951bbf1c82");
    EXPECT_EQ(checksum(&TextPair::english), "99f8c68435fc3081feda231bd61582446dcf33b0b30660051eebcabb8bd0c174");
}

TEST(AppLanguage, LooksUpTextsByTheRussianOne) {
    const QString key = QStringLiteral("Добавить файлы…");
    EXPECT_EQ(AppLanguage(AppLanguage::russian).text(key), key);
    EXPECT_EQ(AppLanguage(AppLanguage::english).text(key), QStringLiteral("Add Files…"));
    const QString lines = QStringLiteral("Или добавьте целую папку — Ovrel\nподготовит всё к преобразованию.");
    EXPECT_EQ(AppLanguage(AppLanguage::english).text(lines),
              QStringLiteral("Or add an entire folder — Ovrel will\nget everything ready to convert."));
}

TEST(AppLanguage, LeavesTextsWithoutATranslationAsTheyAre) {
    for (const AppLanguage language : AppLanguage::allCases) {
        EXPECT_EQ(language.text(QString()), QString());
        EXPECT_EQ(language.text(QStringLiteral("Images")), QStringLiteral("Images"));
        EXPECT_EQ(language.text(QStringLiteral("Нет такого")), QStringLiteral("Нет такого"));
    }
}

TEST(AppLanguage, ChoosesOneOfTwoTexts) {
    EXPECT_EQ(AppLanguage(AppLanguage::russian).choose(QStringLiteral("да"), QStringLiteral("yes")),
              QStringLiteral("да"));
    EXPECT_EQ(AppLanguage(AppLanguage::english).choose(QStringLiteral("да"), QStringLiteral("yes")),
              QStringLiteral("yes"));
}

TEST(AppLanguage, MakesItsTableOnceHoweverManyAskAtOnce) {
    std::vector<const QHash<QString, QString>*> seen(8);
    {
        std::vector<std::jthread> threads;
        for (const QHash<QString, QString>*& table : seen) {
            threads.emplace_back([&table] { table = &AppLanguage::englishText(); });
        }
    }
    EXPECT_EQ(std::set(seen.begin(), seen.end()).size(), 1U);
}

} // namespace ovrel::test
