/// \file programming_fault.h
/// The end of a program that has found itself wrong.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace ovrel {

/// Prints `message` and aborts. For what no input can cause; errors of files and users are thrown.
[[noreturn]] inline void programmingFault(const char* message) {
    std::fprintf(stderr, "Ovrel: %s\n", message);
    std::abort();
}

} // namespace ovrel
