/// \file standard_path.h
/// Paths by which a file is recognised, however it was named.
#pragma once

#include <filesystem>
#include <string>

namespace ovrel {

/// The bytes of the absolute path without "." and "..", which are taken away from the text alone: links are not looked
/// at. Relative paths start from the current folder; where that is gone, they stay relative.
std::string standardised(const std::filesystem::path& path);

} // namespace ovrel
