/// \file memory.h
/// How much memory the machine has left for us. Any thread.
#pragma once

#include <cstdint>

namespace ovrel {

/// Bytes that can still be taken without driving the computer into swapping: the least of what the system has free,
/// what the control groups of this process leave, and its own resource limits.
std::uint64_t availableMemory();

/// \return whether `bytes` are left. Asks the system only for sizes that could matter, so it may be called often.
bool fitsIntoMemory(std::uint64_t bytes);

} // namespace ovrel
