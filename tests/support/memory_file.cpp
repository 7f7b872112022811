#include "tests/support/memory_file.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace ovrel::test {

namespace {

[[noreturn]] void fail() {
    throw std::system_error(errno, std::generic_category(), "no file in memory");
}

} // namespace

InputFile memoryFile(std::string_view bytes) {
    const int descriptor = ::memfd_create("ovrel-test", MFD_CLOEXEC);
    if (descriptor < 0) {
        fail();
    }
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count <= 0) {
            fail();
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return InputFile(descriptor);
}

} // namespace ovrel::test
