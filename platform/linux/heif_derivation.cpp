#include "platform/linux/heif_derivation.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

namespace ovrel {

namespace {

using Bytes = std::span<const std::uint8_t>;

/// A turned overlay of tiles is three derivations deep.
constexpr int mostDerivations = 3;

/// Cameras write about a hundred.
constexpr std::size_t mostReferences = std::size_t{1} << 20;

/// Takes a number off the front, the highest byte first; 0 where the bytes end before.
std::uint64_t takeNumber(Bytes& bytes, std::size_t size) {
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

struct Box {
    std::uint64_t type = 0;
    Bytes content;
};

constexpr std::uint64_t boxType(std::string_view name) {
    std::uint64_t type = 0;
    for (const char letter : name) {
        type = type << 8 | static_cast<std::uint8_t>(letter);
    }
    return type;
}

/// ISO/IEC 14496-12, section 4.2: size and type; size 1 stands for one of eight bytes behind, 0 for all the rest. A box
/// that sticks out ends where its surroundings do.
std::optional<Box> takeBox(Bytes& bytes) {
    if (bytes.empty()) {
        return std::nullopt;
    }
    const Bytes whole = bytes;
    std::uint64_t size = takeNumber(bytes, 4);
    Box box;
    box.type = takeNumber(bytes, 4);
    if (size == 1) {
        size = takeNumber(bytes, 8);
    }
    const std::size_t headerBytes = whole.size() - bytes.size();
    const bool isRest = size < headerBytes || size > whole.size();
    const std::size_t contentBytes = isRest ? bytes.size() : static_cast<std::size_t>(size) - headerBytes;
    box.content = bytes.first(contentBytes);
    bytes = bytes.subspan(contentBytes);
    return box;
}

/// What a picture is made of: its item, then one of its sources.
using Derivations = std::vector<std::pair<std::uint64_t, std::uint64_t>>;

/// ISO/IEC 14496-12, section 8.11.12: boxes of references from one item to some; their numbers take four bytes from
/// version 1 on. Pictures that are made of others name these by "dimg" (ISO/IEC 23008-12, section 6.6.1).
void readReferences(Bytes references, Derivations& derivations) {
    constexpr std::uint64_t flagBits = 24;
    const std::size_t numberBytes = takeNumber(references, 4) >> flagBits == 0 ? 2 : 4;
    while (std::optional<Box> box = takeBox(references)) {
        if (box->type != boxType("dimg")) {
            continue;
        }
        const std::uint64_t item = takeNumber(box->content, numberBytes);
        const std::uint64_t count = takeNumber(box->content, 2);
        for (std::uint64_t i = 0; i < count && !box->content.empty() && derivations.size() <= mostReferences; ++i) {
            derivations.emplace_back(item, takeNumber(box->content, numberBytes));
        }
    }
}

Derivations derivationsIn(Bytes file) {
    Derivations derivations;
    while (std::optional<Box> meta = takeBox(file)) {
        if (meta->type != boxType("meta")) {
            continue;
        }
        takeNumber(meta->content, 4); // version and flags
        while (const std::optional<Box> box = takeBox(meta->content)) {
            if (box->type == boxType("iref")) {
                readReferences(box->content, derivations);
            }
        }
    }
    return derivations;
}

} // namespace

bool derivesTooDeeply(std::span<const std::uint8_t> heif) {
    const Derivations derivations = derivationsIn(heif);
    if (derivations.size() > mostReferences) {
        return true;
    }
    std::set<std::uint64_t> derived; // items at the top of as many derivations as rounds have passed
    for (const auto& [item, source] : derivations) {
        derived.insert(item);
    }
    for (int depth = 1; depth <= mostDerivations && !derived.empty(); ++depth) {
        std::set<std::uint64_t> deeper;
        for (const auto& [item, source] : derivations) {
            if (derived.count(source) != 0) {
                deeper.insert(item);
            }
        }
        derived = std::move(deeper);
    }
    return !derived.empty();
}

} // namespace ovrel
