/// \file peak_memory.h
/// How much memory something touches.
#pragma once

#include <cstdint>
#include <functional>

namespace ovrel::test {

/// Runs `work` and tells by how many bytes the resident memory of this process exceeded what it was before. Throws
/// where the system does not let us measure that.
std::uint64_t peakMemoryOf(const std::function<void()>& work);

} // namespace ovrel::test
