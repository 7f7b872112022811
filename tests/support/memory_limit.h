/// \file memory_limit.h
/// A process that may not take more memory.
#pragma once

#include <cstddef>

namespace ovrel::test {

/// Lets this process take no more than `bytes` of memory to write to beyond what it has. For a ChildProcess, since it
/// cannot be undone. Throws when the system does not tell or does not let us.
void leaveMemory(std::size_t bytes);

} // namespace ovrel::test
