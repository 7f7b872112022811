#include "updates/installation/lock_file.h"

#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>

namespace ovrel {

namespace {

// fcntl_locking(2), "Open file description locks": one byte of the file stands for each part.
int setLock(int file, int command, short type, LockFile::Part part) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = static_cast<int>(part);
    lock.l_len = 1;
    return uninterrupted([&] { return ::fcntl(file, command, &lock); }) == 0 ? 0 : errno;
}

bool tryLock(int file, short type, LockFile::Part part) {
    const int error = setLock(file, F_OFD_SETLK, type, part);
    if (error != 0 && error != EAGAIN && error != EACCES) {
        throw std::system_error(error, std::generic_category(), "cannot lock");
    }
    return error == 0;
}

void waitLock(int file, short type, LockFile::Part part) {
    const int error = setLock(file, F_OFD_SETLKW, type, part);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), "cannot wait for a lock");
    }
}

} // namespace

LockFile::LockFile(const InstallationPlace& place) {
    constexpr mode_t ownerOnly = 0600;
    file_ = FileDescriptor(
        ::openat(place.parent(), place.lockName().c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, ownerOnly));
    if (!file_) {
        throw std::system_error(errno, std::generic_category(), "cannot open the lock file");
    }
    struct stat facts = {};
    if (::fstat(file_.get(), &facts) != 0 || !S_ISREG(facts.st_mode) || facts.st_uid != ::geteuid()) {
        throw std::system_error(EPERM, std::generic_category(), "the lock file is not ours");
    }
}

bool LockFile::tryExclusive(Part part) {
    return tryLock(file_.get(), F_WRLCK, part);
}

bool LockFile::tryShared(Part part) {
    return tryLock(file_.get(), F_RDLCK, part);
}

void LockFile::waitExclusive(Part part) {
    waitLock(file_.get(), F_WRLCK, part);
}

void LockFile::waitShared(Part part) {
    waitLock(file_.get(), F_RDLCK, part);
}

void LockFile::unlock(Part part) {
    static_cast<void>(setLock(file_.get(), F_OFD_SETLK, F_UNLCK, part));
}

std::optional<UpdateLock> UpdateLock::tryAcquire(const InstallationPlace& place) {
    LockFile file(place);
    if (!file.tryExclusive(LockFile::Part::update)) {
        return std::nullopt;
    }
    return UpdateLock(std::move(file));
}

std::optional<UpdateLock> UpdateLock::acquireSoon(const InstallationPlace& place) {
    constexpr int tries = 50;
    constexpr std::chrono::milliseconds pause(20);
    for (int attempt = 0; attempt < tries; ++attempt) {
        std::optional<UpdateLock> lock = tryAcquire(place);
        if (lock) {
            return lock;
        }
        std::this_thread::sleep_for(pause);
    }
    return std::nullopt;
}

} // namespace ovrel
