/// \file mapped_memory.h
/// How much memory this process has mapped.
#pragma once

#include <cstddef>

namespace ovrel::test {

// The numbers of proc(5), /proc/pid/statm, counted from 1.
inline constexpr int allMemory = 1;
inline constexpr int dataAndStack = 6;

/// Bytes. Throws where the system does not tell.
/// \param number which of statm
std::size_t mappedBytes(int number);

} // namespace ovrel::test
