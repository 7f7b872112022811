#include "updates/installation/tree_calls.h"

#include "platform/linux/file_descriptor.h"

#include <cerrno>
#include <cstdio>
#include <span>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ovrel {

namespace {

int errorOf(int result) {
    return result == 0 ? 0 : errno;
}

} // namespace

int TreeCalls::exchange(int firstFolder, const std::string& first, int secondFolder, const std::string& second) {
    return errorOf(::renameat2(firstFolder, first.c_str(), secondFolder, second.c_str(), RENAME_EXCHANGE));
}

int TreeCalls::move(int fromFolder, const std::string& from, int toFolder, const std::string& to) {
    const int error = errorOf(::renameat2(fromFolder, from.c_str(), toFolder, to.c_str(), RENAME_NOREPLACE));
    if (error != EINVAL && error != ENOSYS) {
        return error;
    }
    // Without the flag nothing but an empty folder could be replaced, and the lock of the update keeps others away.
    if (::faccessat(toFolder, to.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0) {
        return EEXIST;
    }
    return errorOf(::renameat(fromFolder, from.c_str(), toFolder, to.c_str()));
}

int TreeCalls::replace(int folder, const std::string& from, const std::string& to) {
    return errorOf(::renameat(folder, from.c_str(), folder, to.c_str()));
}

int TreeCalls::create(int folder, const std::string& name, const std::string& content) {
    constexpr mode_t ownerOnly = 0600;
    const FileDescriptor file(
        ::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, ownerOnly));
    if (!file) {
        return errno;
    }
    return writeAll(file.get(), std::as_bytes(std::span(content))) ? errorOf(::fsync(file.get())) : errno;
}

int TreeCalls::remove(int folder, const std::string& name) {
    return errorOf(::unlinkat(folder, name.c_str(), 0));
}

int TreeCalls::sync(int folder) {
    return errorOf(::fsync(folder));
}

int TreeCalls::syncVolume(int folder) {
    return errorOf(::syncfs(folder));
}

void require(int error, const char* what) {
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), what);
    }
}

} // namespace ovrel
