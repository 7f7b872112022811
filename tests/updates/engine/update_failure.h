/// \file update_failure.h
/// What an updater's step failed by.
#pragma once

#include "updates/framework/update_error.h"

#include <functional>
#include <string>

namespace ovrel::test {

/// Runs `step`.
/// \return "" when it succeeds, otherwise the number of its UpdateError, and that of the cause: "4005 over 3001".
///     "worded badly" when the error or its cause lacks a text in one of the languages
std::string failureOf(const std::function<void()>& step);

} // namespace ovrel::test
