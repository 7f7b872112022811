/// \file damaged_files.h
/// Files that something went wrong with.
#pragma once

#include "platform/image_source.h"
#include "platform/linux/input_file.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace ovrel::test {

using OpenSource = std::function<std::unique_ptr<ImageSource>(InputFile)>;

/// Opens every beginning of `file` and decodes all that it offers. Fails the test when an image does not hold the
/// pixels that it claims; a picture too large for memory is fine. Worth running under the sanitizers.
/// \param step bytes between one beginning and the next
void expectToSurviveTruncation(const std::string& file, const OpenSource& open, std::size_t step = 1);

/// The same with `rounds` copies in each of which a few bits are turned, always the same ones for one `seed`.
void expectToSurviveBitFlips(const std::string& file, const OpenSource& open, unsigned rounds, std::uint32_t seed = 1);

} // namespace ovrel::test
