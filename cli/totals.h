/// \file totals.h
/// What became of a batch.
#pragma once

#include <cstddef>

namespace ovrel::cli {

/// How many images came to which end.
struct Totals {
    std::size_t items = 0;
    std::size_t succeeded = 0; ///< converted and copied ones
    std::size_t failed = 0;
    std::size_t skipped = 0;
    bool showSkipped = false; ///< whether the user asked to skip
    bool stopped = false;     ///< by the user
};

} // namespace ovrel::cli
