/// \file archive_reader.h
/// The entries of a tar archive, one after the other.
#pragma once

#include "updates/engine/entry_policy.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

struct archive;

namespace ovrel {

/// Reads an archive in memory, without writing anything. One thread at a time.
class ArchiveReader {
public:
    enum class Compression : std::uint8_t { none, xz };

    /// \param bytes outlives the reader
    /// \throws UpdateError unarchiving when the system lacks what reading takes
    ArchiveReader(std::span<const std::byte> bytes, Compression compression);

    /// Goes on to the next entry; what was not read of the one before is skipped.
    /// \return nothing at the end
    /// \throws UpdateError unarchiving for a damaged archive
    std::optional<ArchiveEntry> next();

    /// The next bytes of the entry's content, valid until the next call; they follow those of the call before.
    /// \return empty at the end
    /// \throws UpdateError unarchiving for a damaged archive and for a content with holes or of another size than
    ///         stated
    std::span<const std::byte> read();

    /// Bytes of the archive that have been used so far, compressed.
    std::uint64_t usedBytes() const;

private:
    struct FreeArchive {
        void operator()(archive* handle) const;
    };

    std::unique_ptr<archive, FreeArchive> archive_;
    std::uint64_t contentBytes_ = 0; // of the entry, as stated
    std::uint64_t position_ = 0;     // in the entry's content
};

} // namespace ovrel
