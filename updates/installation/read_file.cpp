#include "updates/installation/read_file.h"

#include "platform/linux/file_descriptor.h"

#include <array>
#include <string_view>

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

std::string readFirstLine(int file) {
    constexpr std::size_t limitBytes = 200;
    std::array<char, limitBytes> bytes = {};
    const ssize_t count = uninterrupted([&] { return ::pread(file, bytes.data(), bytes.size(), 0); });
    const std::string_view text(bytes.data(), count < 0 ? 0 : static_cast<std::size_t>(count));
    std::string line;
    for (const char character : text.substr(0, text.find('\n'))) {
        if (character >= ' ' && character <= '~') {
            line += character;
        }
    }
    return line;
}

} // namespace ovrel
