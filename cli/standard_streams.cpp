#include "cli/standard_streams.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

namespace ovrel::cli {

bool DescriptorOutput::write(std::string_view text) {
    while (!text.empty() && error_ == 0) {
        const ssize_t written = ::write(descriptor_, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            pollfd writable{descriptor_, POLLOUT, 0};
            ::poll(&writable, 1, -1);
        } else if (errno != EINTR) {
            error_ = errno;
        }
    }
    return error_ == 0;
}

void prepareStandardStreams() {
    std::signal(SIGPIPE, SIG_IGN);
    // open() gives the lowest free number, which is the one found closed. Writing there fails, since it is for reading.
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) == -1 && ::open("/dev/null", O_RDONLY) != stream) {
            std::abort();
        }
    }
}

void silenceStandardStreams() {
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
        ::dup2(nowhere, stream);
    }
}

bool isTerminal(int descriptor) {
    const char* const kind = std::getenv("TERM");
    return ::isatty(descriptor) == 1 && kind != nullptr && std::string_view(kind) != "dumb";
}

std::size_t terminalColumns(int descriptor) {
    constexpr std::size_t usual = 80;
    winsize size{};
    return ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usual;
}

} // namespace ovrel::cli
