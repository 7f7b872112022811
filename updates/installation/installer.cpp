#include "updates/installation/installer.h"

#include "updates/installation/clean_environment.h"
#include "updates/installation/exchange.h"
#include "updates/installation/journal.h"
#include "updates/installation/lock_file.h"
#include "updates/installation/open_folder.h"
#include "updates/installation/program_start.h"
#include "updates/installation/read_file.h"
#include "updates/installation/recovery.h"
#include "updates/installation/running_programs.h"

#include <array>
#include <cerrno>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ovrel {

namespace {

enum class Wish { cancel, install, installAndRelaunch };

/// What has been said on the pipe so far.
class Words {
public:
    explicit Words(int pipe) : pipe_(pipe) {}

    /// Takes in what is there. \return false when nothing will follow
    bool read() {
        constexpr std::size_t limitBytes = 4096; // a program says a few words; one that floods the pipe is not heard
        std::array<char, 64> bytes = {};
        for (;;) {
            const ssize_t count = ::read(pipe_, bytes.data(), bytes.size());
            if (count < 0 && errno == EINTR) {
                continue;
            }
            if (count <= 0) {
                return count < 0 && errno == EAGAIN;
            }
            if (said_.size() < limitBytes) {
                said_.append(bytes.data(), static_cast<std::size_t>(count));
            }
        }
    }

    bool contain(const std::string& word) const {
        return said_.starts_with(word + "\n") || said_.find("\n" + word + "\n") != std::string::npos;
    }

private:
    int pipe_;
    std::string said_;
};

/// Waits for the program's end, or for the word to give up.
Wish awaitWish(const FileDescriptor& pipe, const FileDescriptor& program) {
    Words words(pipe.get());
    bool isOpen = true;
    for (;;) {
        std::array<pollfd, 2> waited = {{{.fd = program.get(), .events = POLLIN, .revents = 0},
                                         {.fd = isOpen ? pipe.get() : -1, .events = POLLIN, .revents = 0}}};
        if (::poll(waited.data(), waited.size(), -1) < 0 && errno != EINTR) {
            return Wish::cancel;
        }
        isOpen = isOpen && words.read(); // after poll(), so that the last words before the end are heard
        if (words.contain(cancelWord)) {
            return Wish::cancel;
        }
        if (waited[0].revents != 0) {
            return words.contain(relaunchWord) ? Wish::installAndRelaunch : Wish::install;
        }
    }
}

std::string pathOf(int folder) {
    std::string path(4096, '\0');
    const std::string link = "/proc/self/fd/" + std::to_string(folder);
    const ssize_t length = ::readlink(link.c_str(), path.data(), path.size());
    path.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    return path;
}

/// Installs in a child process.
void installGuarded(TreeCalls& calls, const InstallationPlace& place, const InstallOrder& order) {
    const pid_t worker = ::fork();
    if (worker == 0) {
        int status = 0;
        try {
            install(calls, place, order);
        } catch (const std::exception&) {
            status = 1;
        }
        ::_exit(status);
    }
    if (worker > 0) {
        static_cast<void>(uninterrupted([&] { return ::waitpid(worker, nullptr, 0); }));
    }
}

pid_t startInstalled(const InstallationPlace& place, const InstallerOrder& order,
                     const std::vector<std::string>& environment, std::vector<std::string> arguments) {
    const FileDescriptor tree = openFolder(place.parent(), place.name());
    return startProgram({.tree = tree.get(),
                         .program = order.program,
                         .path = pathOf(tree.get()) + "/" + order.program,
                         .arguments = std::move(arguments),
                         .environment = cleanEnvironment(environment)});
}

/// Whether the program in place can be loaded, as far as that shows.
bool canBeLoaded(const InstallationPlace& place, const InstallerOrder& order,
                 const std::vector<std::string>& environment) {
    const pid_t started = startInstalled(place, order, environment, {"--" + std::string(versionOption)});
    return started <= 0 || waitForEnd(started, order.watchMilliseconds) != ProgramEnd::abnormal;
}

/// \return whether the previous tree stands in its place again
bool takeBackUnconfirmed(TreeCalls& calls, const InstallationPlace& place, const std::string& token) {
    const std::optional<UpdateLock> update = UpdateLock::acquireSoon(place);
    LockFile instances(place);
    if (!update || !instances.tryExclusive(LockFile::Part::instances) || othersRun(place)) {
        return false;
    }
    const std::optional<Journal> journal = readJournal(place);
    return journal && journal->state == JournalState::installed && journal->token == token &&
           takeBack(calls, place, *journal);
}

void removeStaging(const InstallationPlace& place, const InstallerOrder& order, int staging) {
    if (identityOf(place.parent(), order.install.staging) == identityOf(staging)) {
        static_cast<void>(removeTree(place.parent(), order.install.staging));
    }
}

/// Waits for the windows that were opened since the program had been asked to end.
/// \return whether there were none
bool waitForWindows(LockFile& instances) {
    constexpr int tries = 50;
    constexpr useconds_t pauseMicroseconds = 20000;
    // A child of the program's may hold a copy of the lock until it executes its own program.
    for (int attempt = 0; attempt < tries; ++attempt) {
        if (instances.tryExclusive(LockFile::Part::instances)) {
            return true;
        }
        ::usleep(pauseMicroseconds);
    }
    instances.waitExclusive(LockFile::Part::instances);
    return false;
}

/// Returns when nothing of the installation runs and nothing of it can start.
/// \return whether a window was opened since the program had been asked to end
bool waitUntilAlone(LockFile& instances, const InstallationPlace& place) {
    bool hadWindow = false;
    for (;;) {
        hadWindow = !waitForWindows(instances) || hadWindow;
        const std::vector<FileDescriptor> others = otherProgramsOf(place.parent(), place.name());
        if (others.empty()) {
            return hadWindow;
        }
        instances.unlock(LockFile::Part::instances); // one of them may be a window that waits for the lock
        waitForEndOf(others);
    }
}

struct Installation {
    std::optional<Journal> journal; ///< if the new tree is in place
    bool hadWindow = false;         ///< as waitUntilAlone()
};

/// Installs when nothing of the installation runs any more.
Installation installAlone(TreeCalls& calls, const InstallationPlace& place, const InstallerOrder& order, int staging) {
    Installation result;
    try {
        LockFile instances(place);
        result.hadWindow = waitUntilAlone(instances, place);
        installGuarded(calls, place, order.install);
        std::optional<Journal> journal = settle(calls, place);
        removeStaging(place, order, staging);
        if (journal && journal->state == JournalState::installed && journal->staging == order.install.staging) {
            result.journal = journal;
        }
    } catch (const std::system_error&) {
        // The volume refuses even the way back: what lies in the private folder may still be needed at the next start.
    }
    return result;
}

/// A descriptor at its number, kept from programs that are started.
FileDescriptor inheritedAt(InstallerDescriptor number) {
    FileDescriptor descriptor(static_cast<int>(number));
    if (::fcntl(descriptor.get(), F_SETFD, FD_CLOEXEC) != 0) {
        static_cast<void>(descriptor.release());
    }
    return descriptor;
}

} // namespace

