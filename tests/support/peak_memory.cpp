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

/// proc(5), /proc/pid/clear_refs: makes the peak what is resident now. Some kernels and sandboxes do not offer it, and
/// then the peak of all earlier tests would hide every later one.
void resetPeak() {
    std::ofstream clearing("/proc/self/clear_refs");
    clearing << "5";
    clearing.close();
    if (!clearing) {
        throw std::runtime_error("the peak of memory cannot be reset");
    }
}

} // namespace

std::uint64_t peakMemoryOf(const std::function<void()>& work) {
    resetPeak();
    const std::uint64_t before = statusBytes("VmHWM:");
    work();
    return statusBytes("VmHWM:") - before;
}

} // namespace ovrel::test
