#include "tests/support/memory_file.h"

#include <sys/mman.h>

#include <span>
#include <stdexcept>
#include <utility>

namespace ovrel::test {

InputFile memoryFile(std::string_view bytes) {
    FileDescriptor file(::memfd_create("image", MFD_CLOEXEC));
    if (!file || !writeAll(file.get(), std::as_bytes(std::span(bytes)))) {
        throw std::runtime_error("no file could be made in memory");
    }
    return InputFile(std::move(file));
}

} // namespace ovrel::test
