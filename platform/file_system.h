/// \file file_system.h
/// Files and folders as the conversion needs them. Paths are bytes; no name is assumed to be UTF-8.
#pragma once

#include "platform/file_error.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>

namespace ovrel {

/// What a path names. A symbolic link is never followed.
struct ResourceValues {
    bool isDirectory = false;
    bool isRegularFile = false;
    bool isSymbolicLink = false;
};

/// Walks one folder. One thread at a time.
class DirectoryEnumerator {
public:
    struct Entry {
        std::filesystem::path path; ///< the folder's path as it was given, extended by the names below it
        ResourceValues values;
    };

    virtual ~DirectoryEnumerator() = default;

    /// The next entry, in no particular order; nothing at the end.
    /// \throws FileError when an entry below cannot be read, one that has vanished since it was listed included; the
    ///         walk is over then
    virtual std::optional<Entry> next() = 0;

protected:
    DirectoryEnumerator() = default;
    DirectoryEnumerator(const DirectoryEnumerator&) = default;
    DirectoryEnumerator& operator=(const DirectoryEnumerator&) = default;
};

/// The operations on files. Any thread, several at once; every failure is a FileError.
class FileSystem {
public:
    /// The computer's own file system.
    static FileSystem& native();
    virtual ~FileSystem() = default;

    /// \throws FileError (reading)
    virtual ResourceValues resourceValues(const std::filesystem::path& path) = 0;

    /// Walks `folder`, leaving out hidden entries (names that start with a dot) and the contents of packages
    /// (see isPackageName()), never following links and never entering a folder inside itself.
    /// \param recursive whether folders below are walked too
    /// \return null when `folder` itself cannot be read
    virtual std::unique_ptr<DirectoryEnumerator> enumerate(const std::filesystem::path& folder, bool recursive) = 0;

    /// Creates `folder` with all missing parents; an existing folder is fine.
    /// \throws FileError (writing)
    virtual void createDirectories(const std::filesystem::path& folder) = 0;

    /// Copies a regular file with its permissions and times, sharing its blocks where the volume can.
    /// `to` must not exist.
    /// \throws FileError (reading for the source, which may be no link and have 4 GiB at most, writing for the copy)
    virtual void copyFile(const std::filesystem::path& from, const std::filesystem::path& to) = 0;

    /// \return whether anything has this name, a dangling link included; false also where the system does not tell
    virtual bool exists(const std::filesystem::path& path) = 0;

    /// Waits until the file's content is on the disk, as far as its volume can say so: one that knows no flushing
    /// counts as done.
    /// \throws FileError (writing)
    virtual void flush(const std::filesystem::path& file) = 0;

    /// Renames `from` to `to` on one volume, never replacing an existing `to`. On a volume that has no such step, `to`
    /// is an empty file for a moment; what another program writes into that very file meanwhile is lost.
    ///
    /// \return false when `to` is taken; nothing has changed then
    ///
    /// \throws FileError (writing) for every other failure; the empty file stays where it cannot be removed either
    [[nodiscard]] virtual bool moveWithoutReplacing(const std::filesystem::path& from,
                                                    const std::filesystem::path& to) = 0;

    /// Bytes of a file.
    /// \throws FileError (reading)
    virtual std::uint64_t fileSize(const std::filesystem::path& file) = 0;

    /// Gives `to` the modification time of `from`, to the nanosecond where the volume keeps it.
    /// \throws FileError (reading for `from`, writing for `to`)
    virtual void copyModificationTime(const std::filesystem::path& from, const std::filesystem::path& to) = 0;

protected:
    FileSystem() = default;
    FileSystem(const FileSystem&) = default;
    FileSystem& operator=(const FileSystem&) = default;
};

/// \return whether a folder of this name is a package, a folder that users see as one document: its extension, in any
///         case, is one of a fixed list (app, bundle, framework, photoslibrary, pkg, rtfd, xcodeproj, …)
bool isPackageName(const std::filesystem::path& name);

} // namespace ovrel
