/// \file input_file.h
/// The bytes of an open image file.
#pragma once

#include "platform/linux/file_descriptor.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <vector>

namespace ovrel {

/// A larger file is neither decoded nor copied. A WebP cannot be larger, and other formats hold 2²⁸ pixels of 16 bytes
/// in so much. One that is empty inside costs no disk, yet would be read for minutes, and its copy would fill the disk.
constexpr std::uint64_t maximumFileBytes = std::uint64_t{4} << 30;

/// An open regular file, read at any place. Movable; one thread at a time.
class InputFile {
public:
    /// \return nothing when `path` is no regular file that can be read, a link to one included, though folders above it
    ///         may be links; never waits on a pipe or device
    static std::optional<InputFile> open(const std::filesystem::path& path);

    /// \param file a regular file or memory, open for reading
    explicit InputFile(FileDescriptor file);

    /// Bytes in the file when it was opened.
    std::uint64_t size() const { return size_; }

    /// Reads up to `into.size()` bytes from `offset` on.
    /// \return bytes read, fewer only at the end or after a failure of the device
    std::size_t readAt(std::uint64_t offset, std::span<std::uint8_t> into) const;

    /// The whole file.
    /// \return nothing when it cannot be read
    /// \throws std::bad_alloc when it does not fit into memory
    std::optional<std::vector<std::uint8_t>> readAll() const;

private:
    FileDescriptor file_;
    std::uint64_t size_ = 0;
};

/// Reads a file from front to back in blocks of 64 KiB. Refers to the file, which must live longer.
class FileReader {
public:
    explicit FileReader(const InputFile& file) : file_(file) {}

    /// \return bytes read, fewer than asked only at the end
    std::size_t read(std::span<std::uint8_t> into);

    std::uint64_t position() const { return position_; }
    void seek(std::uint64_t position) { position_ = position; }

private:
    const InputFile& file_;
    std::vector<std::uint8_t> block_;
    std::uint64_t blockStart_ = 0;
    std::uint64_t position_ = 0;
};

} // namespace ovrel
