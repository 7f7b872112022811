#include "platform/linux/input_file.h"

#include "platform/memory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace ovrel {

namespace {

constexpr std::size_t blockBytes = std::size_t{64} << 10;

} // namespace

std::optional<InputFile> InputFile::open(const std::filesystem::path& path) {
    // Without O_NONBLOCK a named pipe would wait for a writer before its type can be looked at.
    FileDescriptor file(
        uninterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY); }));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return InputFile(std::move(file));
}

InputFile::InputFile(FileDescriptor file) : file_(std::move(file)) {
    struct stat status {};
    if (::fstat(file_.get(), &status) == 0 && status.st_size > 0) {
        size_ = static_cast<std::uint64_t>(status.st_size);
    }
}

std::size_t InputFile::readAt(std::uint64_t offset, std::span<std::uint8_t> into) const {
    std::size_t done = 0;
    // What is appended after the file was opened is not read, so that all readers see one size.
    const std::uint64_t left = offset < size_ ? size_ - offset : 0;
    const std::size_t wanted = static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), left));
    while (done < wanted) {
        const ssize_t count = uninterrupted(
            [&] { return ::pread(file_.get(), into.data() + done, wanted - done, static_cast<off_t>(offset + done)); });
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
