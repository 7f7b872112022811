#include "updates/engine/directory_walk.h"

#include <cstring>
#include <exception>
#include <memory>
#include <system_error>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace ovrel {

namespace {

/// One descriptor is open for each level, and no archive of ours comes near it.
constexpr int removableLevels = 128;

struct CloseDirectory {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

bool isOn(dev_t device, int directory) {
    struct stat facts {};
    return ::fstat(directory, &facts) == 0 && facts.st_dev == device;
}

bool removeContents(int directory, dev_t device, int levels);

bool removeEntry(int parent, const std::string& name, dev_t device, int levels) {
    if (::unlinkat(parent, name.c_str(), 0) == 0 || errno == ENOENT) {
        return true;
    }
    // What cannot be unlinked is a folder or cannot be removed at all.
    const FileDescriptor directory = openDirectoryIn(parent, name);
    return directory && removeContents(directory.get(), device, levels) &&
           ::unlinkat(parent, name.c_str(), AT_REMOVEDIR) == 0;
}

bool removeContents(int directory, dev_t device, int levels) {
    if (levels == 0 || !isOn(device, directory)) {
        return false;
    }
    bool removed = true;
    for (const std::string& name : namesIn(directory)) {
        removed = removeEntry(directory, name, device, levels - 1) && removed;
    }
    return removed;
}

} // namespace

FileDescriptor openDirectoryIn(int parent, const std::string& name) {
    return FileDescriptor(::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

std::vector<std::string> namesIn(int directory) {
    // A stream of its own, since it takes its descriptor over and moves its position.
    FileDescriptor own(::openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::unique_ptr<DIR, CloseDirectory> stream(own ? ::fdopendir(own.get()) : nullptr);
    if (!stream) {
        throw std::system_error(errno, std::system_category());
    }
    own.release();
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* const entry = ::readdir(stream.get())) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
            names.emplace_back(entry->d_name);
        }
        errno = 0;
    }
    if (errno != 0) {
        throw std::system_error(errno, std::system_category());
    }
    return names;
}

bool removeDirectory(int parent, const std::string& name, int directory) noexcept {
    try {
        struct stat facts {};
        return ::fstat(directory, &facts) == 0 && removeContents(directory, facts.st_dev, removableLevels) &&
               ::unlinkat(parent, name.c_str(), AT_REMOVEDIR) == 0;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace ovrel
