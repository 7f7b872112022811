#include "tests/cli/running_program.h"

#include "platform/linux/argument_pointers.h"

#include <fcntl.h>
#include <pty.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <string_view>
#include <system_error>

namespace ovrel::test {

namespace {

template <typename Result>
Result checked(Result result, const char* what) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return result;
}

/// A file without a name.
int memoryFile(const std::string& content) {
    const int file = checked(::memfd_create("test", MFD_CLOEXEC), "memfd_create");
    checked(::write(file, content.data(), content.size()), "write");
    checked(::lseek(file, 0, SEEK_SET), "lseek");
    return file;
}

bool isOfLanguage(std::string_view variable) {
    return variable.starts_with("LC_") || variable.starts_with("LANG=") || variable.starts_with("LANGUAGE=");
}

std::vector<std::string> environmentWith(const std::vector<std::string>& more) {
    std::vector<std::string> variables;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        if (!isOfLanguage(*variable)) {
            variables.emplace_back(*variable);
        }
    }
    variables.insert(variables.end(), more.begin(), more.end());
    return variables;
}

int statusOf(pid_t process) {
    int status = 0;
    while (::waitpid(process, &status, 0) < 0) {
        checked(errno == EINTR ? 0 : -1, "waitpid");
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string contentOfDescriptor(int file) {
    std::string content;
    std::array<char, 4096> block{};
    checked(::lseek(file, 0, SEEK_SET), "lseek");
    for (ssize_t size = 0; (size = checked(::read(file, block.data(), block.size()), "read")) > 0;) {
        content.append(block.data(), static_cast<std::size_t>(size));
    }
    return content;
}

} // namespace

RunningProgram::RunningProgram(const std::string& program, const ProgramCall& call) {
    std::vector<std::string> words = call.arguments;
    words.insert(words.begin(), program);
    std::vector<std::string> variables = environmentWith(call.environment);
    const std::vector<char*> argv = argumentPointers(words);
    const std::vector<char*> environment = argumentPointers(variables);

    std::array<int, 2> pipe{};
    checked(::pipe2(pipe.data(), O_CLOEXEC), "pipe2");
    constexpr int smallestPipe = 4096;
    checked(::fcntl(pipe[1], F_SETPIPE_SZ, smallestPipe), "F_SETPIPE_SZ");
    output_ = pipe[0];
    errors_ = memoryFile("");
    const int input = memoryFile(call.input);

    process_ = checked(::fork(), "fork");
    if (process_ == 0) {
        const int output = call.outputFile.empty() ? pipe[1] : ::open(call.outputFile.c_str(), O_WRONLY | O_CLOEXEC);
        ::dup2(input, STDIN_FILENO);
        ::dup2(output, STDOUT_FILENO);
        ::dup2(errors_, STDERR_FILENO);
        if (call.outputClosed) {
            ::close(STDOUT_FILENO);
        }
        ::execve(argv[0], argv.data(), environment.data());
        ::_exit(127);
    }
    ::close(input);
    ::close(pipe[1]);
}

RunningProgram::~RunningProgram() {
    if (process_ > 0) {
        ::kill(process_, SIGKILL);
        ::waitpid(process_, nullptr, 0);
    }
    ::close(output_);
    ::close(errors_);
}

std::string RunningProgram::readLine() {
    std::size_t end = 0;
    while ((end = unread_.find('\n')) == std::string::npos) {
        if (!readMore()) {
            return {};
        }
    }
    std::string line = unread_.substr(0, end);
    unread_.erase(0, end + 1);
    return line;
}

void RunningProgram::signal(int number) {
    checked(::kill(process_, number), "kill");
}

ProgramEnd RunningProgram::wait() {
    while (readMore()) {
    }
    ProgramEnd end;
    end.status = statusOf(process_);
    process_ = -1;
    end.out = unread_;
    end.err = contentOfDescriptor(errors_);
    return end;
}

bool RunningProgram::readMore() {
    std::array<char, 4096> block{};
    const ssize_t size = checked(::read(output_, block.data(), block.size()), "read");
    unread_.append(block.data(), static_cast<std::size_t>(size));
    return size > 0;
}

ProgramEnd runProgram(const std::string& program, const ProgramCall& call) {
    return RunningProgram(program, call).wait();
}

ProgramEnd runOnTerminal(const std::string& program, const std::vector<std::string>& arguments,
                         unsigned short columns) {
    std::vector<std::string> words = arguments;
    words.insert(words.begin(), program);
    std::vector<std::string> variables = environmentWith({"TERM=xterm"});
    const std::vector<char*> argv = argumentPointers(words);
    const std::vector<char*> environment = argumentPointers(variables);

    winsize size{};
    size.ws_row = 24;
    size.ws_col = columns;
    int terminal = -1;
    const pid_t process = checked(::forkpty(&terminal, nullptr, nullptr, &size), "forkpty");
    if (process == 0) {
        ::execve(argv[0], argv.data(), environment.data());
        ::_exit(127);
    }
    ProgramEnd end;
    std::array<char, 4096> block{};
    // Linux ends the reading with EIO once the other side is closed.
    for (ssize_t read = 0; (read = ::read(terminal, block.data(), block.size())) > 0;) {
        end.out.append(block.data(), static_cast<std::size_t>(read));
    }
    end.status = statusOf(process);
    ::close(terminal);
    return end;
}

} // namespace ovrel::test
