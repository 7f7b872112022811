#include "bench/measure.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <sstream>

namespace ovrel::bench {

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Waits for a child and takes its peak memory.
void await(pid_t child, Measurement& measurement) {
    int status = 0;
    rusage usage{};
    measurement.succeeded =
        ::wait4(child, &status, 0, &usage) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    constexpr std::uint64_t kibi = 1024;
    measurement.peakBytes = static_cast<std::uint64_t>(usage.ru_maxrss) * kibi;
}

} // namespace

Measurement measure(const std::function<void(const std::function<void()>& start)>& work) {
    Measurement measurement;
    std::array<int, 2> pipe{};
    if (::pipe2(pipe.data(), O_CLOEXEC) != 0) {
        return measurement;
    }
    const pid_t child = ::fork();
    if (child == 0) {
        int status = 1;
        try {
            Clock::time_point start = Clock::now();
            work([&] { start = Clock::now(); });
            const double seconds = secondsSince(start);
            status = ::write(pipe[1], &seconds, sizeof seconds) == sizeof seconds ? 0 : 1;
        } catch (const std::exception&) {
            status = 1;
        }
        ::_exit(status);
    }
    ::close(pipe[1]);
    if (child > 0) {
        await(child, measurement);
        measurement.succeeded =
            measurement.succeeded &&
            ::read(pipe[0], &measurement.seconds, sizeof measurement.seconds) == sizeof measurement.seconds;
    }
    ::close(pipe[0]);
    return measurement;
}

Measurement measureProgram(const std::vector<std::string>& command) {
    Measurement measurement;
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& word : command) {
        arguments.push_back(const_cast<char*>(word.c_str())); // execvp takes what it does not change as not const
    }
    arguments.push_back(nullptr);
    const Clock::time_point start = Clock::now();
    const pid_t child = ::fork();
    if (child == 0) {
        const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        ::dup2(nowhere, STDOUT_FILENO);
        ::dup2(nowhere, STDERR_FILENO);
        ::execvp(arguments[0], arguments.data());
        ::_exit(127);
    }
    if (child > 0) {
        await(child, measurement);
        measurement.seconds = secondsSince(start);
    }
    return measurement;
}

bool isInstalled(const std::string& program) {
    const char* path = std::getenv("PATH");
    std::istringstream folders(path == nullptr ? "" : path);
    std::string folder;
    while (std::getline(folders, folder, ':')) {
        if (::access((std::filesystem::path(folder) / program).c_str(), X_OK) == 0) {
            return true;
        }
    }
    return false;
}

} // namespace ovrel::bench
