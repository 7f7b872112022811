#include "updates/installation/program_start.h"

#include "platform/linux/argument_pointers.h"
#include "updates/installation/clean_environment.h"

#include <climits>
#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ovrel {

namespace {

constexpr int cannotExecute = 127;

void resetSignals() {
    struct sigaction byDefault = {};
    byDefault.sa_handler = SIG_DFL;
    for (int number = 1; number < NSIG; ++number) {
        static_cast<void>(::sigaction(number, &byDefault, nullptr));
    }
    sigset_t none;
    ::sigemptyset(&none);
    static_cast<void>(::sigprocmask(SIG_SETMASK, &none, nullptr));
}

bool leaveEverything(const std::string& home) {
    const int nowhere = ::open("/dev/null", O_RDWR);
    if (nowhere < 0 || (::chdir(home.c_str()) != 0 && ::chdir("/") != 0)) {
        return false;
    }
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (nowhere != stream && ::dup2(nowhere, stream) < 0) {
            return false;
        }
    }
    return ::setsid() >= 0;
}

} // namespace

pid_t startProgram(const ProgramStart& start) {
    std::vector<std::string> words = {start.path};
    words.insert(words.end(), start.arguments.begin(), start.arguments.end());
    std::vector<std::string> entries = start.environment;
    const std::vector<char*> arguments = argumentPointers(words);
    const std::vector<char*> environment = argumentPointers(entries);
    std::string home = environmentValue(start.environment, "HOME");
    home = home.empty() ? "/" : home;

    const pid_t process = ::fork();
    if (process != 0) {
        return process;
    }
    if (leaveEverything(home)) {
        resetSignals();
        static_cast<void>(::close_range(STDERR_FILENO + 1, UINT_MAX, CLOSE_RANGE_CLOEXEC));
        ::execveat(start.tree, start.program.c_str(), arguments.data(), environment.data(), 0);
    }
    ::_exit(cannotExecute);
}

ProgramEnd waitForEnd(pid_t process, unsigned limitMilliseconds) {
    const FileDescriptor handle(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
    pollfd ended = {.fd = handle.get(), .events = POLLIN, .revents = 0};
    if (!handle || ::poll(&ended, 1, static_cast<int>(limitMilliseconds)) <= 0) {
        return ProgramEnd::none;
    }
    int status = 0;
    if (::waitpid(process, &status, 0) != process) {
        return ProgramEnd::none;
    }
    const int signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    const bool wasAskedTo = signal == SIGTERM || signal == SIGHUP || signal == SIGINT;
    const bool isNormal = wasAskedTo || (WIFEXITED(status) && WEXITSTATUS(status) == 0);
    return isNormal ? ProgramEnd::normal : ProgramEnd::abnormal;
}

} // namespace ovrel
