/// \file decode.h
/// What every fuzz target of a decoder does with its bytes.
#pragma once

#include "platform/image_source.h"
#include "platform/linux/input_file.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace ovrel::fuzz {

/// Opens the bytes as a file, asks for all facts of its first images, decodes these and then the first one again, and
/// draws them when `draw` is set. Pictures of more than a few megapixels are left out: they cost time and show nothing
/// new.
void decode(const std::uint8_t* bytes, std::size_t count,
            const std::function<std::unique_ptr<ImageSource>(InputFile)>& open, bool draw);

} // namespace ovrel::fuzz
