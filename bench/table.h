/// \file table.h
/// The one table that the benchmark prints.
#pragma once

#include "bench/race.h"

#include <optional>
#include <string>

namespace ovrel::bench {

/// One piece of work beside another; each ratio is that of the first to the second.
struct TableRow {
    std::string what;
    std::string beside;
    double time = 0.0;
    std::optional<double> bytes{};  ///< of the results
    std::optional<double> memory{}; ///< at its peak
    std::string remark{};
};

void printHead();
void print(const TableRow& row);

/// Time and memory of two that have raced, and how many seconds the first one took.
TableRow rowOf(const Contestant& ours, const Contestant& theirs);

} // namespace ovrel::bench
