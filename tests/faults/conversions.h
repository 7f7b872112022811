/// \file conversions.h
/// One conversion of each kind, small enough to be run thousands of times.
#pragma once

#include <string>
#include <vector>

namespace ovrel::test {

/// A source and how it is converted.
struct Conversion {
    std::string name;                   ///< for messages
    std::string file;                   ///< the source's name
    std::string content;                ///< the source's bytes
    std::vector<std::string> options{}; ///< further ones for ovrel-cli
};

/// One of each kind that the program treats on its own: every decoder, both ways to encode a still picture as far as
/// the system has them, an animation, a copy.
std::vector<Conversion> everyConversion();

/// A picture so large that its colours are converted by several threads.
Conversion largeConversion();

/// An animation of a few frames.
std::string animatedGif();

} // namespace ovrel::test
