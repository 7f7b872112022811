/// \file decoders.h
/// The decoder of each format. All take a file whose first bytes name the format, read its header, and return null
/// when that is damaged. Any bytes are safe: no decoder crashes, hangs or reads outside its buffers.
#pragma once

#include "platform/image_source.h"
#include "platform/linux/input_file.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace ovrel {

std::unique_ptr<ImageSource> openJpeg(InputFile file); ///< libjpeg-turbo; ITU-T T.81
std::unique_ptr<ImageSource> openPng(InputFile file);  ///< libpng; PNG, third edition
std::unique_ptr<ImageSource> openWebp(InputFile file); ///< libwebp and its demultiplexer; RFC 9649
std::unique_ptr<ImageSource> openGif(InputFile file);  ///< giflib; GIF89a
std::unique_ptr<ImageSource> openAvif(InputFile file); ///< libavif; AV1 Image File Format 1.1
std::unique_ptr<ImageSource> openHeif(InputFile file); ///< libheif; ISO/IEC 23008-12

/// An AVIF in memory. A picture beyond `limits` fails, whether the header or the coded frame alone says so.
std::unique_ptr<ImageSource> openAvifWithin(ImageLimits limits, std::vector<std::uint8_t> bytes);

/// The format that a file's first bytes name. `head` holds up to 512 of them.
std::optional<ImageFormat> formatOf(std::span<const std::uint8_t> head);

/// What ImageSource::open() does once the file is open.
std::unique_ptr<ImageSource> openImage(InputFile file);

} // namespace ovrel
