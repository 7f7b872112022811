/// \file entry_policy.h
/// What the archive of an update may hold. Decides from names, kinds and sizes alone and touches no file.
#pragma once

#include <QHash>
#include <QString>

#include <cstdint>
#include <string>
#include <vector>

namespace ovrel {

enum class EntryKind : std::uint8_t { file, directory, symbolicLink, other };

/// One entry as its archive describes it; nothing about it is checked.
struct ArchiveEntry {
    std::string path; ///< bytes
    EntryKind kind = EntryKind::other;
    std::string linkTarget;      ///< bytes; of a symbolic link
    std::uint64_t sizeBytes = 0; ///< of a file
    bool executable = false;     ///< by its owner
};

/// One entry that may be made, and all that is taken over from it: no owner, no time, no other permission.
struct AcceptedEntry {
    std::vector<std::string> folders; ///< those that lead to it, the archive's one top folder first
    std::string name;                 ///< one component
    EntryKind kind = EntryKind::file; ///< never other
    std::string linkTarget;           ///< never leads out of the top folder, whatever else the archive holds
    std::uint64_t sizeBytes = 0;
    bool executable = false;
};

/// The most that an archive may ask of the machine; far above what Ovrel with all its libraries needs.
struct ArchiveLimits {
    std::uint64_t entries = 20'000;
    std::uint64_t totalBytes = std::uint64_t{1} << 30;
    std::uint64_t fileBytes = std::uint64_t{512} << 20;
    std::uint64_t ratio = 100;                              ///< unpacked bytes for each byte of the archive …
    std::uint64_t ratioFreeBytes = std::uint64_t{16} << 20; ///< … beyond so many, which any archive may have
    std::size_t pathBytes = 1024;
    std::size_t nameBytes = 255;
    std::size_t depth = 32; ///< components of a path
};

/// Judges the entries of one archive in their order. One thread at a time.
class EntryPolicy {
public:
    /// \param archiveBytes the size of the archive, compressed
    explicit EntryPolicy(std::uint64_t archiveBytes, const ArchiveLimits& limits = {});

    /// Files, folders and relative symbolic links that stay inside, all of them in one top folder; a folder comes
    /// before what it holds. Paths are UTF-8 without control characters, and no two are the same to a file system that
    /// ignores case or the composition of letters.
    /// \throws UpdateError validation for everything else; the policy is of no use then
    AcceptedEntry accept(const ArchiveEntry& entry);

    /// The name of the top folder, one component.
    /// \throws UpdateError validation when the archive held none
    const std::string& topFolder() const;

    /// Paths of all accepted folders, the outer before the inner ones.
    const std::vector<std::vector<std::string>>& folders() const { return folders_; }

private:
    struct Known {
        std::string path;
        EntryKind kind;
    };

    void count(const ArchiveEntry& entry);
    void requireFolder(const std::vector<std::string>& folders) const;
    void remember(const std::vector<std::string>& components, EntryKind kind);

    ArchiveLimits limits_;
    std::uint64_t bytesLeft_;
    std::uint64_t entriesLeft_;
    std::vector<std::vector<std::string>> folders_;
    QHash<QString, Known> known_; // by a form that is the same for paths that a file system could confuse
};

} // namespace ovrel
