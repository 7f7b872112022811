#include "updates/installation/launch_installer.h"

#include "platform/linux/argument_pointers.h"
#include "updates/installation/clean_environment.h"
#include "updates/installation/open_folder.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <string_view>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ovrel {

namespace {

constexpr const char* copiedInstaller = "installer";
constexpr int firstFree = static_cast<int>(InstallerDescriptor::end);

FileDescriptor opened(int descriptor, const char* what) {
    require(descriptor < 0 ? errno : 0, what);
    return FileDescriptor(descriptor);
}

void copyInstaller(const InstallationPlace& place, int staging) {
    constexpr mode_t ownerOnly = 0700;
    constexpr std::size_t stepBytes = 1U << 20U;
    const FileDescriptor tree = openFolder(place.parent(), place.name());
    const FileDescriptor source =
        opened(::openat(tree.get(), installerPath, O_RDONLY | O_CLOEXEC), "cannot open the installer");
    static_cast<void>(::unlinkat(staging, copiedInstaller, 0));
    const FileDescriptor target =
        opened(::openat(staging, copiedInstaller, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, ownerOnly),
               "cannot copy the installer");
    require(::fchmod(target.get(), ownerOnly) == 0 ? 0 : errno, "cannot copy the installer");
    ssize_t count = 0;
    do {
        count = uninterrupted([&] { return ::sendfile(target.get(), source.get(), nullptr, stepBytes); });
    } while (count > 0);
    require(count < 0 ? errno : 0, "cannot copy the installer");
}

FileDescriptor environmentFile(const std::vector<std::string>& environment) {
    const std::string bytes = formatEnvironment(environment);
    require(bytes.size() > environmentLimitBytes ? E2BIG : 0, "too large an environment");
    FileDescriptor file = opened(::memfd_create("environment", MFD_CLOEXEC | MFD_ALLOW_SEALING), "no memory file");
    const ssize_t written = ::write(file.get(), bytes.data(), bytes.size());
    require(written == static_cast<ssize_t>(bytes.size()) ? 0 : ENOSPC, "cannot hand over the environment");
    require(::lseek(file.get(), 0, SEEK_SET) == 0 ? 0 : errno, "cannot hand over the environment");
    require(::fcntl(file.get(), F_ADD_SEALS, F_SEAL_SEAL | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE) == 0 ? 0 : errno,
            "cannot seal the environment");
    return file;
}

/// Descriptors and streams of a process to be. Sources are moved above the targets first, so that none overwrites
/// another.
class SpawnActions {
public:
    SpawnActions() { require(::posix_spawn_file_actions_init(&actions_), "cannot prepare a process"); }
    ~SpawnActions() { ::posix_spawn_file_actions_destroy(&actions_); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;

    void leadNowhere(int stream) {
        require(::posix_spawn_file_actions_addopen(&actions_, stream, "/dev/null", O_RDWR, 0), "no standard streams");
    }
    void hand(int descriptor, InstallerDescriptor as) {
        FileDescriptor& copy = copies_.at(static_cast<std::size_t>(as));
        copy = opened(::fcntl(descriptor, F_DUPFD_CLOEXEC, firstFree), "cannot hand over a descriptor");
        require(::posix_spawn_file_actions_adddup2(&actions_, copy.get(), static_cast<int>(as)),
                "cannot hand over a descriptor");
    }
    void closeTheRest() {
        require(::posix_spawn_file_actions_addclosefrom_np(&actions_, firstFree), "cannot close descriptors");
    }
    const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_ = {};
    std::array<FileDescriptor, firstFree> copies_;
};

/// A session of its own, so that neither a terminal nor the end of a session of the program's reaches it.
class SpawnAttributes {
public:
    SpawnAttributes() {
        require(::posix_spawnattr_init(&attributes_), "cannot prepare a process");
        sigset_t signals;
        ::sigemptyset(&signals);
        static_cast<void>(::posix_spawnattr_setsigmask(&attributes_, &signals));
        ::sigfillset(&signals);
        static_cast<void>(::posix_spawnattr_setsigdefault(&attributes_, &signals));
        static_cast<void>(::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                                                       POSIX_SPAWN_SETSID));
    }
    ~SpawnAttributes() { ::posix_spawnattr_destroy(&attributes_); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;

    const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_ = {};
};

pid_t spawnInstaller(const SpawnActions& actions, std::vector<std::string> words) {
    // The folder is the inherited descriptor, whatever stands at its name by now.
    const std::string path =
        "/proc/self/fd/" + std::to_string(static_cast<int>(InstallerDescriptor::staging)) + "/" + copiedInstaller;
    words.insert(words.begin(), "ovrel-installer");
    const std::vector<char*> arguments = argumentPointers(words);
    std::array<char*, 1> noEnvironment = {nullptr};
    const SpawnAttributes attributes;
    constexpr int tries = 100;
    constexpr useconds_t pauseMicroseconds = 10000;
    pid_t process = -1;
    int error = ETXTBSY;
    // A process that another thread has just forked may hold the copy open for writing until it executes its own.
    for (int attempt = 0; attempt < tries && error == ETXTBSY; ++attempt) {
        if (attempt > 0) {
            ::usleep(pauseMicroseconds);
        }
        error = ::posix_spawn(&process, path.c_str(), actions.get(), attributes.get(), arguments.data(),
                              noEnvironment.data());
    }
    require(error, "cannot start the installer");
    return process;
}

/// The installer goes on in a process of its own as soon as it has accepted its order.
void awaitAcceptance(pid_t process) {
    int status = 0;
    const pid_t ended = uninterrupted([&] { return ::waitpid(process, &status, 0); });
    require(ended == process && WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : EINVAL,
            "the installer refuses its order");
}

/// A write to a pipe that nobody reads any more raises a signal by which this process would end (pipe(7)).
class WithoutPipeSignal {
public:
    WithoutPipeSignal() {
        ::sigemptyset(&signal_);
        ::sigaddset(&signal_, SIGPIPE);
        sigset_t pending;
        ::sigpending(&pending);
        wasPending_ = ::sigismember(&pending, SIGPIPE) == 1;
        static_cast<void>(::pthread_sigmask(SIG_BLOCK, &signal_, &before_));
    }
    ~WithoutPipeSignal() {
        constexpr timespec atOnce = {};
        if (!wasPending_) {
            static_cast<void>(::sigtimedwait(&signal_, nullptr, &atOnce));
        }
        static_cast<void>(::pthread_sigmask(SIG_SETMASK, &before_, nullptr));
    }
    WithoutPipeSignal(const WithoutPipeSignal&) = delete;
    WithoutPipeSignal& operator=(const WithoutPipeSignal&) = delete;

private:
    sigset_t signal_ = {};
    sigset_t before_ = {};
    bool wasPending_ = false;
};

} // namespace

bool WaitingInstaller::isWaiting() const {
    pollfd pipe = {.fd = words_.get(), .events = POLLOUT, .revents = 0};
    return words_ && ::poll(&pipe, 1, 0) >= 0 && (pipe.revents & POLLERR) == 0;
}

bool WaitingInstaller::say(const char* word) {
    const std::string line = std::string(word) + "\n";
    const WithoutPipeSignal guard;
    return ::write(words_.get(), line.data(), line.size()) == static_cast<ssize_t>(line.size());
}

WaitingInstaller launchInstaller(const InstallationPlace& place, const UpdateLock& lock,
                                 const InstallerLaunch& launch) {
    const FileDescriptor staging = openFolder(place.parent(), launch.staging);
    const FileDescriptor staged = staging ? openFolder(staging.get(), stagedTreeFolder) : FileDescriptor();
    const std::optional<FileIdentity> installed = identityOf(place.parent(), place.name());
    const std::optional<FileIdentity> incoming = staged ? identityOf(staged.get(), launch.top) : std::nullopt;
    require(installed && incoming ? 0 : ENOENT, "no trees to exchange");

    copyInstaller(place, staging.get());
    const FileDescriptor environment = environmentFile(launch.environment);
    const FileDescriptor self =
        opened(static_cast<int>(::syscall(SYS_pidfd_open, ::getpid(), 0)), "no handle of this process");
    std::array<int, 2> ends = {-1, -1};
    require(::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) == 0 ? 0 : errno, "no pipe");
    const FileDescriptor reading(ends[0]);
    FileDescriptor writing(ends[1]);

    SpawnActions actions;
    actions.leadNowhere(STDIN_FILENO);
    actions.leadNowhere(STDOUT_FILENO);
    actions.leadNowhere(STDERR_FILENO);
    actions.hand(place.parent(), InstallerDescriptor::parent);
    actions.hand(lock.descriptor(), InstallerDescriptor::lock);
    actions.hand(reading.get(), InstallerDescriptor::words);
    actions.hand(self.get(), InstallerDescriptor::program);
    actions.hand(environment.get(), InstallerDescriptor::environment);
    actions.hand(staging.get(), InstallerDescriptor::staging);
    actions.closeTheRest();
    const InstallerOrder order{.name = place.name(),
                               .install = {.version = launch.version,
                                           .staging = launch.staging,
                                           .top = launch.top,
                                           .installed = *installed,
                                           .staged = *incoming},
                               .program = launch.program,
                               .watchMilliseconds = launch.watchMilliseconds};
    awaitAcceptance(spawnInstaller(actions, formatInstallerOrder(order)));
    return WaitingInstaller(std::move(writing));
}

} // namespace ovrel