void runInstaller(TreeCalls& calls, const InstallationPlace& place, const InstallerOrder& order,
                  InstallerInheritance inherited) {
    const Wish wish = awaitWish(inherited.words, inherited.program);
    const std::vector<std::string> environment =
        parseEnvironment(readWhole(inherited.environment.get(), environmentLimitBytes).value_or(""));
    if (wish == Wish::cancel) {
        removeStaging(place, order, inherited.staging.get());
        return;
    }
    const auto [journal, hadWindow] = installAlone(calls, place, order, inherited.staging.get());
    const bool isStarted = wish == Wish::installAndRelaunch && !hadWindow;
    // A program that cannot be loaded would not count its starts either.
    const bool isBroken = journal && !isStarted && !canBeLoaded(place, order, environment);
    inherited.lock.close(); // the program looks at what was done as soon as it starts
    if (isBroken) {
        static_cast<void>(takeBackUnconfirmed(calls, place, journal->token));
    }
    if (!isStarted) {
        return;
    }
    if (!journal) { // the program was asked to come back, whichever version it is
        if (identityOf(place.parent(), place.name()) == order.install.installed) {
            static_cast<void>(startInstalled(place, order, environment, {}));
        }
        return;
    }
    const std::string argument = "--" + std::string(relaunchedOption) + "=" + journal->version;
    const pid_t started = startInstalled(place, order, environment, {argument});
    if (started > 0 && waitForEnd(started, order.watchMilliseconds) == ProgramEnd::abnormal &&
        takeBackUnconfirmed(calls, place, journal->token)) {
        static_cast<void>(startInstalled(place, order, environment, {}));
    }
}

int installerMain(TreeCalls& calls, int argumentCount, char** arguments) {
    constexpr int refused = 2;
    const std::vector<std::string> words(arguments + (argumentCount > 0 ? 1 : 0), arguments + argumentCount);
    const std::optional<InstallerOrder> order = parseInstallerOrder(words);
    FileDescriptor parent = inheritedAt(InstallerDescriptor::parent);
    InstallerInheritance inherited = {.lock = inheritedAt(InstallerDescriptor::lock),
                                      .words = inheritedAt(InstallerDescriptor::words),
                                      .program = inheritedAt(InstallerDescriptor::program),
                                      .environment = inheritedAt(InstallerDescriptor::environment),
                                      .staging = inheritedAt(InstallerDescriptor::staging)};
    const bool complete =
        parent && inherited.lock && inherited.words && inherited.program && inherited.environment && inherited.staging;
    if (!order || !complete ||
        identityOf(parent.get(), order->install.staging) != identityOf(inherited.staging.get())) {
        return refused;
    }
    const pid_t background = ::fork();
    if (background != 0) {
        return background < 0 ? refused : 0;
    }
    if (::chdir("/") != 0) { // whichever folder the program was started in may be removed
        return refused;
    }
    try {
        runInstaller(calls, InstallationPlace(std::move(parent), order->name), *order, std::move(inherited));
    } catch (const std::exception&) {
        return 1; // nothing to say and nobody to say it to; the next start of the program ends what was begun
    }
    return 0;
}

} // namespace ovrel
