#include "updates/engine/archive_reader.h"

#include "updates/framework/update_error.h"

#include <archive.h>
#include <archive_entry.h>
#include <locale.h>
#include <sys/stat.h>

namespace ovrel {

namespace {

/// How much the decompressor is given at once, and so the step in which usedBytes() grows.
constexpr std::size_t blockBytes = 65536;

[[noreturn]] void fail() {
    throw UpdateError(SUError::unarchiving, QStringLiteral("Архив обновления повреждён."),
                      QStringLiteral("The update's archive is damaged."));
}

/// libarchive converts the UTF-8 names of pax headers to the character set of the thread's locale. Under this one they
/// stay what they are, in whichever locale the program runs.
class Utf8Names {
public:
    Utf8Names() : utf8_(::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {
        if (utf8_ == nullptr) {
            fail();
        }
        before_ = ::uselocale(utf8_);
    }
    ~Utf8Names() {
        ::uselocale(before_);
        ::freelocale(utf8_);
    }
    Utf8Names(const Utf8Names&) = delete;
    Utf8Names& operator=(const Utf8Names&) = delete;

private:
    locale_t utf8_;
    locale_t before_ = nullptr;
};

EntryKind kindOf(archive_entry* header) {
    // A hard link has the kind of what it stands for.
    if (::archive_entry_hardlink(header) != nullptr) {
        return EntryKind::other;
    }
    switch (::archive_entry_filetype(header)) {
    case AE_IFREG: return EntryKind::file;
    case AE_IFDIR: return EntryKind::directory;
    case AE_IFLNK: return EntryKind::symbolicLink;
    default: return EntryKind::other;
    }
}

std::string textOf(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

ArchiveEntry describe(archive_entry* header) {
    ArchiveEntry entry;
    entry.path = textOf(::archive_entry_pathname(header));
    entry.kind = kindOf(header);
    if (entry.kind == EntryKind::symbolicLink) {
        entry.linkTarget = textOf(::archive_entry_symlink(header));
    } else if (entry.kind == EntryKind::file) {
        entry.sizeBytes = static_cast<std::uint64_t>(::archive_entry_size(header));
        entry.executable = (::archive_entry_perm(header) & S_IXUSR) != 0;
    }
    return entry;
}

} // namespace

void ArchiveReader::FreeArchive::operator()(archive* handle) const {
    ::archive_read_free(handle);
}

ArchiveReader::ArchiveReader(std::span<const std::byte> bytes, Compression compression)
    : archive_(::archive_read_new()) {
    // A warning would mean that libarchive runs another program for it.
    if (!archive_ || ::archive_read_support_format_tar(archive_.get()) != ARCHIVE_OK ||
        (compression == Compression::xz && ::archive_read_support_filter_xz(archive_.get()) != ARCHIVE_OK) ||
        ::archive_read_open_memory2(archive_.get(), bytes.data(), bytes.size(), blockBytes) != ARCHIVE_OK) {
        fail();
    }
    // Bytes that no filter recognises are read as they are.
    if (compression == Compression::xz && ::archive_filter_code(archive_.get(), 0) != ARCHIVE_FILTER_XZ) {
        fail();
    }
}

std::optional<ArchiveEntry> ArchiveReader::next() {
    const Utf8Names names;
    archive_entry* header = nullptr;
    const int result = ::archive_read_next_header(archive_.get(), &header);
    if (result == ARCHIVE_EOF) {
        return std::nullopt;
    }
    // A warning is a header that was understood in part: a name in another character set, an attribute that is none.
    if (result != ARCHIVE_OK) {
        fail();
    }
    const ArchiveEntry entry = describe(header);
    contentBytes_ = entry.sizeBytes;
    position_ = 0;
    return entry;
}

std::span<const std::byte> ArchiveReader::read() {
    const void* start = nullptr;
    std::size_t count = 0;
    la_int64_t offset = 0;
    do {
        const int result = ::archive_read_data_block(archive_.get(), &start, &count, &offset);
        if (result == ARCHIVE_EOF && position_ == contentBytes_) {
            return {};
        }
        if (result != ARCHIVE_OK || offset < 0 || static_cast<std::uint64_t>(offset) != position_ ||
            count > contentBytes_ - position_) {
            fail();
        }
    } while (count == 0);
    position_ += count;
    return {static_cast<const std::byte*>(start), count};
}

std::uint64_t ArchiveReader::usedBytes() const {
    return static_cast<std::uint64_t>(::archive_filter_bytes(archive_.get(), -1));
}

} // namespace ovrel
