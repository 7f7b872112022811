#include "platform/linux/file_move.h"

#include "platform/file_error.h"
#include "platform/linux/file_descriptor.h"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ovrel {

namespace {

/// What errno says of a step that fails where something has the name.
MoveResult failure() {
    switch (errno) {
    case EEXIST: return MoveResult::taken;
    case EINVAL:
    case ENOSYS:
    case EOPNOTSUPP: return MoveResult::unsupported;
    default: return MoveResult::failed;
    }
}

} // namespace

bool moveFile(const std::filesystem::path& from, const std::filesystem::path& to) {
    MoveResult result = MoveResult::unsupported;
    for (const auto way : {moveByRename, moveByLink, moveByPlaceholder}) {
        if (result == MoveResult::unsupported) {
            result = way(from, to);
        }
    }
    if (result != MoveResult::moved && result != MoveResult::taken) {
        throw FileError::fromSystem(errno, FileOperation::writing, to);
    }
    return result == MoveResult::moved;
}

MoveResult moveByRename(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return MoveResult::moved;
    }
    return failure();
}

MoveResult moveByLink(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (::link(from.c_str(), to.c_str()) == 0) {
        // The file has its new name; a left-over old one is the smaller evil than reporting a failure.
        static_cast<void>(::unlink(from.c_str()));
        return MoveResult::moved;
    }
    // link(2): EPERM and EMLINK also stand for volumes without a second name for a file.
    return errno == EPERM || errno == EMLINK ? MoveResult::unsupported : failure();
}

MoveResult moveByPlaceholder(const std::filesystem::path& from, const std::filesystem::path& to) {
    FileDescriptor placeholder(
        uninterrupted([&] { return ::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR); }));
    if (!placeholder) {
        return errno == EEXIST ? MoveResult::taken : MoveResult::failed;
    }
    placeholder.close();
    if (::rename(from.c_str(), to.c_str()) == 0) {
        return MoveResult::moved;
    }
    // The name is ours now, so whatever the volume says of the rename, EEXIST included, another name would not help.
    const int systemError = errno;
    static_cast<void>(::unlink(to.c_str()));
    errno = systemError;
    return MoveResult::failed;
}

} // namespace ovrel
