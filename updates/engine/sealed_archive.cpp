#include "updates/engine/sealed_archive.h"

#include "updates/framework/update_error.h"

#include <utility>

#include <fcntl.h>
#include <sys/mman.h>

namespace ovrel {

namespace {

// Linux 6.3; absent from older headers. Where programs in memory are forbidden, memory files must say that they are
// none.
constexpr unsigned int neverExecutable = 0x0008;

[[noreturn]] void failForMemory() {
    throw UpdateError(SUError::download, QStringLiteral("Не хватает памяти для загрузки обновления."),
                      QStringLiteral("There is not enough memory to download the update."));
}

FileDescriptor makeMemoryFile() {
    constexpr unsigned int flags = MFD_CLOEXEC | MFD_ALLOW_SEALING;
    FileDescriptor file(::memfd_create("update", flags | neverExecutable));
    if (!file && errno == EINVAL) {
        file = FileDescriptor(::memfd_create("update", flags));
    }
    if (!file) {
        failForMemory();
    }
    return file;
}

} // namespace

SealedArchive::SealedArchive(FileDescriptor file, std::span<const std::byte> bytes)
    : file_(std::move(file)), bytes_(bytes) {}

SealedArchive::SealedArchive(SealedArchive&& other) noexcept
    : file_(std::move(other.file_)), bytes_(std::exchange(other.bytes_, {})) {}

SealedArchive& SealedArchive::operator=(SealedArchive&& other) noexcept {
    std::swap(file_, other.file_);
    std::swap(bytes_, other.bytes_);
    return *this;
}

SealedArchive::~SealedArchive() {
    if (!bytes_.empty()) {
        // The mapping cannot be written to, so the cast gives nobody anything.
        ::munmap(const_cast<std::byte*>(bytes_.data()), bytes_.size());
    }
}

ArchiveBuffer::ArchiveBuffer() : file_(makeMemoryFile()) {}

void ArchiveBuffer::append(std::span<const std::byte> bytes) {
    if (!writeAll(file_.get(), bytes)) {
        failForMemory();
    }
    sizeBytes_ += bytes.size();
}

SealedArchive ArchiveBuffer::seal() && {
    if (::fcntl(file_.get(), F_ADD_SEALS, F_SEAL_WRITE | F_SEAL_GROW | F_SEAL_SHRINK | F_SEAL_SEAL) != 0) {
        failForMemory();
    }
    if (sizeBytes_ == 0) {
        return {std::move(file_), {}};
    }
    // Before Linux 6.7 a file sealed against writing could not be mapped shared, not even for reading.
    void* const start = ::mmap(nullptr, sizeBytes_, PROT_READ, MAP_PRIVATE, file_.get(), 0);
    if (start == MAP_FAILED) {
        failForMemory();
    }
    return {std::move(file_), {static_cast<const std::byte*>(start), sizeBytes_}};
}

} // namespace ovrel
