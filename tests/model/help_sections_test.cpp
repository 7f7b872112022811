#include "model/help_sections.h"

#include <QByteArray>
#include <QCryptographicHash>

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace ovrel::test {

namespace {

/// The SHA-256 of one text of each section in UTF-8, a line break behind each.
std::string checksum(AppLanguage language, QString HelpSection::*text) {
    QByteArray bytes;
    for (const HelpSection& section : language.helpSections()) {
        bytes += (section.*text).toUtf8() + '\n';
    }
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex().toStdString();
}

} // namespace

TEST(HelpSections, AreTheSameInNumberInBothLanguages) {
    for (const AppLanguage language : AppLanguage::allCases) {
        EXPECT_EQ(language.helpSections().size(), 14);
    }
}

TEST(HelpSections, HaveEveryQuestionAndAnswerInOrder) {
    struct Row {
        AppLanguage language;
        QString HelpSection::*text;
        const char* checksum;
    };
    const Row rows[] = {
        {AppLanguage::russian, &HelpSection::question,
         "357dd149c0144d29cdfb13f943db4b4a945886c7529a23e5344c5610e8890e86"},
        {AppLanguage::english, &HelpSection::question,
         "5f76e1b9c337204610eb172023048ab00ce554956bf5401c966f8ba80950f0f4"},
        {AppLanguage::russian, &HelpSection::answer,
         "b03d88daaefc97511d38f19256c875cb2ffa4cae1e34c1682880896cfbadcd21"},
        {AppLanguage::english, &HelpSection::answer,
         "9a44a17556d7d189c55c39f115d541403dbde39fd7e5f0bde18eb1f191791e86"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.checksum);
        EXPECT_EQ(checksum(row.language, row.text), row.checksum);
    }
}

TEST(HelpSections, AskEachQuestionOnce) {
    for (const AppLanguage language : AppLanguage::allCases) {
        std::set<QString> questions;
        for (const HelpSection& section : language.helpSections()) {
            EXPECT_TRUE(questions.insert(section.question).second) << section.question.toStdString();
        }
    }
}

TEST(HelpSections, PutEachAnswerUnderItsQuestion) {
    struct Row {
        AppLanguage language;
        int index;
        QString question;
        QString answer;
    };
    const Row rows[] = {
        {AppLanguage::english, 0, QStringLiteral("How to convert images"),
         QStringLiteral("1. Drag files into the Ovrel window or click Add. You can select individual images or an "
                        "entire folder.\n2. Choose a folder for the converted files.\n3. Select the quality and "
                        "encoding method.\n4. Click Convert to AVIF.\n\nYour original files remain untouched.")},
        {AppLanguage::russian, 6, QStringLiteral("Можно ли остановить конвертацию?"),
         QStringLiteral("Да. Нажмите «Остановить». Ovrel завершит обработку текущего изображения, после чего "
                        "остановится. Уже сохранённые результаты останутся в папке назначения.")},
        {AppLanguage::english, 10, QStringLiteral("How do I change the language or theme?"),
         QStringLiteral("Select Русский or English at the top of the window. Your language choice is saved.\n\nThe "
                        "light or dark theme automatically follows your macOS appearance settings.")},
    };
    for (const Row& row : rows) {
        const HelpSection section = row.language.helpSections().at(row.index);
        EXPECT_EQ(section.question, row.question);
        EXPECT_EQ(section.answer, row.answer);
    }
}

} // namespace ovrel::test
