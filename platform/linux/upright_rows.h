/// \file upright_rows.h
/// Where a decoder puts its rows so that the picture comes out upright.
#pragma once

#include "platform/image.h"

#include <cstdint>

namespace ovrel {

/// Takes the rows of a picture as its file stores them and turns them into an upright image (Exif 2.32, tag 0x0112).
/// Rows of a picture that is upright already are written straight into the image; others pass through a strip of rows
/// that is turned as soon as it is full, so that no second picture is held.
class UprightRows {
public:
    /// Rows of a strip where the decoder writes one row after the other.
    static constexpr std::uint32_t defaultStrip = 32;

    /// \param width, height pixels as stored, at least 1
    /// \param orientation 1 … 8
    /// \param stripRows rows that stay writable at the same time; `height` for decoders that want the whole picture
    /// \throws std::bad_alloc
    UprightRows(std::uint32_t width, std::uint32_t height, PixelLayout layout, std::uint8_t orientation,
                std::uint32_t stripRows = defaultStrip);

    /// Memory for stored row `y`. Rows of one strip lie one below the other, bytesPerRow() apart. Rows are asked for
    /// in ascending order; when a new strip begins, the rows of the one before are final. Rows never asked for stay
    /// transparent black.
    std::uint8_t* row(std::uint32_t y);

    std::size_t bytesPerRow() const { return width_ * bytesPerPixel(image_.layout); }

    /// The upright image, once all rows are written.
    Image finish(ColorSpace colorSpace) &&;

private:
    void turnStrip();

    Image image_;
    PixelBuffer strip_; ///< empty when rows go straight into the image
    std::uint32_t width_;
    std::uint32_t height_;
    std::uint8_t orientation_;
    std::uint32_t stripRows_;
    std::uint32_t stripStart_ = 0;
};

} // namespace ovrel
