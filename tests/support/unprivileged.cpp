#include "tests/support/unprivileged.h"

#include "tests/support/own_thread.h"

#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace ovrel::test {

namespace {

constexpr unsigned nobody = 65534;

// The C library changes the user of all threads; the system's own calls change only the one that asks.
bool becomeNobody() {
    return ::syscall(SYS_setgroups, 0, nullptr) == 0 && ::syscall(SYS_setresgid, nobody, nobody, nobody) == 0 &&
           ::syscall(SYS_setresuid, nobody, nobody, nobody) == 0;
}

} // namespace

bool runUnprivileged(const std::function<void()>& body) {
    const bool ran = runOnOwnThread([] { return ::geteuid() != 0 || becomeNobody(); }, body);
    // A change of user takes away what leak detection at the end of the process needs.
    ::prctl(PR_SET_DUMPABLE, 1);
    return ran;
}

} // namespace ovrel::test
