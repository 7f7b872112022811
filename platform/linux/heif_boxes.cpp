#include "platform/linux/heif_boxes.h"

#include <algorithm>

namespace ovrel {

std::uint64_t takeNumber(HeifBytes& bytes, std::size_t size) {
    if (bytes.size() < size) {
        bytes = {};
        return 0;
    }
    std::uint64_t number = 0;
    for (const std::uint8_t byte : bytes.first(size)) {
        number = number << 8 | byte;
    }
    bytes = bytes.subspan(size);
    return number;
}

HeifBytes takeBytes(HeifBytes& bytes, std::uint64_t size) {
    const HeifBytes taken = bytes.first(static_cast<std::size_t>(std::min<std::uint64_t>(size, bytes.size())));
    bytes = bytes.subspan(taken.size());
    return taken;
}

/// Size 1 stands for one of eight bytes behind the type, 0 for all the rest.
std::optional<Box> takeBox(HeifBytes& bytes) {
    if (bytes.empty()) {
        return std::nullopt;
    }
    const HeifBytes whole = bytes;
    std::uint64_t size = takeNumber(bytes, 4);
    Box box;
    box.type = takeNumber(bytes, 4);
    if (size == 1) {
        size = takeNumber(bytes, 8);
    }
    const std::size_t headerBytes = whole.size() - bytes.size();
    box.content = takeBytes(bytes, size < headerBytes ? bytes.size() : size - headerBytes);
    return box;
}

FullBoxHead takeFullBoxHead(HeifBytes& content) {
    FullBoxHead head;
    head.version = static_cast<unsigned>(takeNumber(content, 1));
    head.flags = static_cast<std::uint32_t>(takeNumber(content, 3));
    return head;
}

bool isWholeReference(const Box& box, std::size_t numberBytes) {
    constexpr std::size_t countBytes = 2;
    if (box.type == boxType("uuid") || box.content.size() < numberBytes + countBytes) {
        return false; // the first has a longer head, which no reference needs
    }
    HeifBytes rest = box.content.subspan(numberBytes);
    return takeNumber(rest, countBytes) * numberBytes == rest.size();
}

} // namespace ovrel
