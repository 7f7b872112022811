/// \file skip_outside_ci.h
/// Tests that a machine may be unfit for, but not the machine that judges changes.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string_view>

namespace ovrel::test {

/// Whether the environment says so: CI is "true".
inline bool runsInCi() {
    const char* value = std::getenv("CI");
    return value != nullptr && std::string_view(value) == "true";
}

} // namespace ovrel::test

/// Leaves the test because this machine lacks what it needs. For what every ordinary machine has when tests run as
/// root, so in CI the test fails. A plain GTEST_SKIP() remains for what a build or a library's version lacks.
/// \param reason a text
#define OVREL_SKIP_OUTSIDE_CI(reason)                                                                                  \
    do {                                                                                                               \
        if (::ovrel::test::runsInCi()) {                                                                               \
            FAIL() << (reason);                                                                                        \
        }                                                                                                              \
        GTEST_SKIP() << (reason);                                                                                      \
    } while (false)
