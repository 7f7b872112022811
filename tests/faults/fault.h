/// \file fault.h
/// What a test and the library that it loads into a program agree on: which call of which kind fails there, and how.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ovrel::test {

/// Calls that are counted together and can be made to fail.
enum class FaultClass { open, read, write, close, flush, rename, makeFolder, memory, thread };

/// In the order of FaultClass.
inline constexpr std::array<std::string_view, 9> faultClassNames{"open",   "read",       "write",  "close", "flush",
                                                                 "rename", "makeFolder", "memory", "thread"};

/// How many calls of each class were made, in the order of FaultClass. Lies in a file that both sides map.
using FaultCounts = std::array<std::atomic<std::uint32_t>, faultClassNames.size()>;

/// In place of an errno: the call takes one byte less than it could, which is no error at all.
inline constexpr int shortCall = -1;

// Environment variables.

/// Counting begins with the first file that is opened below this folder.
inline constexpr const char* faultFolderVariable = "OVREL_FAULT_BELOW";
/// The file that holds FaultCounts.
inline constexpr const char* faultCountsVariable = "OVREL_FAULT_COUNTS";
/// "CLASS NUMBER ERROR TIMES" in decimal numbers: the class, which of its calls fails first (from 1 on), the errno or
/// shortCall, and how many calls fail from there on. None fails without it.
inline constexpr const char* faultVariable = "OVREL_FAULT";
/// After so many seconds SIGALRM ends the program.
inline constexpr const char* faultDeadlineVariable = "OVREL_FAULT_DEADLINE";

} // namespace ovrel::test
