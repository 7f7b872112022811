/// \file local_file.h
/// Files that another program names.
#pragma once

#include <QUrl>

#include <filesystem>
#include <optional>

namespace ovrel {

/// The file of this machine that an address names, byte for byte (RFC 8089); nobody has looked whether it exists.
/// \return nothing for anything else
std::optional<std::filesystem::path> localFile(const QUrl& address);

} // namespace ovrel
