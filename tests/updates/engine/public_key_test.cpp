#include "tests/updates/engine/tar_writer.h"
#include "tests/updates/engine/update_failure.h"
#include "updates/engine/public_key.h"

#include <gtest/gtest.h>

#include <string_view>

namespace ovrel::test {

namespace {

using Audience = PublicKey::Audience;

constexpr QStringView publicTestKey = u"A6EHv/POEL4dcN0Y50vAmWfk1jCbpQ1fHdyGZBJVMbg=";
constexpr QStringView anotherKey = u"rhHib+w769W2/6/t+oM1ZxgjBB93BfBKMLO0Qo1etQs=";

TEST(PublicKey, IsThirtyTwoBytesInBase64) {
    const PublicKey key = PublicKey::fromBase64(anotherKey, Audience::users);
    EXPECT_EQ(key.bytes().front(), 0xae);
    EXPECT_EQ(key.bytes().back(), 0x0b);
}

TEST(PublicKey, MayHaveWhiteSpaceAround) {
    EXPECT_EQ(PublicKey::fromBase64(QStringLiteral(" \n%1\t\r\n").arg(anotherKey), Audience::users).bytes(),
              PublicKey::fromBase64(anotherKey, Audience::users).bytes());
}

TEST(PublicKey, OfTheTestsIsForDevelopersAlone) {
    EXPECT_EQ(testKeyText(), publicTestKey);
    EXPECT_EQ(failureOf([] { PublicKey::fromBase64(publicTestKey, Audience::developers); }), "");
    EXPECT_EQ(failureOf([] { PublicKey::fromBase64(publicTestKey, Audience::users); }), "1");
}

TEST(PublicKey, IsAbsentFromABuildThatWasGivenNone) {
    EXPECT_EQ(failureOf([] { PublicKey::builtIn(); }), std::string_view(OVREL_UPDATE_PUBLIC_KEY).empty() ? "1" : "");
}

TEST(PublicKey, IsRefusedWhenItIsNone) {
    const char16_t* const texts[] = {
        u"",
        u" \n",
        u"A6EHv",
        u"A6EHv/POEL4dcN0Y50vAmWfk1jCbpQ1fHdyGZBJVMbg",    // no padding
        u"A6EHv/POEL4dcN0Y50vAmWfk1jCbpQ1fHdyGZBJVMbg==",  // too much of it
        u"A6EHv/POEL4dcN0Y50vAmWfk1jCbpQ1fHdyGZBJVMbh=",   // bits that no byte uses
        u"A6EHv_POEL4dcN0Y50vAmWfk1jCbpQ1fHdyGZBJVMbg=",   // the alphabet of addresses
        u"A6EHv/POEL4dcN0Y50vA mWfk1jCbpQ1fHdyGZBJVMbg=",  // a blank inside
        u"A6EHv/POEL4dcN0Y50vA\nmWfk1jCbpQ1fHdyGZBJVMbg=", //
        u"A6EHv/POEL4dcN0Y50vAmWfk1jCbpQ1fHdyGZBJVMQ==",   // 31 bytes
        u"A6EHv/POEL4dcN0Y50vAmWfk1jCbpQ1fHdyGZBJVMbg4",   // 33 bytes
        u"А6EHv/POEL4dcN0Y50vAmWfk1jCbpQ1fHdyGZBJVMbg=",   // a Cyrillic letter
        u"03a107bff3ce10be1d70dd18e74bc09967e4d6309ba50d5f1ddc8664125531b8",
    };
    for (const char16_t* const text : texts) {
        EXPECT_EQ(failureOf([&] { PublicKey::fromBase64(QString::fromUtf16(text), Audience::developers); }), "1")
            << QString::fromUtf16(text).toStdString();
    }
}

} // namespace

} // namespace ovrel::test
