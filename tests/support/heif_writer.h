/// \file heif_writer.h
/// HEIF files, where libheif has an encoder for them.
#pragma once

#include "platform/image.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace ovrel::test {

enum class HeifCompression { hevc, av1 };

struct HeifOptions {
    HeifCompression compression = HeifCompression::hevc;
    unsigned depth = 8;      ///< 8, 10 or 12
    std::string icc;         ///< none when empty
    bool statesCicp = false; ///< whether primaries and transfer are written
    std::uint16_t primaries = 1;
    std::uint16_t transfer = 13;
    unsigned orientation = 1;   ///< 1 … 8, written as irot and imir
    bool premultiplied = false; ///< whether the file says that its colour is premultiplied
};

/// A file with one picture for each of `images`, the first being the primary one. Colours change a little.
/// \param images rgba8, straight alpha; one that is opaque is written without alpha
/// \return nothing when libheif has no such encoder
/// \throws std::runtime_error when the encoder refuses
std::optional<std::string> writeHeif(std::span<const Image> images, const HeifOptions& options = {});

} // namespace ovrel::test
