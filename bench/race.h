/// \file race.h
/// Several ways to do the same work, measured side by side.
#pragma once

#include "bench/measure.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ovrel::bench {

inline constexpr int rounds = 5;

/// One way, and the fastest of its rounds with that round's memory.
struct Contestant {
    std::string name;
    std::function<Measurement()> run;
    std::optional<Measurement> best;
};

/// Lets all of them do the work `rounds` times; they take turns, so that a busy moment of the machine meets all alike.
/// \throws std::runtime_error when one fails
void race(std::vector<Contestant>& contestants);

} // namespace ovrel::bench
