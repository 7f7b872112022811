/// \file own_thread.h
/// Threads whose user, volumes or system calls differ from those of the rest of the process.
#pragma once

#include <functional>

namespace ovrel::test {

/// Runs `prepare` and then `body` on a new thread and waits for it. An exception of `body` is thrown again.
/// \return what `prepare` returned; `body` has not run when that is false
bool runOnOwnThread(const std::function<bool()>& prepare, const std::function<void()>& body);

} // namespace ovrel::test
