#include "tests/support/peak_memory.h"

#include <fstream>
#include <stdexcept>
#include <string>

namespace ovrel::test {

namespace {

/// proc(5): the number behind `key` in /proc/self/status, where it stands in KiB.
std::uint64_t statusBytes(const std::string& key) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind(key, 0) == 0) {
            return std::stoull(line.substr(key.size())) * 1024;
        }
    }
    throw std::runtime_error("no line " + key + " in /proc/self/status");
}

} // namespace

std::uint64_t peakMemoryOf(const std::function<void()>& work) {
    std::ofstream("/proc/self/clear_refs") << "5"; // makes the peak what is resident now
    const std::uint64_t before = statusBytes("VmHWM:");
    work();
    return statusBytes("VmHWM:") - before;
}

} // namespace ovrel::test
