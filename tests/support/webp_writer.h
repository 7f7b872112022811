/// \file webp_writer.h
/// WebP files (RFC 9649).
#pragma once

#include "platform/image.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ovrel::test {

struct WebpMetadata {
    std::string exif; ///< a TIFF structure; no chunk when empty
    std::string icc;  ///< no chunk when empty
};

/// A still file.
/// \param image rgba8
/// \param lossyQuality 0 … 100; lossless without, the colour of transparent pixels included
std::string writeWebp(const Image& image, const WebpMetadata& metadata = {},
                      std::optional<float> lossyQuality = std::nullopt);

/// A frame of an animation.
struct WebpFrameBlock {
    std::string still; ///< its picture, as writeWebp() writes it without metadata
    int left = 0;      ///< even
    int top = 0;       ///< even
    int milliseconds = 100;
    bool blends = true; ///< with what is there; replaces it otherwise
    bool isClearedAfter = false;
};

struct WebpAnimation {
    int width = 1;
    int height = 1;
    int loops = 0;                              ///< 0 for without end
    std::uint32_t backgroundColor = 0xFFFFFFFF; ///< A, R, G, B from the highest byte on; viewers ignore it
    std::vector<WebpFrameBlock> frames;
    WebpMetadata metadata;
};

std::string writeWebpAnimation(const WebpAnimation& animation);

} // namespace ovrel::test
