/// \file bomb.h
/// Files that cost far more than their size, or claim what no machine has.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace ovrel::test {

/// How a conversion may end. All but the first two are refusals with a text of their own.
enum class Ending {
    converted, ///< what is excessive does not matter to the picture
    copied,    ///< an AVIF, which is not opened
    damaged,
    lacksMemory,
    lacksMemoryForFrame, ///< for the first one of an animation
};

/// A row of the table.
struct Bomb {
    std::string name; ///< letters and digits
    std::string file; ///< the name of the file
    Ending ending = Ending::damaged;
    std::function<std::string()> bytes; ///< what the file begins with
    std::uint64_t zeroBytesBehind = 0;  ///< never written, so they take no room on the disk
};

std::vector<Bomb> jpegBombs();
std::vector<Bomb> pngBombs();
std::vector<Bomb> gifBombs();
std::vector<Bomb> webpBombs();
std::vector<Bomb> avifBombs();
std::vector<Bomb> heifBombs(); ///< those in HEVC
std::vector<Bomb> profileBombs();

} // namespace ovrel::test
