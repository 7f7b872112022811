#include "platform/linux/input_file.h"

#include "platform/linux/file_descriptor.h"
#include "platform/memory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

namespace ovrel {

namespace {

constexpr std::size_t blockBytes = std::size_t{64} << 10;

} // namespace

std::optional<InputFile> InputFile::open(const std::filesystem::path& path) {
    // Without O_NONBLOCK a named pipe would wait for a writer before its type can be looked at.
    const int descriptor =
        uninterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY); });
    if (descriptor < 0) {
        return std::nullopt;
    }
    InputFile file(descriptor);
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return file;
}

InputFile InputFile::inMemory(std::span<const std::uint8_t> bytes) {
    const int descriptor = ::memfd_create("ovrel-image", MFD_CLOEXEC);
    if (descriptor < 0) {
        throw std::bad_alloc();
    }
    InputFile file(descriptor);
    file.size_ = bytes.size();
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count <= 0 && errno != EINTR) {
            throw std::bad_alloc();
        }
        bytes = bytes.subspan(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return file;
}

InputFile::InputFile(int descriptor) : descriptor_(descriptor) {
    struct stat status {};
    if (::fstat(descriptor, &status) == 0 && status.st_size > 0) {
        size_ = static_cast<std::uint64_t>(status.st_size);
    }
}

InputFile::~InputFile() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

InputFile::InputFile(InputFile&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)), size_(std::exchange(other.size_, 0)) {}

InputFile& InputFile::operator=(InputFile&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    std::swap(size_, other.size_);
    return *this;
}

std::size_t InputFile::readAt(std::uint64_t offset, std::span<std::uint8_t> into) const {
    std::size_t done = 0;
    // What is appended after the file was opened is not read, so that all readers see one size.
    const std::uint64_t left = offset < size_ ? size_ - offset : 0;
    const std::size_t wanted = static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), left));
    while (done < wanted) {
        const ssize_t count =
            ::pread(descriptor_, into.data() + done, wanted - done, static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    return done;
}

std::optional<std::vector<std::uint8_t>> InputFile::readAll() const {
    if (!fitsIntoMemory(size_)) {
        throw std::bad_alloc();
    }
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size_));
    if (readAt(0, bytes) != bytes.size()) {
        return std::nullopt;
    }
    return bytes;
}

std::size_t FileReader::read(std::span<std::uint8_t> into) {
    std::size_t done = 0;
    while (done < into.size()) {
        const bool inBlock = position_ >= blockStart_ && position_ < blockStart_ + block_.size();
        if (!inBlock) {
            block_.resize(blockBytes);
            blockStart_ = position_;
            block_.resize(file_.readAt(position_, block_));
            if (block_.empty()) {
                break;
            }
        }
        const std::size_t from = static_cast<std::size_t>(position_ - blockStart_);
        const std::size_t count = std::min(block_.size() - from, into.size() - done);
        std::memcpy(into.data() + done, block_.data() + from, count);
        done += count;
        position_ += count;
    }
    return done;
}

} // namespace ovrel
