/// \file event_loop.h
/// Waiting in tests.
#pragma once

#include <functional>

namespace ovrel::test {

/// Runs the event loop until something has come to be.
void awaitThat(const std::function<bool()>& condition);

} // namespace ovrel::test
