#include "platform/linux/file_copy.h"

#include "platform/file_error.h"
#include "platform/linux/file_descriptor.h"
#include "platform/linux/input_file.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ovrel {

namespace {

constexpr std::size_t bytesPerSystemCopy = std::size_t{1} << 30;
constexpr std::size_t bufferBytes = std::size_t{1} << 18;
constexpr mode_t permissionBits = 0777;

FileError readingFailed(const std::filesystem::path& file) {
    return FileError::fromSystem(errno, FileOperation::reading, file);
}

FileError writingFailed(const std::filesystem::path& file) {
    return FileError::fromSystem(errno, FileOperation::writing, file);
}

} // namespace

void copyRegularFile(const std::filesystem::path& from, const std::filesystem::path& to) {
    // O_NONBLOCK: a pipe that has taken the file's place must not keep us waiting.
    FileDescriptor source(
        uninterrupted([&] { return ::open(from.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC); }));
    struct stat facts {};
    if (!source || ::fstat(source.get(), &facts) != 0) {
        throw readingFailed(from);
    }
    if (!S_ISREG(facts.st_mode) || static_cast<std::uint64_t>(facts.st_size) > maximumFileBytes) {
        throw FileError(FileError::readUnknown, from);
    }

    // The owner's own bits let a volume that asks for them at each write accept the content of a read-only file.
    const mode_t permissions = facts.st_mode & permissionBits;
    FileDescriptor copy(uninterrupted(
        [&] { return ::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, permissions | S_IRUSR | S_IWUSR); }));
    if (!copy) {
        throw writingFailed(to);
    }
    if (!cloneBlocks(source.get(), copy.get())) {
        copyInSystem(source.get(), copy.get());
        copyThroughBuffer(source.get(), copy.get(), from, to);
    }

    // Volumes that keep no permissions or times (FAT, many network shares) refuse them; the content is there all the
    // same.
    static_cast<void>(::fchmod(copy.get(), permissions));
    const std::array<timespec, 2> times{facts.st_atim, facts.st_mtim};
    static_cast<void>(::futimens(copy.get(), times.data()));

    // Network shares report a full volume as late as here.
    if (copy.close() != 0 && errno != EINTR) {
        throw writingFailed(to);
    }
}

bool cloneBlocks(int from, int to) {
    return ::ioctl(to, FICLONE, from) == 0;
}

void copyInSystem(int from, int to) {
    // Whatever stops this call, the end of the file included, stops or satisfies the plain copy that follows as well,
    // which then names the error. Some pseudo file systems report an end where there is none.
    while (uninterrupted([&] { return ::copy_file_range(from, nullptr, to, nullptr, bytesPerSystemCopy, 0); }) > 0) {
    }
}

void copyThroughBuffer(int from, int to, const std::filesystem::path& source, const std::filesystem::path& copy) {
    std::vector<std::byte> buffer(bufferBytes);
    for (;;) {
        const ssize_t filled = uninterrupted([&] { return ::read(from, buffer.data(), buffer.size()); });
        if (filled < 0) {
            throw readingFailed(source);
        }
        if (filled == 0) {
            return;
        }
        if (!writeAll(to, std::span(buffer).first(static_cast<std::size_t>(filled)))) {
            throw writingFailed(copy);
        }
    }
}

} // namespace ovrel
