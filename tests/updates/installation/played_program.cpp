// Plays the program that is updated: it writes down how it was started, does what a program does at its start, and what
// the test wants of it.

#include "updates/installation/clean_environment.h"
#include "updates/installation/launch_installer.h"
#include "updates/installation/recovery.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace ovrel;

std::string contentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// A file for this start, numbered in the order of starts.
std::ofstream newRecord() {
    const fs::path folder = std::getenv("OVREL_TEST_RECORD");
    for (int number = 100;; ++number) {
        const fs::path file = folder / ("start-" + std::to_string(number));
        const FileDescriptor created(::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (created) {
            return std::ofstream(file);
        }
    }
}

void recordDescriptors(std::ostream& record) {
    std::vector<int> open;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) >= 0) {
            open.push_back(descriptor);
        }
    }
    for (const int descriptor : open) {
        std::error_code gone;
        record << "descriptor " << descriptor << " "
               << fs::read_symlink("/proc/self/fd/" + std::to_string(descriptor), gone).native() << "\n";
    }
}

void recordSignals(std::ostream& record) {
    sigset_t blocked;
    ::sigprocmask(SIG_SETMASK, nullptr, &blocked);
    for (int number = 1; number < SIGRTMIN; ++number) {
        struct sigaction action = {};
        ::sigaction(number, nullptr, &action);
        if (::sigismember(&blocked, number) == 1) {
            record << "blocked " << number << "\n";
        }
        if (action.sa_handler == SIG_IGN) {
            record << "ignored " << number << "\n";
        }
    }
}

void waitForTheEndOfInput() {
    char byte = 0;
    while (::read(STDIN_FILENO, &byte, 1) > 0) {
    }
}

/// Plays a program that knows nothing of updates, as the command line's is.
int work() {
    if (::write(STDOUT_FILENO, "+", 1) != 1) {
        return 6;
    }
    waitForTheEndOfInput();
    return 0;
}

int play(const std::vector<std::string>& words, const InstallationPlace& place, const FileIdentity& running) {
    const std::string& story = words.at(1);
    TreeCalls calls;
    std::optional<UpdateLock> lock = lockForNewUpdate(calls, place, running, [](const std::string&) { return false; });
    if (!lock) {
        return 3;
    }
    // What the next start shall not inherit.
    sigset_t some;
    ::sigemptyset(&some);
    ::sigaddset(&some, SIGUSR1);
    ::sigprocmask(SIG_BLOCK, &some, nullptr);
    std::signal(SIGHUP, SIG_IGN);
    static_cast<void>(::fcntl(STDIN_FILENO, F_DUPFD, 100));

    std::optional<WaitingInstaller> installer = launchInstaller(
        place, *lock,
        {.staging = words.at(2), .top = words.at(3), .version = words.at(4), .environment = currentEnvironment()});
    lock.reset();
    const bool said = (story == "relaunch" && installer->relaunch()) || (story == "cancel" && installer->cancel()) ||
                      (story == "relaunch, then cancel" && installer->relaunch() && installer->cancel()) ||
                      (story == "relaunch twice" && installer->relaunch() && installer->relaunch()) ||
                      story == "silent";
    if (::write(STDOUT_FILENO, said ? "+" : "-", 1) != 1) {
        return 6;
    }
    if (story == "silent") {
        installer.reset();
    }
    waitForTheEndOfInput();
    return 0;
}

} // namespace

int main(int argumentCount, char** arguments) {
    const std::vector<std::string> words(arguments + 1, arguments + argumentCount);
    if (words == std::vector<std::string>{"--work"}) {
        return work();
    }
    if (words == std::vector<std::string>{"--version"}) {
        return 0;
    }
    const fs::path tree = fs::read_symlink("/proc/self/exe").parent_path().parent_path();
    const std::string behaviour = contentOf(tree / "behaviour");
    std::ostringstream facts;
    recordDescriptors(facts); // before this program opens any itself
    recordSignals(facts);
    std::ofstream record = newRecord();
    record << facts.str() << "version " << contentOf(tree / "version") << "\n"
           << "name " << arguments[0] << "\n"
           << "folder " << fs::current_path().native() << "\n";
    for (const std::string& word : words) {
        record << "argument " << word << "\n";
    }
    for (const std::string& entry : currentEnvironment()) {
        record << "environment " << entry << "\n";
    }
    if (::getsid(0) == ::getpid()) {
        record << "session own\n";
    }
    record.flush();
    if (behaviour == "crash at once") {
        std::raise(SIGKILL);
    }

    const InstallationPlace place(tree);
    const FileIdentity running = identityOf(tree).value();
    InstanceLock instance(place);
    TreeCalls calls;
    const StartReport report = recoverAtStart(calls, place, running, instance);
    if (report.restart) {
        const std::string program = (tree.parent_path() / place.name() / "bin" / "ovrel").native();
        record << "restart\n";
        record.close();
        ::execv(program.c_str(), arguments);
        return 4;
    }
    if (behaviour == "crash later") {
        std::raise(SIGABRT);
    }
    for (const auto& [name, signal] : {std::pair("SIGTERM", SIGTERM), {"SIGHUP", SIGHUP}, {"SIGINT", SIGINT}}) {
        if (behaviour == name) {
            std::raise(signal);
        }
    }
    if (behaviour == "bad status") {
        return 5;
    }
    if (report.failedVersion) {
        record << "failed " << *report.failedVersion << "\n";
        forgetFailedVersion(calls, place, *report.failedVersion);
    }
    if (behaviour != "never confirm") {
        try {
            confirmHealthyStart(calls, place, running);
        } catch (const std::system_error&) {
            record << "unconfirmed\n"; // an installer waits; the next start goes on
        }
    }
    record.flush();
    return words.size() >= 5 && words.front() == "--play" ? play(words, place, running) : 0;
}
