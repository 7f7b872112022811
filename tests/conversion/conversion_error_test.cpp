#include "conversion/conversion_error.h"

#include <gtest/gtest.h>

namespace ovrel::test {

TEST(ConversionError, SaysThatTheConversionFailedWhenNoEnglishTextIsGiven) {
    const ConversionError error("Не удалось прочитать изображение");
    EXPECT_EQ(error.english, "Conversion failed");
    EXPECT_EQ(error.message(), "Не удалось прочитать изображение");
    EXPECT_EQ(error.errorDescription(), "Не удалось прочитать изображение");
    EXPECT_STREQ(error.what(), "Не удалось прочитать изображение");
}

TEST(ConversionError, KeepsTheRussianTextWhenTheEnglishOneChanges) {
    ConversionError error("Кадр 3", "Frame 3");
    error.english = "Frame three";
    EXPECT_EQ(error.english, "Frame three");
    EXPECT_EQ(error.errorDescription(), "Кадр 3");
}

} // namespace ovrel::test
