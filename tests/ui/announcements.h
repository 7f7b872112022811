/// \file announcements.h
/// What a screen reader is told without being asked.
#pragma once

#include <string>
#include <vector>

namespace ovrel::test {

/// What was said since the last time, by any window.
std::vector<std::string> takeAnnouncements();

} // namespace ovrel::test
