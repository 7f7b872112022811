/// \file sealed_archive.h
/// The bytes of a downloaded archive, where nobody can change them between their verification and their use.
#pragma once

#include "platform/linux/file_descriptor.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace ovrel {

/// The bytes of an archive, in memory without a name. The system itself refuses every change, also by other programs
/// of the same user and through /proc. Movable; reading is free for any thread.
class SealedArchive {
public:
    ~SealedArchive();
    SealedArchive(SealedArchive&& other) noexcept;
    SealedArchive& operator=(SealedArchive&& other) noexcept;

    std::span<const std::byte> bytes() const { return bytes_; }

private:
    friend class ArchiveBuffer;
    SealedArchive(FileDescriptor file, std::span<const std::byte> bytes);

    FileDescriptor file_;
    std::span<const std::byte> bytes_; // mapped from file_; empty for an empty archive
};

/// Collects an archive as it arrives. One thread at a time.
class ArchiveBuffer {
public:
    /// \throws UpdateError download when the system gives no such memory
    ArchiveBuffer();

    /// \throws UpdateError download when memory runs out
    void append(std::span<const std::byte> bytes);

    /// How many bytes have been appended.
    std::uint64_t sizeBytes() const { return sizeBytes_; }

    /// Ends the collection.
    /// \throws UpdateError download
    SealedArchive seal() &&;

private:
    FileDescriptor file_;
    std::uint64_t sizeBytes_ = 0;
};

} // namespace ovrel
