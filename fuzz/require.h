/// \file require.h
/// What a fuzz target holds a result against.
#pragma once

#include <cstdlib>

namespace ovrel::fuzz {

/// Ends the program where that does not hold, which the fuzzer reports together with its input.
inline void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

} // namespace ovrel::fuzz
