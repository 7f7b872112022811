/// \file rivals.h
/// Other programs that make AVIF files, beside ours.
#pragma once

#include <filesystem>
#include <vector>

namespace ovrel::bench {

/// Prints how ovrel-cli compares with each of avifenc, ImageMagick and ffmpeg that is installed, in time, in bytes and,
/// where ffmpeg is there to measure it, in likeness to the picture. Each converts the same photographs with the same
/// codec at the setting that its users would choose for the middle of its scale.
/// \param program ovrel-cli
/// \throws std::runtime_error when a program fails
void compareRivals(const std::filesystem::path& program, const std::vector<std::filesystem::path>& photos);

} // namespace ovrel::bench
