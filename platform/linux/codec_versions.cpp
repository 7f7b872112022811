#include "platform/codec_versions.h"

#include "platform/linux/heif_handles.h"

#include <avif/avif.h>
#include <gif_lib.h>
#include <lcms2.h>
#include <png.h>
#include <unicode/uversion.h>
#include <webp/decode.h>

// jpeglib.h expects the C library's FILE to be declared before it.
#include <cstdio>
#include <jpeglib.h>

#include <algorithm>
#include <array>

namespace ovrel {

namespace {

/// libwebp packs its version into 0xMMmmpp.
std::string webpVersion(int packed) {
    return std::to_string(packed >> 16 & 0xFF) + "." + std::to_string(packed >> 8 & 0xFF) + "." +
           std::to_string(packed & 0xFF);
}

/// libavif lists its codecs as "dav1d [dec]:1.5.1, aom [enc/dec]:3.14.1".
void appendAv1Codecs(std::vector<CodecVersion>& versions) {
    std::array<char, 256> buffer{};
    avifCodecVersions(buffer.data());
    const std::string list = buffer.data();
    std::size_t start = 0;
    while (start < list.size()) {
        const std::size_t end = std::min(list.find(", ", start), list.size());
        const std::string codec = list.substr(start, end - start);
        const std::size_t colon = codec.find(':');
        if (colon != std::string::npos) {
            const std::string name = codec.substr(0, codec.find(' '));
            const bool prefixed = codec[colon + 1] == 'v';
            versions.push_back({name == "aom" ? "libaom" : name, codec.substr(colon + (prefixed ? 2 : 1))});
        }
        start = end + 2;
    }
}

/// The decoder that libheif takes for HEIC pictures, such as "libde265 HEVC decoder, version 1.0.11".
void appendHevcDecoder(std::vector<CodecVersion>& versions) {
    loadHeifPlugins();
    const heif_decoder_descriptor* decoder = nullptr;
    if (heif_get_decoder_descriptors(heif_compression_HEVC, &decoder, 1) > 0) {
        versions.push_back({"HEIC", heif_decoder_descriptor_get_name(decoder)});
    }
}

std::string jpegVersion() {
    // libjpeg-turbo offers its version to the compiler alone, as three digits each for minor and patch.
    return std::to_string(LIBJPEG_TURBO_VERSION_NUMBER / 1000000) + "." +
           std::to_string(LIBJPEG_TURBO_VERSION_NUMBER / 1000 % 1000) + "." +
           std::to_string(LIBJPEG_TURBO_VERSION_NUMBER % 1000);
}

std::string gifVersion() {
    return std::to_string(GIFLIB_MAJOR) + "." + std::to_string(GIFLIB_MINOR) + "." + std::to_string(GIFLIB_RELEASE);
}

std::string lcmsVersion() {
    const int version = cmsGetEncodedCMMversion(); // 2140 for 2.14
    return std::to_string(version / 1000) + "." + std::to_string(version % 1000 / 10);
}

std::string icuVersion() {
    UVersionInfo version{};
    u_getVersion(version);
    std::array<char, U_MAX_VERSION_STRING_LENGTH> text{};
    u_versionToString(version, text.data());
    return text.data();
}

} // namespace

std::vector<CodecVersion> codecVersions() {
    std::vector<CodecVersion> versions{{"libavif", avifVersion()}};
    appendAv1Codecs(versions);
    versions.push_back({"libheif", heif_get_version()});
    appendHevcDecoder(versions);
    versions.push_back({"libjpeg-turbo", jpegVersion()});
    versions.push_back({"libpng", png_get_libpng_ver(nullptr)});
    versions.push_back({"libwebp", webpVersion(WebPGetDecoderVersion())});
    versions.push_back({"giflib", gifVersion()});
    versions.push_back({"Little CMS", lcmsVersion()});
    versions.push_back({"ICU", icuVersion()});
    return versions;
}

} // namespace ovrel
