// The installer, except that a file `interrupt` in the update's private folder says where it fails and is killed:
// "<call> <worker|guardian> <all|one> <errno of each exchange>". It is killed before that call, and leaves a file
// `killed` beside the installation. A socket would be its end, too.

#include "updates/installation/installer.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fstream>
#include <string>

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

using namespace ovrel;

int processDepth = 0; // 1 is the guardian in the background, 2 the worker that it starts

struct Interruption {
    int call = 0;
    std::string who;
    std::string scope;
    int exchangeError = 0;
};

Interruption readInterruption() {
    const int staging = static_cast<int>(InstallerDescriptor::staging);
    std::ifstream file("/proc/self/fd/" + std::to_string(staging) + "/interrupt");
    Interruption interruption;
    file >> interruption.call >> interruption.who >> interruption.scope >> interruption.exchangeError;
    return interruption;
}

class InterruptedCalls : public TreeCalls {
public:
    int exchange(int firstFolder, const std::string& first, int secondFolder, const std::string& second) override {
        step();
        return interruption_.exchangeError != 0 ? interruption_.exchangeError
                                                : TreeCalls::exchange(firstFolder, first, secondFolder, second);
    }
    int move(int fromFolder, const std::string& from, int toFolder, const std::string& to) override {
        step();
        return TreeCalls::move(fromFolder, from, toFolder, to);
    }
    int replace(int folder, const std::string& from, const std::string& to) override {
        step();
        return TreeCalls::replace(folder, from, to);
    }
    int create(int folder, const std::string& name, const std::string& content) override {
        step();
        return TreeCalls::create(folder, name, content);
    }
    int remove(int folder, const std::string& name) override {
        step();
        return TreeCalls::remove(folder, name);
    }
    int sync(int folder) override {
        step();
        return TreeCalls::sync(folder);
    }
    int syncVolume(int folder) override {
        step();
        return TreeCalls::syncVolume(folder);
    }

private:
    void step() {
        ++count_;
        const bool isMine = processDepth == (interruption_.who == "worker" ? 2 : 1);
        if (isMine && count_ == interruption_.call) {
            static_cast<void>(
                ::openat(static_cast<int>(InstallerDescriptor::parent), "killed", O_WRONLY | O_CREAT, 0600));
            static_cast<void>(::kill(interruption_.scope == "all" ? 0 : ::getpid(), SIGKILL));
        }
    }

    Interruption interruption_ = readInterruption();
    int count_ = 0;
};

// seccomp(2): the process ends with the call.
bool refuseSockets() {
    std::array<sock_filter, 4> program = {{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_socket, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    }};
    sock_fprog filter = {.len = program.size(), .filter = program.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (!refuseSockets() || ::pthread_atfork(nullptr, nullptr, [] { ++processDepth; }) != 0) {
        return 6;
    }
    InterruptedCalls calls;
    return installerMain(calls, argumentCount, arguments);
}
