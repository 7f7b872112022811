#include "updates/installation/running_programs.h"

#include "updates/installation/file_identity.h"
#include "updates/installation/installed_layout.h"
#include "updates/installation/open_folder.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <optional>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace ovrel {

namespace {

/// Follows symbolic links, /proc's own among them.
std::optional<FileIdentity> identityOfFile(int folder, const std::string& name) {
    struct stat facts = {};
    if (::fstatat(folder, name.c_str(), &facts, 0) != 0 || !S_ISREG(facts.st_mode)) {
        return std::nullopt;
    }
    return FileIdentity{.device = facts.st_dev, .inode = facts.st_ino};
}

[[noreturn]] void failToLook() {
    throw std::system_error(errno, std::generic_category(), "cannot list the programs that run");
}

/// \return none when there is no such folder
FileDescriptor openExisting(int parent, const std::string& name) {
    FileDescriptor folder = openFolder(parent, name);
    if (!folder && errno != ENOENT && errno != ENOTDIR && errno != ELOOP) {
        failToLook();
    }
    return folder;
}

std::vector<FileIdentity> programsIn(int parent, const std::string& treeName) {
    std::vector<FileIdentity> programs;
    const FileDescriptor tree = openExisting(parent, treeName);
    const FileDescriptor folder = tree ? openExisting(tree.get(), programFolder) : FileDescriptor();
    if (!folder) {
        return programs;
    }
    for (const std::string& name : namesIn(folder.get())) {
        if (const std::optional<FileIdentity> program = identityOfFile(folder.get(), name)) {
            programs.push_back(*program);
        }
    }
    return programs;
}

std::optional<pid_t> processNamed(const std::string& name) {
    pid_t process = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), process);
    return error == std::errc() && end == name.data() + name.size() ? std::optional(process) : std::nullopt;
}

bool hasEnded(const FileDescriptor& process) {
    pollfd ended = {.fd = process.get(), .events = POLLIN, .revents = 0};
    return uninterrupted([&] { return ::poll(&ended, 1, 0); }) != 0;
}

} // namespace

std::vector<FileDescriptor> otherProgramsOf(int folder, const std::string& tree) {
    std::vector<FileDescriptor> running;
    const std::vector<FileIdentity> programs = programsIn(folder, tree);
    if (programs.empty()) {
        return running;
    }
    const FileDescriptor processes(::open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!processes) {
        failToLook();
    }
    for (const std::string& name : namesIn(processes.get())) {
        const std::optional<pid_t> process = processNamed(name);
        if (!process || *process == ::getpid()) {
            continue;
        }
        FileDescriptor handle(static_cast<int>(::syscall(SYS_pidfd_open, *process, 0)));
        if (!handle && (errno == EMFILE || errno == ENFILE || errno == ENOMEM)) {
            failToLook();
        }
        const std::optional<FileIdentity> program = identityOfFile(processes.get(), name + "/exe");
        const bool isOurs = program && std::find(programs.begin(), programs.end(), *program) != programs.end();
        // The number may have gone to another process between the two looks, unless the first one still lives.
        if (isOurs && handle && !hasEnded(handle)) {
            running.push_back(std::move(handle));
        }
    }
    return running;
}

bool othersRun(const InstallationPlace& place) {
    return !otherProgramsOf(place.parent(), place.name()).empty();
}

void waitForEndOf(const std::vector<FileDescriptor>& processes) {
    constexpr int withoutLimit = -1;
    for (const FileDescriptor& process : processes) {
        pollfd ended = {.fd = process.get(), .events = POLLIN, .revents = 0};
        static_cast<void>(uninterrupted([&] { return ::poll(&ended, 1, withoutLimit); }));
    }
}

} // namespace ovrel
