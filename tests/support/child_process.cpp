#include "tests/support/child_process.h"

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <utility>

#include <sys/resource.h>
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
    constexpr std::uint64_t kibi = 1024; // getrusage(2): the unit of ru_maxrss
    int status = 0;
    rusage usage{};
    if (::wait4(std::exchange(process_, -1), &status, 0, &usage) < 0) {
        throw std::runtime_error("child process lost");
    }
    peakBytes_ = static_cast<std::uint64_t>(usage.ru_maxrss) * kibi;
    return WIFEXITED(status) ? WEXITSTATUS(status) : signalBase + WTERMSIG(status);
}

} // namespace ovrel::test
