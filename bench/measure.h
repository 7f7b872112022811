/// \file measure.h
/// Time and memory of one piece of work.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace ovrel::bench {

struct Measurement {
    double seconds = 0.0;
    std::uint64_t peakBytes = 0; ///< the most memory that was resident at once
    bool succeeded = false;
};

/// Runs `work` in a process of its own, so that its peak memory is its own too. `work` is called once; what it does
/// before `start()` does not count into the time.
Measurement measure(const std::function<void(const std::function<void()>& start)>& work);

/// Runs another program and waits for it; its output is thrown away.
Measurement measureProgram(const std::vector<std::string>& command);

/// \return whether a program of this name is installed
bool isInstalled(const std::string& program);

} // namespace ovrel::bench
