/// \file unprivileged.h
/// What refuses an ordinary user does not refuse root, as whom tests often run.
#pragma once

#include <functional>

namespace ovrel::test {

/// Runs `body` without any rights of root, on a thread of its own whose user has none (for root: user and group 65534).
/// Folders that it shall enter must be open to everybody.
/// \return false when this process can neither give up its rights nor lacks them; `body` has not run then
[[nodiscard]] bool runUnprivileged(const std::function<void()>& body);

} // namespace ovrel::test
