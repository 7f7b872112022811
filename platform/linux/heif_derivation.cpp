#include "platform/linux/heif_derivation.h"

#include "platform/linux/heif_boxes.h"

#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace ovrel {

namespace {

/// A turned overlay of tiles is three derivations deep.
constexpr int mostDerivations = 3;

/// Cameras write about a hundred.
constexpr std::size_t mostReferences = std::size_t{1} << 20;

/// What pictures are made of.
struct Derivations {
    std::vector<std::pair<std::uint64_t, std::uint64_t>> pairs; ///< an item, then one of its sources
    bool isCertain = true;                                      ///< false where libheif may read others
};

/// ISO/IEC 14496-12, section 8.11.12: boxes of references from one item to some; their numbers take four bytes from
/// version 1 on. Pictures that are made of others name these by "dimg" (ISO/IEC 23008-12, section 6.6.1).
void readReferences(HeifBytes references, Derivations& derivations) {
    const std::size_t numberBytes = takeFullBoxHead(references).version == 0 ? 2 : 4;
    while (std::optional<Box> box = takeBox(references)) {
        derivations.isCertain = derivations.isCertain && isWholeReference(*box, numberBytes);
        if (box->type != boxType("dimg")) {
            continue;
        }
        const std::uint64_t item = takeNumber(box->content, numberBytes);
        const std::uint64_t count = takeNumber(box->content, 2);
        for (std::uint64_t i = 0; i < count && !box->content.empty() && derivations.pairs.size() <= mostReferences;
             ++i) {
            derivations.pairs.emplace_back(item, takeNumber(box->content, numberBytes));
        }
    }
}

Derivations derivationsIn(HeifBytes file) {
    Derivations derivations;
    while (std::optional<Box> meta = takeBox(file)) {
        if (meta->type != boxType("meta")) {
            continue;
        }
        takeFullBoxHead(meta->content);
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
    if (!derivations.isCertain || derivations.pairs.size() > mostReferences) {
        return true;
    }
    std::set<std::uint64_t> derived; // items at the top of as many derivations as rounds have passed
    for (const auto& [item, source] : derivations.pairs) {
        derived.insert(item);
    }
    for (int depth = 1; depth <= mostDerivations && !derived.empty(); ++depth) {
        std::set<std::uint64_t> deeper;
        for (const auto& [item, source] : derivations.pairs) {
            if (derived.count(source) != 0) {
                deeper.insert(item);
            }
        }
        derived = std::move(deeper);
    }
    return !derived.empty();
}

} // namespace ovrel
