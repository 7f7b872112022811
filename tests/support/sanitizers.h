/// \file sanitizers.h
/// Whether the test runs under one.
#pragma once

namespace ovrel::test {

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool underAddressSanitizer = true;
#elif defined(__has_feature)
inline constexpr bool underAddressSanitizer = __has_feature(address_sanitizer);
#else
inline constexpr bool underAddressSanitizer = false;
#endif

#if defined(__SANITIZE_THREAD__)
inline constexpr bool underThreadSanitizer = true;
#elif defined(__has_feature)
inline constexpr bool underThreadSanitizer = __has_feature(thread_sanitizer);
#else
inline constexpr bool underThreadSanitizer = false;
#endif

/// The sanitizers map more addresses than a limit could leave, and end the program when memory is refused.
inline constexpr bool canLimitMemory = !underAddressSanitizer && !underThreadSanitizer;

} // namespace ovrel::test
