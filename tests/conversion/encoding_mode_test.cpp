#include "conversion/encoding_mode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ovrel::test {

namespace {

using testing::ElementsAre;

TEST(EncodingMode, OffersTheEfficientModeFirst) {
    EXPECT_THAT(allEncodingModes, ElementsAre(EncodingMode::efficient, EncodingMode::system));
}

TEST(EncodingMode, HasAnIdentifier) {
    EXPECT_EQ(rawValue(EncodingMode::efficient), "Компактный · libaom");
    EXPECT_EQ(rawValue(EncodingMode::system), "Системный · Apple");
}

TEST(EncodingMode, IsFoundByItsIdentifier) {
    for (const EncodingMode mode : allEncodingModes) {
        EXPECT_EQ(encodingModeFromRawValue(rawValue(mode)), mode);
    }
}

TEST(EncodingMode, IsNotFoundByAnyOtherText) {
    for (const char* text :
         {"", "System", "Системный", "Optimized", "Компактный", "efficient", "system", "компактный · libaom",
          "Компактный · libaom ", " Системный · Apple", "Системный - Apple"}) {
        EXPECT_EQ(encodingModeFromRawValue(text), std::nullopt) << text;
    }
}

} // namespace

} // namespace ovrel::test
