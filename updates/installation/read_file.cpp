#include "updates/installation/read_file.h"

#include "platform/linux/file_descriptor.h"

#include <array>

#include <unistd.h>

namespace ovrel {

std::optional<std::string> readWhole(int file, std::size_t limitBytes) {
    std::array<char, 4096> part = {};
    std::string bytes;
    for (;;) {
        const ssize_t count = uninterrupted([&] { return ::read(file, part.data(), part.size()); });
        if (count == 0) {
            return bytes;
        }
        if (count < 0 || static_cast<std::size_t>(count) > limitBytes - bytes.size()) {
            return std::nullopt;
        }
        bytes.append(part.data(), static_cast<std::size_t>(count));
    }
}

} // namespace ovrel
