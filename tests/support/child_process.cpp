#include "tests/support/child_process.h"

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <utility>

#include <sys/wait.h>
#include <unistd.h>

namespace ovrel::test {

namespace {

int statusOf(const std::function<int()>& body) {
    constexpr int threw = 126;
    try {
        return body();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "child process: %s\n", error.what());
        return threw;
    }
}

} // namespace

ChildProcess::ChildProcess(const std::function<int()>& body) {
    std::fflush(nullptr);
    process_ = ::fork();
    if (process_ < 0) {
        throw std::runtime_error("no child process");
    }
    if (process_ == 0) {
        ::_exit(statusOf(body));
    }
}

ChildProcess::~ChildProcess() {
    if (process_ > 0) {
        static_cast<void>(::waitpid(process_, nullptr, 0));
    }
}

int ChildProcess::wait() {
    constexpr int signalBase = 128;
    int status = 0;
    if (::waitpid(std::exchange(process_, -1), &status, 0) < 0) {
        throw std::runtime_error("child process lost");
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : signalBase + WTERMSIG(status);
}

} // namespace ovrel::test
