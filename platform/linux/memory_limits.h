/// \file memory_limits.h
/// What the control groups of a process leave of the memory (Linux, cgroups(7)).
#pragma once

#include <cstdint>
#include <filesystem>
#include <limits>
#include <string_view>

namespace ovrel {

/// Stands for "no limit is known".
inline constexpr std::uint64_t unlimitedMemory = std::numeric_limits<std::uint64_t>::max();

/// Names of a group's files, which differ between the two versions of control groups.
struct ControlGroupFiles {
    std::string_view limit;
    std::string_view usage;
    std::string_view inactiveCache; ///< a key of memory.stat
};

inline constexpr ControlGroupFiles controlGroupFilesV2{"memory.max", "memory.current", "inactive_file"};
inline constexpr ControlGroupFiles controlGroupFilesV1{"memory.limit_in_bytes", "memory.usage_in_bytes",
                                                       "total_inactive_file"};

/// Bytes that one group leaves; unlimitedMemory without a limit.
std::uint64_t leftByControlGroup(const std::filesystem::path& group, const ControlGroupFiles& files);

/// The least that any group of a process leaves.
/// \param membership a file like /proc/self/cgroup
/// \param root where the hierarchies are mounted, usually /sys/fs/cgroup
std::uint64_t leftByControlGroups(const std::filesystem::path& membership, const std::filesystem::path& root);

} // namespace ovrel
