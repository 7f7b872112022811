#include "platform/file_system.h"

#include "platform/linux/directory_enumerator.h"
#include "platform/linux/file_copy.h"
#include "platform/linux/file_descriptor.h"
#include "platform/linux/file_move.h"
#include "platform/linux/resource_values.h"

#include <array>
#include <cerrno>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ovrel {

namespace {

/// \throws FileError (reading)
struct stat factsOf(const std::filesystem::path& path) {
    const std::string named = withoutTrailingSlashes(path);
    struct stat facts {};
    if (::lstat(named.c_str(), &facts) != 0) {
        throw FileError::fromSystem(errno, FileOperation::reading, path);
    }
    // POSIX.1-2017, 4.13: a slash at the end asks for a folder.
    if (named != path.native() && !S_ISDIR(facts.st_mode) && !S_ISLNK(facts.st_mode)) {
        throw FileError::fromSystem(ENOTDIR, FileOperation::reading, path);
    }
    return facts;
}

class NativeFileSystem final : public FileSystem {
public:
    ResourceValues resourceValues(const std::filesystem::path& path) override {
        return resourceValuesOf(factsOf(path).st_mode);
    }

    std::unique_ptr<DirectoryEnumerator> enumerate(const std::filesystem::path& folder, bool recursive) override {
        return openDirectory(folder, recursive);
    }

    void createDirectories(const std::filesystem::path& folder) override {
        std::error_code error;
        std::filesystem::create_directories(folder, error);
        if (error) {
            throw FileError::fromSystem(error.value(), FileOperation::writing, folder);
        }
    }

    void copyFile(const std::filesystem::path& from, const std::filesystem::path& to) override {
        copyRegularFile(from, to);
    }

    bool exists(const std::filesystem::path& path) override {
        struct stat ignored {};
        return ::lstat(path.c_str(), &ignored) == 0;
    }

    // The folder is not flushed: after a crash a result has its final name or is missing, and both are complete
    // states, while one more flush for each file would cost a seek on every spinning disk.
    void flush(const std::filesystem::path& file) override {
        FileDescriptor descriptor(
            uninterrupted([&] { return ::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC); }));
        if (!descriptor || (uninterrupted([&] { return ::fsync(descriptor.get()); }) != 0 && errno != EINVAL &&
                            errno != ENOSYS && errno != EOPNOTSUPP)) {
            throw FileError::fromSystem(errno, FileOperation::writing, file);
        }
    }

    bool moveWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to) override {
        return moveFile(from, to);
    }

    std::uint64_t fileSize(const std::filesystem::path& file) override {
        return static_cast<std::uint64_t>(factsOf(file).st_size);
    }

    void copyModificationTime(const std::filesystem::path& from, const std::filesystem::path& to) override {
        const std::array<timespec, 2> times{timespec{0, UTIME_OMIT}, factsOf(from).st_mtim};
        if (::utimensat(AT_FDCWD, to.c_str(), times.data(), AT_SYMLINK_NOFOLLOW) != 0) {
            throw FileError::fromSystem(errno, FileOperation::writing, to);
        }
    }
};

} // namespace

FileSystem& FileSystem::native() {
    static NativeFileSystem fileSystem;
    return fileSystem;
}

} // namespace ovrel
