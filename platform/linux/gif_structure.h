/// \file gif_structure.h
/// What a GIF file holds, found in one pass over its blocks. The pixels of a last frame that is cut off are counted.
#pragma once

#include "platform/linux/gif_stream.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace ovrel {

/// What becomes of a frame's area when its time is over (GIF89a, section 23).
enum class GifDisposal : std::uint8_t {
    keep,
    background, ///< cleared
    previous,   ///< what was there before comes back
};

/// One image block. Kept small: a file may hold one for every 12 of its bytes.
struct GifFrame {
    std::uint64_t offset = 0;                     ///< of the image descriptor, behind its separator
    std::optional<std::uint16_t> delayHundredths; ///< of a second
    GifDisposal disposal = GifDisposal::keep;
    std::optional<std::uint8_t> transparentIndex;
};

struct GifStructure {
    std::uint32_t width = 0;  ///< pixels of the logical screen, enlarged to hold the first frame; may be 0
    std::uint32_t height = 0; ///< likewise
    std::vector<GifFrame> frames;
    /// The file ends inside its only frame. Behind complete frames one that is cut off is listed only if all its pixels
    /// came.
    bool isCutOff = false;
    /// Number of the NETSCAPE2.0 or ANIMEXTS1.0 extension, 0 for without end. Of several the first counts: the others
    /// stand behind frames that were meant to be played by it.
    std::optional<std::uint16_t> loopCount;
};

/// Reads on from where GifStream::open() stopped. Like browsers it stops at the first byte that begins no block.
/// \throws std::bad_alloc
GifStructure readGifStructure(GifStream& stream);

} // namespace ovrel
