/// \file limited_conversion.h
/// A conversion in a process of its own that may take only so much.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace ovrel::test {

/// What every file must be done with.
inline constexpr std::uint64_t mostMemoryBytes = std::uint64_t{1} << 30;
inline constexpr unsigned mostSeconds = 10;

struct LimitedOutcome {
    int status = 0;              ///< 0, or 128 + the number of the signal that ended it
    std::string english;         ///< of the refusal; empty when there is a result
    std::string russian;         ///< likewise
    std::uint64_t peakBytes = 0; ///< resident at once
};

/// Converts `file` into `output` as fast as the encoder can. The process is ended after mostSeconds of processor time,
/// which no load of the machine prolongs, and gets no more than mostMemoryBytes; under a sanitizer, whose own share is
/// many times that, neither. Begin it only while no other thread runs.
LimitedOutcome convertWithinLimits(const std::filesystem::path& file, const std::filesystem::path& output);

} // namespace ovrel::test
