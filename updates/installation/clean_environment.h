/// \file clean_environment.h
/// The environment of a program that is started again after an update.
#pragma once

#include <string>
#include <vector>

namespace ovrel {

/// Entries `NAME=value` of this process, in their order.
std::vector<std::string> currentEnvironment();

/// The entries of `environment` without those that belong to the process that had them: what leads libraries and
/// plug-ins to the replaced tree, what an AppImage's runtime had set, the working folder, what a service manager had
/// told of its service, and what the desktop had given for one start. Entries that are no `NAME=value` and a second one
/// of a name are left out.
std::vector<std::string> cleanEnvironment(const std::vector<std::string>& environment);

/// The value of an entry; empty where there is none.
std::string environmentValue(const std::vector<std::string>& environment, const std::string& name);

/// At most this many bytes of environment are handed over; more than execve(2) lets any program start with, so that
/// every program can be started again.
inline constexpr std::size_t environmentLimitBytes = 8U << 20U;

/// Entries as bytes, a NUL after each, and back. A last entry without its NUL is left out.
std::string formatEnvironment(const std::vector<std::string>& environment);
std::vector<std::string> parseEnvironment(const std::string& bytes);

} // namespace ovrel
