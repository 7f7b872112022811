#include "tests/support/private_mounts.h"

#include "tests/support/own_thread.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <sched.h>
#include <sys/mount.h>

namespace ovrel::test {

namespace {

void require(int result, const std::filesystem::path& at) {
    if (result != 0) {
        const std::string reason = std::system_category().message(errno);
        throw std::runtime_error("cannot mount at " + at.native() + ": " + reason);
    }
}

} // namespace

bool runWithOwnMounts(const std::function<void()>& body) {
    return runOnOwnThread(
        [] { return ::unshare(CLONE_NEWNS) == 0 && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0; },
        body);
}

void mountMemory(const std::filesystem::path& at, const std::string& options) {
    require(::mount("none", at.c_str(), "tmpfs", 0, options.c_str()), at);
}

void makeReadOnly(const std::filesystem::path& at) {
    require(::mount(nullptr, at.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), at);
}

void mountAgain(const std::filesystem::path& folder, const std::filesystem::path& at) {
    require(::mount(folder.c_str(), at.c_str(), nullptr, MS_BIND, nullptr), at);
}

} // namespace ovrel::test
