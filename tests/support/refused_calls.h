/// \file refused_calls.h
/// A system that refuses what this machine's would do.
#pragma once

#include <functional>
#include <vector>

namespace ovrel::test {

struct RefusedCall {
    long number = 0; ///< SYS_… of <sys/syscall.h>
    int error = 0;   ///< the errno with which it fails
};

/// Runs `body` on a thread of its own for which these system calls fail.
/// \return false when this machine does not let us refuse calls; `body` has not run then
[[nodiscard]] bool runWithRefusedCalls(const std::vector<RefusedCall>& calls, const std::function<void()>& body);

} // namespace ovrel::test
