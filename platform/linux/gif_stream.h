/// \file gif_stream.h
/// A GIF file open in giflib.
#pragma once

#include "platform/linux/input_file.h"

#include <gif_lib.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace ovrel {

/// Reads a GIF block by block, from any place of the file. One thread at a time.
class GifStream {
public:
    /// One sub-block; valid until the next read.
    using SubBlock = std::span<const std::uint8_t>;

    /// Reads the header, the logical screen and the global colour table.
    /// \return null when these are damaged or incomplete
    static std::unique_ptr<GifStream> open(InputFile file);

    GifStream(const GifStream&) = delete;
    GifStream& operator=(const GifStream&) = delete;

    std::uint32_t screenWidth() const { return static_cast<std::uint32_t>(handle_->SWidth); }   ///< 0 … 65535
    std::uint32_t screenHeight() const { return static_cast<std::uint32_t>(handle_->SHeight); } ///< 0 … 65535

    std::uint64_t position() const { return reader_.position(); }
    void seek(std::uint64_t position);

    /// \return the next byte; nothing at the end of the file
    std::optional<std::uint8_t> readByte();

    /// Begins an extension, behind its introducer.
    /// \return its label; nothing when the file ends
    std::optional<std::uint8_t> beginExtension();

    /// \return the extension's next sub-block; nothing behind the last and when the file ends
    std::optional<SubBlock> nextSubBlock();

    /// Begins an image, behind its separator: reads its descriptor, its colour table and the code size of its data.
    /// \return false when the file ends before that
    bool beginImage();

    /// What the last beginImage() read.
    const GifImageDesc& image() const { return handle_->Image; }
    unsigned codeSize() const { return codeSize_; } ///< 0 … 255

    /// The colours of the current image: its own table, else the global one, else null.
    const ColorMapObject* colorMap() const { return image().ColorMap ? image().ColorMap : handle_->SColorMap; }

    /// \return the next sub-block of the image's data, as much of it as came; nothing behind the last and when the
    ///         file ends
    std::optional<SubBlock> nextDataBlock();

    /// \return whether a read has met the end of the file since the last seek()
    bool ended() const { return ended_; }

private:
    struct Closer {
        void operator()(GifFileType* file) const noexcept { DGifCloseFile(file, nullptr); }
    };

    explicit GifStream(InputFile file) : file_(std::move(file)), reader_(file_) {}

    static int readForGiflib(GifFileType* handle, GifByteType* into, int size) noexcept;
    std::size_t read(std::span<std::uint8_t> into);

    InputFile file_;
    FileReader reader_;
    std::unique_ptr<GifFileType, Closer> handle_;
    unsigned codeSize_ = 0;
    std::array<std::uint8_t, 255> dataBlock_{};
    bool inExtension_ = false;
    GifByteType* firstSubBlock_ = nullptr; ///< giflib reads it along with the label
    bool ended_ = false;
};

} // namespace ovrel
