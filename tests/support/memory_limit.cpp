#include "tests/support/memory_limit.h"

#include "tests/support/mapped_memory.h"

#include <sys/resource.h>

#include <stdexcept>

namespace ovrel::test {

void leaveMemory(std::size_t bytes) {
    const rlim_t most = mappedBytes(dataAndStack) + bytes;
    const rlimit limit{most, most};
    if (::setrlimit(RLIMIT_DATA, &limit) != 0) {
        throw std::runtime_error("memory cannot be limited");
    }
}

} // namespace ovrel::test
