/// \file path_list.h
/// Lists of paths in files.
#pragma once

#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace ovrel::cli {

/// A path in a list exceeds what an operating system could open.
class PathTooLong : public std::length_error {
public:
    PathTooLong() : std::length_error("a path in the list is too long") {}
};

/// A path in a list holds a NUL, where every operating system would take it to end.
class NulInPath : public std::invalid_argument {
public:
    NulInPath() : std::invalid_argument("a path in the list holds a NUL") {}
};

/// Longest path that a list may hold, in bytes (PATH_MAX of Linux).
inline constexpr std::size_t longestPath = 4096;

/// Reads paths that each end with `end`, except perhaps the last; empty ones are left out.
/// \param list "-" is standard input
/// \throws FileError (reading), PathTooLong, NulInPath
std::vector<std::filesystem::path> readPathList(const std::filesystem::path& list, char end);

} // namespace ovrel::cli
