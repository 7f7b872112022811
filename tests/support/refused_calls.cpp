#include "tests/support/refused_calls.h"

#include "tests/support/own_thread.h"

#include <cstddef>
#include <cstdint>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

namespace ovrel::test {

namespace {

bool refuse(const std::vector<RefusedCall>& calls) {
    std::vector<sock_filter> program;
    program.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)));
    for (const RefusedCall& call : calls) {
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call.number), 0, 1));
        program.push_back(
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | (static_cast<std::uint32_t>(call.error) & SECCOMP_RET_DATA)));
    }
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter, 0, 0) == 0;
}

} // namespace

bool runWithRefusedCalls(const std::vector<RefusedCall>& calls, const std::function<void()>& body) {
    return runOnOwnThread([&] { return refuse(calls); }, body);
}

} // namespace ovrel::test
