#include "platform/text.h"

#include <gtest/gtest.h>

namespace ovrel::test {

namespace {

TEST(ValidUtf8, KeepsTextAndReplacesWhatIsNone) {
    struct Row {
        const char* bytes;
        const char* text;
    };
    const Row rows[] = {
        {"", ""},
        {"holiday", "holiday"},
        {"Отпуск 🏖", "Отпуск 🏖"},
        {"caf\xe9", "caf\xef\xbf\xbd"},           // ISO 8859-1
        {"\xff.jpg", "\xef\xbf\xbd.jpg"},         // no byte of any sequence
        {"cut \xd0", "cut \xef\xbf\xbd"},         // first half of a letter
        {"\xc0\xaf", "\xef\xbf\xbd\xef\xbf\xbd"}, // a slash in more bytes than it needs
    };
    for (const Row& row : rows) {
        EXPECT_EQ(validUtf8(row.bytes), row.text);
    }
}

TEST(LowerCaseAscii, LowersLettersOfAsciiAlone) {
    EXPECT_EQ(lowerCaseAscii(""), "");
    EXPECT_EQ(lowerCaseAscii("@AZ[`az{019"), "@az[`az{019");
    EXPECT_EQ(lowerCaseAscii("ЁЖ.JPG"), "ЁЖ.jpg");
    EXPECT_EQ(lowerCaseAscii("\xc0\xff.PNG"), "\xc0\xff.png");
}

} // namespace

} // namespace ovrel::test
