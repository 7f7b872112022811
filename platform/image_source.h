/// \file image_source.h
/// Pixels and facts of an image file, whatever its format. The file's bytes decide the format, never its name.
#pragma once

#include "platform/image.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>

namespace ovrel {

enum class ImageFormat { jpeg, png, webp, gif, avif, heif };

/// Facts of one image of a file, as the file states them.
struct ImageProperties {
    std::uint32_t pixelWidth = 0;  ///< pixels before orientation is applied; 0 when unknown
    std::uint32_t pixelHeight = 0; ///< pixels before orientation is applied; 0 when unknown
    std::uint8_t orientation = 1;  ///< 1 … 8 (Exif 2.32, tag 0x0112)

    /// Time of a frame in seconds, as a GIF (in hundredths, 0 included), a WebP animation or an AVIF sequence stores
    /// it; nothing when the file states none.
    std::optional<double> gifUnclampedDelayTime;
    /// The same where a source knows only a time that was raised to what viewers play.
    std::optional<double> gifDelayTime;
};

/// How large the pictures of a file may be, as they are coded: no side is longer than the longer of these, and there
/// are no more pixels than width × height, nor more than 2²⁸. Cropping and a false header do not get around it.
struct ImageLimits {
    std::uint32_t width = 1;  ///< pixels, at least 1
    std::uint32_t height = 1; ///< pixels, at least 1
};

/// An open image file. One thread at a time; different objects are independent.
class ImageSource {
public:
    /// Decodes no pixel yet. The file stays open or is in memory, so it may be renamed or replaced meanwhile.
    /// \return null when the file is no regular file that can be read, or its format is not known. A symbolic link is
    ///         not followed: one that takes a file's place after the scan leads nowhere, as one that the scan meets. A
    ///         file of a known format whose header is damaged opens with one image of unknown size.
    /// \throws std::bad_alloc when memory is lacking for its facts
    static std::unique_ptr<ImageSource> open(const std::filesystem::path& file);
    /// An AVIF in memory, whose bytes are copied. A picture beyond `limits` takes no memory and fails to decode.
    /// \return null when it is no AVIF, or its header is damaged or names a picture beyond `limits`
    static std::unique_ptr<ImageSource> avifFromMemory(std::span<const std::uint8_t> bytes, ImageLimits limits);
    virtual ~ImageSource() = default;

    virtual ImageFormat format() const = 0;

    /// Number of images in the file, at least 1; frames of an animation count one each.
    virtual std::size_t count() const = 0;

    /// How often an animation states to play, 0 for without end: a GIF by its NETSCAPE2.0 or ANIMEXTS1.0 application
    /// extension, a WebP by its header, an AVIF by its edit list. Nothing when the file states none.
    virtual std::optional<std::int64_t> gifLoopCount() const { return std::nullopt; }

    /// \param index below count()
    virtual ImageProperties properties(std::size_t index) const = 0;

    /// Decodes image `index` at full size with its orientation applied. Frames of an animation are whole canvases as a
    /// browser shows them at that frame; asking for them in ascending order costs one pass over the file.
    /// \return nothing when the data is damaged
    /// \throws std::bad_alloc when the picture does not fit into memory
    virtual std::optional<Image> decode(std::size_t index) = 0;

protected:
    ImageSource() = default;
    ImageSource(const ImageSource&) = default;
    ImageSource& operator=(const ImageSource&) = default;
};

} // namespace ovrel
