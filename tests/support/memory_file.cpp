#include "tests/support/memory_file.h"

#include <cstdint>

namespace ovrel::test {

InputFile memoryFile(std::string_view bytes) {
    return InputFile::inMemory({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

} // namespace ovrel::test
