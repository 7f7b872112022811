/// \file tar_writer.h
/// Archives with whatever in them, signed or not.
#pragma once

#include "updates/engine/public_key.h"
#include "updates/engine/sealed_archive.h"
#include "updates/engine/signature.h"

#include <QString>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ovrel::test {

enum class TarKind : std::uint8_t { file, folder, symbolicLink, hardLink, characterDevice, blockDevice, fifo };

struct TarEntry {
    std::string path; ///< written as it is
    TarKind kind = TarKind::file;
    std::string content; ///< of a file, or the target of a link
    unsigned int mode = 0644;
    std::uint64_t zeros = 0;                                         ///< that follow the content
    std::vector<std::pair<std::uint64_t, std::uint64_t>> parts = {}; ///< offset and size of what is no hole; none: all
};

TarEntry tarFolder(std::string path);
TarEntry tarFile(std::string path, std::string content = "content", unsigned int mode = 0644);
TarEntry tarLink(std::string path, std::string target);

enum class TarFormat : std::uint8_t { pax, gnu, ustar };
enum class TarFilter : std::uint8_t { none, xz, gzip };

struct TarOptions {
    TarFormat format = TarFormat::pax;
    TarFilter filter = TarFilter::xz;
    bool withAttributes = false; ///< every file has extended attributes, an access list, flags and another owner
};

/// Throws std::runtime_error when libarchive refuses to write it.
std::string writeTar(const std::vector<TarEntry>& entries, const TarOptions& options = {});

/// A program's folder "ovrel-2.4" with a file, a program, an inner folder and a link.
std::vector<TarEntry> goodTree();

SealedArchive seal(std::string_view bytes);

/// The public half of the key with which sign() signs, and its base64.
QString testKeyText();
PublicKey testKey();
QString sign(std::string_view bytes);

/// `bytes` with their own signature.
VerifiedArchive signedArchive(std::string_view bytes);

} // namespace ovrel::test
