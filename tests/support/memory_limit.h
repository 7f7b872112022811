/// \file memory_limit.h
/// A process that may not take more memory.
#pragma once

#include <cstddef>

namespace ovrel::test {

/// Lets this process take no more than `bytes` of memory to write to beyond what it has. For a ChildProcess, since it
/// cannot be undone. Throws when the system does not tell or does not let us.
void leaveMemory(std::size_t bytes);

/// Whether this build's allocator, that of a sanitizer, ends a process that gets no more memory.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool endsWithoutMemory = true;
#elif defined(__has_feature)
inline constexpr bool endsWithoutMemory = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool endsWithoutMemory = false;
#endif

} // namespace ovrel::test
