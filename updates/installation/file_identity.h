/// \file file_identity.h
/// Which folder stands under a name, so that one put in its place is told from it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace ovrel {

/// Device and inode; the same for as long as the folder exists and its volume is mounted.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;

    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

/// \param folder an open directory in which `name` is looked up
/// \return nothing when `name` is no folder; a symbolic link is none
std::optional<FileIdentity> identityOf(int folder, const std::string& name);

/// The same for a whole path.
std::optional<FileIdentity> identityOf(const std::filesystem::path& folder);

/// \return nothing when the descriptor is none of a folder
std::optional<FileIdentity> identityOf(int descriptor);

/// Whether `name` is one step of a path: not empty, no slash, no NUL, neither "." nor "..", at most 255 bytes.
bool isPlainName(const std::string& name);

} // namespace ovrel
