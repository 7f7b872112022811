#include "tests/updates/engine/tar_writer.h"

#include <QByteArray>

#include <algorithm>
#include <array>
#include <memory>
#include <numeric>
#include <stdexcept>

#include <archive.h>
#include <archive_entry.h>
#include <sodium.h>
#include <sys/stat.h>

namespace ovrel::test {

namespace {

struct FreeWriter {
    void operator()(archive* handle) const { ::archive_write_free(handle); }
};

struct FreeEntry {
    void operator()(archive_entry* entry) const { ::archive_entry_free(entry); }
};

void require(archive* handle, int result) {
    // A warning is a name that cannot be converted, which some tests want.
    if (result < ARCHIVE_WARN) {
        const char* const reason = ::archive_error_string(handle);
        throw std::runtime_error(reason == nullptr ? "libarchive refuses" : reason);
    }
}

la_ssize_t append(archive* /*handle*/, void* output, const void* bytes, std::size_t count) {
    static_cast<std::string*>(output)->append(static_cast<const char*>(bytes), count);
    return static_cast<la_ssize_t>(count);
}

__LA_MODE_T typeOf(TarKind kind) {
    switch (kind) {
    case TarKind::file:
    case TarKind::hardLink: return AE_IFREG;
    case TarKind::folder: return AE_IFDIR;
    case TarKind::symbolicLink: return AE_IFLNK;
    case TarKind::characterDevice: return AE_IFCHR;
    case TarKind::blockDevice: return AE_IFBLK;
    case TarKind::fifo: return AE_IFIFO;
    }
    return AE_IFREG;
}

void choose(archive* handle, const TarOptions& options) {
    switch (options.format) {
    case TarFormat::pax: require(handle, ::archive_write_set_format_pax(handle)); break;
    case TarFormat::gnu: require(handle, ::archive_write_set_format_gnutar(handle)); break;
    case TarFormat::ustar: require(handle, ::archive_write_set_format_ustar(handle)); break;
    }
    if (options.format == TarFormat::pax) {
        require(handle, ::archive_write_set_format_option(handle, "pax", "hdrcharset", "BINARY"));
    }
    if (options.filter == TarFilter::xz) {
        require(handle, ::archive_write_add_filter_xz(handle));
        require(handle, ::archive_write_set_filter_option(handle, "xz", "compression-level", "0"));
    } else if (options.filter == TarFilter::gzip) {
        require(handle, ::archive_write_add_filter_gzip(handle));
    }
}

void addAttributes(archive_entry* header) {
    ::archive_entry_set_uid(header, 12345);
    ::archive_entry_set_gid(header, 12345);
    ::archive_entry_set_mtime(header, 1000, 0);
    ::archive_entry_xattr_add_entry(header, "user.note", "x", 1);
    ::archive_entry_set_fflags(header, 0x20, 0); // append only
    ::archive_entry_acl_add_entry(header, ARCHIVE_ENTRY_ACL_TYPE_ACCESS, ARCHIVE_ENTRY_ACL_WRITE,
                                  ARCHIVE_ENTRY_ACL_USER, 12345, "somebody");
}

void writeZeros(archive* handle, std::uint64_t count) {
    const std::vector<char> zeros(1 << 20);
    while (count > 0) {
        const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(count, zeros.size()));
        if (::archive_write_data(handle, zeros.data(), part) < 0) {
            throw std::runtime_error(::archive_error_string(handle));
        }
        count -= part;
    }
}

void write(archive* handle, const TarEntry& entry, const TarOptions& options) {
    const std::unique_ptr<archive_entry, FreeEntry> header(::archive_entry_new());
    ::archive_entry_copy_pathname(header.get(), entry.path.c_str());
    ::archive_entry_set_filetype(header.get(), typeOf(entry.kind));
    ::archive_entry_set_perm(header.get(), entry.mode);
    if (entry.kind == TarKind::symbolicLink) {
        ::archive_entry_copy_symlink(header.get(), entry.content.c_str());
    } else if (entry.kind == TarKind::hardLink) {
        ::archive_entry_copy_hardlink(header.get(), entry.content.c_str());
    } else if (entry.kind == TarKind::file) {
        ::archive_entry_set_size(header.get(), static_cast<la_int64_t>(entry.content.size() + entry.zeros));
    }
    for (const auto& [offset, size] : entry.parts) {
        ::archive_entry_sparse_add_entry(header.get(), static_cast<la_int64_t>(offset), static_cast<la_int64_t>(size));
    }
    if (options.withAttributes) {
        addAttributes(header.get());
    }
    require(handle, ::archive_write_header(handle, header.get()));
    if (entry.kind == TarKind::file) {
        if (::archive_write_data(handle, entry.content.data(), entry.content.size()) < 0) {
            throw std::runtime_error(::archive_error_string(handle));
        }
        writeZeros(handle, entry.zeros);
    }
}

struct KeyPair {
    std::array<unsigned char, crypto_sign_PUBLICKEYBYTES> open{};
    std::array<unsigned char, crypto_sign_SECRETKEYBYTES> secret{};
};

/// Of the seed 00 01 02 … 1f.
const KeyPair& keyPair() {
    static const KeyPair pair = [] {
        KeyPair made;
        std::array<unsigned char, crypto_sign_SEEDBYTES> seed{};
        std::iota(seed.begin(), seed.end(), static_cast<unsigned char>(0));
        if (::sodium_init() < 0 || ::crypto_sign_seed_keypair(made.open.data(), made.secret.data(), seed.data()) != 0) {
            throw std::runtime_error("no key");
        }
        return made;
    }();
    return pair;
}

template <std::size_t Size>
QString base64(const std::array<unsigned char, Size>& bytes) {
    return QString::fromLatin1(QByteArray(reinterpret_cast<const char*>(bytes.data()), Size).toBase64());
}

} // namespace

