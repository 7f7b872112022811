#include "tests/support/mapped_memory.h"

#include <unistd.h>

#include <fstream>
#include <stdexcept>

namespace ovrel::test {

std::size_t mappedBytes(int number) {
    std::ifstream statm("/proc/self/statm");
    std::size_t pages = 0;
    for (int passed = 0; passed < number; ++passed) {
        statm >> pages;
    }
    if (!statm) {
        throw std::runtime_error("/proc/self/statm does not tell how much memory is mapped");
    }
    return pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)); // 16 or 64 KiB on some machines
}

} // namespace ovrel::test
