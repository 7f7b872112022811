#include "tests/support/memory_limit.h"

#include <sys/resource.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>

namespace ovrel::test {

void leaveMemory(std::size_t bytes) {
    // proc(5), /proc/self/statm: the sixth number counts the pages of data and stack.
    std::ifstream statm("/proc/self/statm");
    std::size_t pages = 0;
    for (int number = 1; number <= 6; ++number) {
        statm >> pages;
    }
    const rlim_t most = pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)) + bytes;
    const rlimit limit{most, most};
    if (!statm || ::setrlimit(RLIMIT_DATA, &limit) != 0) {
        throw std::runtime_error("memory cannot be limited");
    }
}

} // namespace ovrel::test
