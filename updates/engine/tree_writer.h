/// \file tree_writer.h
/// Makes the files of an update.
#pragma once

#include "platform/linux/file_descriptor.h"
#include "updates/engine/entry_policy.h"
#include "updates/installation/file_identity.h"

#include <cstddef>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace ovrel {

/// Makes entries relative to one open folder. Each step of a path is opened without following links and must be the
/// folder that was made before, so nothing that is done to the names meanwhile moves a file elsewhere. One thread at a
/// time. Every function throws UpdateError: unarchiving when the disk refuses, validation when the tree is not as it
/// was made.
class TreeWriter {
public:
    /// \param root outlives the writer
    explicit TreeWriter(int root);

    /// \return the file to write to, empty; no other entry
    FileDescriptor make(const AcceptedEntry& entry);

    static void write(int file, std::span<const std::byte> bytes);

    /// Flushes a file whose content is complete.
    static void finish(int file);

    /// Flushes all folders, which must hold exactly what was made in them.
    void finish();

    /// A folder that was made.
    FileDescriptor open(const std::vector<std::string>& folders) const;

private:
    using Path = std::vector<std::string>;
    struct Folder {
        FileIdentity identity;
        std::set<std::string> names;
    };

    int root_;
    std::map<Path, Folder> folders_;
};

} // namespace ovrel
