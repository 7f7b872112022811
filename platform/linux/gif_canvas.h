/// \file gif_canvas.h
/// The picture that the frames of a GIF animation make up.
#pragma once

#include "platform/image.h"
#include "platform/linux/gif_structure.h"

#include <array>
#include <cstdint>
#include <span>

namespace ovrel {

/// Colours of a frame as R, G, B, A. Only opaque ones are painted.
using GifColorTable = std::array<std::array<std::uint8_t, 4>, 256>;

/// A part of a canvas, its right and bottom edges excluded.
struct GifArea {
    std::uint32_t left = 0;
    std::uint32_t top = 0;
    std::uint32_t right = 0;
    std::uint32_t bottom = 0;

    bool isEmpty() const { return left >= right || top >= bottom; }
};

/// What a browser shows of a GIF, frame upon frame: transparent where nothing was painted or the area was cleared.
/// Touches only memory that is painted, so a huge empty canvas costs nothing.
class GifCanvas {
public:
    /// \param width, height pixels, at least 1
    /// \throws std::bad_alloc
    GifCanvas(std::uint32_t width, std::uint32_t height);

    /// Takes away the frame before, as its disposal asks, and makes room for the next.
    /// \param area where it stands; what lies outside of the canvas is cut off
    /// \throws std::bad_alloc
    void beginFrame(GifArea area, GifDisposal disposal);

    /// The part of the current frame that lies on the canvas.
    const GifArea& frameArea() const { return area_; }

    /// Paints a row of the current frame.
    /// \param y row on the canvas, inside frameArea()
    /// \param indices its pixels from the frame's left edge on, any number
    void paintRow(std::uint32_t y, std::span<const std::uint8_t> indices, const GifColorTable& colors);

    /// A copy of the picture, sRGB.
    /// \throws std::bad_alloc
    Image image() const;

    /// The picture itself.
    Image release() &&;

private:
    void dispose();
    void clear(const GifArea& area);

    Image image_;
    GifArea painted_; ///< all that was ever painted lies inside
    GifArea area_;
    GifDisposal disposal_ = GifDisposal::keep;
    GifArea savedArea_;
    PixelBuffer saved_; ///< what stood in savedArea_ before a frame with GifDisposal::previous
};

} // namespace ovrel
