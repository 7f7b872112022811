#include "platform/memory.h"

#include "platform/linux/memory_limits.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>

namespace ovrel {

namespace {

namespace fs = std::filesystem;

/// Pictures below this size are taken without asking: the answer could only be yes.
constexpr std::uint64_t smallBytes = std::uint64_t{8} << 20;

std::optional<std::uint64_t> number(std::string_view text) {
    std::uint64_t value = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (failure != std::errc()) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::uint64_t> numberIn(const fs::path& file) {
    std::ifstream stream(file);
    std::string word;
    stream >> word;
    return number(word);
}

/// The number behind `key` in a file of lines "key number …".
std::optional<std::uint64_t> valueOf(const fs::path& file, std::string_view key) {
    std::ifstream stream(file);
    std::string word;
    std::string rest;
    while (stream >> word) {
        if (word == key) {
            stream >> word;
            return number(word);
        }
        std::getline(stream, rest);
    }
    return std::nullopt;
}

std::uint64_t difference(std::uint64_t limit, std::uint64_t used) {
    return limit > used ? limit - used : 0;
}

std::uint64_t leftBelow(rlim_t limit, std::uint64_t used) {
    return limit == RLIM_INFINITY ? unlimitedMemory : difference(limit, used);
}

/// What setrlimit() leaves of address space and data.
std::uint64_t leftByResourceLimits() {
    rlimit addressSpace{};
    rlimit data{};
    if (::getrlimit(RLIMIT_AS, &addressSpace) != 0 || ::getrlimit(RLIMIT_DATA, &data) != 0) {
        return unlimitedMemory;
    }
    constexpr std::uint64_t kibi = 1024;
    const std::uint64_t mapped = valueOf("/proc/self/status", "VmSize:").value_or(0) * kibi;
    const std::uint64_t written = valueOf("/proc/self/status", "VmData:").value_or(0) * kibi;
    return std::min(leftBelow(addressSpace.rlim_cur, mapped), leftBelow(data.rlim_cur, written));
}

} // namespace

std::uint64_t leftByControlGroup(const fs::path& group, const ControlGroupFiles& files) {
    const std::optional<std::uint64_t> limit = numberIn(group / files.limit); // "max" is no number
    const std::optional<std::uint64_t> used = numberIn(group / files.usage);
    if (!limit || !used) {
        return unlimitedMemory;
    }
    // The page cache of files that nobody maps is given back before anything is killed.
    const std::uint64_t cache = valueOf(group / "memory.stat", files.inactiveCache).value_or(0);
    return difference(*limit, difference(*used, cache));
}

std::uint64_t leftByControlGroups(const fs::path& membership, const fs::path& root) {
    std::uint64_t left = unlimitedMemory;
    std::ifstream stream(membership);
    std::string line;
    while (std::getline(stream, line)) {
        // cgroups(7), /proc/PID/cgroup: hierarchy-ID:controllers:path, the controllers empty for version 2
        const std::size_t first = line.find(':');
        const std::size_t second = line.find(':', first + 1);
        if (first == std::string::npos || second == std::string::npos) {
            continue;
        }
        const std::string controllers = line.substr(first + 1, second - first - 1);
        const bool unified = controllers.empty();
        if (!unified && controllers.find("memory") == std::string::npos) {
            continue;
        }
        const fs::path mount = unified ? root : root / "memory";
        const ControlGroupFiles& files = unified ? controlGroupFilesV2 : controlGroupFilesV1;
        // A limit of any group above binds as well. In a container the named path may not be mounted; its root is.
        fs::path group = fs::path(line.substr(second + 1)).lexically_relative("/").lexically_normal();
        while (!group.empty() && group != ".") {
            left = std::min(left, leftByControlGroup(mount / group, files));
            group = group.parent_path();
        }
        left = std::min(left, leftByControlGroup(mount, files));
    }
    return left;
}

std::uint64_t availableMemory() {
    constexpr std::uint64_t kibi = 1024;
    // Without this line the kernel is older than 3.14, or /proc is missing: nothing is known, and nothing refused.
    const std::optional<std::uint64_t> system = valueOf("/proc/meminfo", "MemAvailable:");
    const std::uint64_t left = system ? *system * kibi : unlimitedMemory;
    return std::min({left, leftByControlGroups("/proc/self/cgroup", "/sys/fs/cgroup"), leftByResourceLimits()});
}

bool fitsIntoMemory(std::uint64_t bytes) {
    return bytes <= smallBytes || bytes <= availableMemory();
}

} // namespace ovrel