TarEntry tarFolder(std::string path) {
    return {std::move(path), TarKind::folder, "", 0755};
}

TarEntry tarFile(std::string path, std::string content, unsigned int mode) {
    return {std::move(path), TarKind::file, std::move(content), mode};
}

TarEntry tarLink(std::string path, std::string target) {
    return {std::move(path), TarKind::symbolicLink, std::move(target), 0777};
}

std::string writeTar(const std::vector<TarEntry>& entries, const TarOptions& options) {
    std::string bytes;
    const std::unique_ptr<archive, FreeWriter> handle(::archive_write_new());
    choose(handle.get(), options);
    // Nothing behind the compressed bytes, as a publisher's tools write it.
    require(handle.get(), ::archive_write_set_bytes_in_last_block(handle.get(), 1));
    require(handle.get(), ::archive_write_open(handle.get(), &bytes, nullptr, append, nullptr));
    for (const TarEntry& entry : entries) {
        write(handle.get(), entry, options);
    }
    require(handle.get(), ::archive_write_close(handle.get()));
    return bytes;
}

std::vector<TarEntry> goodTree() {
    return {tarFolder("ovrel-2.4/"),
            tarFile("ovrel-2.4/manifest.json", "{}"),
            tarFolder("ovrel-2.4/bin/"),
            tarFile("ovrel-2.4/bin/ovrel", "program", 0755),
            tarFolder("ovrel-2.4/lib/"),
            tarFile("ovrel-2.4/lib/libimage.so.1.2", std::string(200000, 'l')),
            tarLink("ovrel-2.4/lib/libimage.so", "libimage.so.1.2"),
            tarLink("ovrel-2.4/bin/library", "../lib/libimage.so")};
}

SealedArchive seal(std::string_view bytes) {
    ArchiveBuffer buffer;
    buffer.append(std::as_bytes(std::span(bytes)));
    return std::move(buffer).seal();
}

QString testKeyText() {
    return base64(keyPair().open);
}

PublicKey testKey() {
    return PublicKey::fromBase64(testKeyText(), PublicKey::Audience::developers);
}

QString sign(std::string_view bytes) {
    std::array<unsigned char, crypto_sign_BYTES> signature{};
    if (::crypto_sign_detached(signature.data(), nullptr, reinterpret_cast<const unsigned char*>(bytes.data()),
                               bytes.size(), keyPair().secret.data()) != 0) {
        throw std::runtime_error("not signed");
    }
    return base64(signature);
}

VerifiedArchive signedArchive(std::string_view bytes) {
    return verifySignature(seal(bytes), sign(bytes), testKey());
}

} // namespace ovrel::test
