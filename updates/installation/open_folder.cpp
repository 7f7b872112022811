#include "updates/installation/open_folder.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <system_error>

#include <dirent.h>
#include <fcntl.h>

namespace ovrel {

namespace {

struct CloseFolder {
    void operator()(DIR* folder) const { static_cast<void>(::closedir(folder)); }
};

} // namespace

FileDescriptor openFolder(int folder, const std::string& name) {
    return FileDescriptor(::openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

std::vector<std::string> namesIn(int folder) {
    // A stream of its own, since it takes its descriptor over and moves its position.
    FileDescriptor own = openFolder(folder, ".");
    const std::unique_ptr<DIR, CloseFolder> stream(own ? ::fdopendir(own.get()) : nullptr);
    if (!stream) {
        throw std::system_error(errno, std::generic_category(), "cannot read a folder");
    }
    static_cast<void>(own.release());
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* const entry = ::readdir(stream.get())) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
            names.emplace_back(entry->d_name);
        }
        errno = 0;
    }
    if (errno != 0) {
        throw std::system_error(errno, std::generic_category(), "cannot read a folder");
    }
    return names;
}

} // namespace ovrel
