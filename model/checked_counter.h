/// \file checked_counter.h
/// Arithmetic of the run's counters. What does not fit ends the program, because no list is as long as that.
#pragma once

#include "platform/programming_fault.h"

#include <cstdint>

namespace ovrel {

/// \return `counter` + 1
inline std::int64_t incremented(std::int64_t counter) {
    std::int64_t sum = 0;
    if (__builtin_add_overflow(counter, 1, &sum)) {
        programmingFault("a counter overflowed");
    }
    return sum;
}

/// \return `total` - `part`
inline std::int64_t difference(std::int64_t total, std::int64_t part) {
    std::int64_t rest = 0;
    if (__builtin_sub_overflow(total, part, &rest)) {
        programmingFault("a counter overflowed");
    }
    return rest;
}

} // namespace ovrel
