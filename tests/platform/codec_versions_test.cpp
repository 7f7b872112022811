#include "platform/codec_versions.h"

#include <aom/aom_codec.h>
#include <avif/avif.h>
#include <gif_lib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <lcms2.h>
#include <libheif/heif.h>
#include <png.h>
#include <unicode/uversion.h>
#include <webp/decode.h>

// jpeglib.h expects the C library's FILE to be declared before it.
#include <cstdio>
#include <jpeglib.h>

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <vector>

namespace ovrel::test {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Key;
using testing::Pair;

std::map<std::string, std::string> versions() {
    std::map<std::string, std::string> versions;
    for (const auto& [name, version] : codecVersions()) {
        EXPECT_TRUE(versions.emplace(name, version).second) << name << " is named twice";
    }
    return versions;
}

std::string withoutV(const std::string& version) {
    return version.starts_with('v') ? version.substr(1) : version;
}

/// "3.2.1" for 0x030201.
std::string dotted(int packed) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%d.%d.%d", packed >> 16, packed >> 8 & 0xFF, packed & 0xFF);
    return text.data();
}

// libjpeg-turbo and giflib tell their versions to the compiler alone.
#define TEXT_OF_TOKENS(tokens) #tokens
#define TEXT_OF(macro) TEXT_OF_TOKENS(macro)
const std::string jpegVersion = TEXT_OF(LIBJPEG_TURBO_VERSION);
const std::string gifVersion = TEXT_OF(GIFLIB_MAJOR) "." TEXT_OF(GIFLIB_MINOR) "." TEXT_OF(GIFLIB_RELEASE);
#undef TEXT_OF
#undef TEXT_OF_TOKENS

TEST(CodecVersions, AreThoseThatTheLibrariesReport) {
    UVersionInfo icu{};
    u_getVersion(icu);
    std::array<char, U_MAX_VERSION_STRING_LENGTH> icuText{};
    u_versionToString(icu, icuText.data());
    const int lcms = cmsGetEncodedCMMversion(); // 2140 for 2.14
    const std::map<std::string, std::string> found = versions();
    EXPECT_THAT(found, Contains(Pair("libavif", avifVersion())));
    EXPECT_THAT(found, Contains(Pair("libaom", withoutV(aom_codec_version_str()))));
    EXPECT_THAT(found, Contains(Pair("libheif", heif_get_version())));
    EXPECT_THAT(found, Contains(Pair("libjpeg-turbo", jpegVersion)));
    EXPECT_THAT(found, Contains(Pair("libpng", png_get_libpng_ver(nullptr))));
    EXPECT_THAT(found, Contains(Pair("libwebp", dotted(WebPGetDecoderVersion()))));
    EXPECT_THAT(found, Contains(Pair("giflib", gifVersion)));
    EXPECT_THAT(found,
                Contains(Pair("Little CMS", std::to_string(lcms / 1000) + "." + std::to_string(lcms % 1000 / 10))));
    EXPECT_THAT(found, Contains(Pair("ICU", icuText.data())));
}

TEST(CodecVersions, NameEveryCodecOfLibavif) {
    std::array<char, 256> text{};
    avifCodecVersions(text.data());
    const std::string ofLibavif = text.data(); // such as "dav1d [dec]:1.5.1, aom [enc/dec]:v3.14.1"
    const std::map<std::string, std::string> found = versions();
    for (int choice = AVIF_CODEC_CHOICE_AOM; choice <= AVIF_CODEC_CHOICE_SVT; ++choice) {
        const char* const codec = avifCodecName(static_cast<avifCodecChoice>(choice), 0);
        if (codec != nullptr) {
            const std::string name = codec == std::string("aom") ? "libaom" : codec;
            ASSERT_THAT(found, Contains(Key(name)));
            const std::size_t start = ofLibavif.find(':', ofLibavif.find(codec + std::string(" ["))) + 1;
            const std::size_t end = std::min(ofLibavif.find(", ", start), ofLibavif.size());
            EXPECT_EQ(found.at(name), withoutV(ofLibavif.substr(start, end - start)));
        }
    }
}

TEST(CodecVersions, BeginWithTheOnesOfAv1) {
    std::vector<std::string> names;
    for (const CodecVersion& codec : codecVersions()) {
        names.push_back(codec.name);
    }
    ASSERT_GE(names.size(), 9U);
    EXPECT_EQ(names[0], "libavif");
    names.erase(names.begin(), names.end() - 8);
    EXPECT_THAT(names,
                ElementsAre("libheif", "HEIC", "libjpeg-turbo", "libpng", "libwebp", "giflib", "Little CMS", "ICU"));
}

} // namespace

} // namespace ovrel::test
