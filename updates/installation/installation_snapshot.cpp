#include "updates/installation/installation_snapshot.h"

#include "platform/linux/file_descriptor.h"
#include "updates/installation/installed_layout.h"
#include "updates/installation/read_file.h"

#include <cstdlib>
#include <string_view>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/auxv.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace ovrel {

namespace {

constexpr std::size_t accountBytes = 1U << 16U;

std::optional<std::string> firstLineOf(const std::filesystem::path& file) {
    const FileDescriptor open(::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!open) {
        return std::nullopt;
    }
    return readFirstLine(open.get());
}

FileFacts factsOf(const std::filesystem::path& file) {
    constexpr unsigned permissionBits = 07777;
    struct stat status = {};
    if (file.empty() || ::lstat(file.c_str(), &status) != 0) {
        return {};
    }
    struct statvfs volume = {};
    const bool readOnly = ::statvfs(file.c_str(), &volume) == 0 && (volume.f_flag & ST_RDONLY) != 0;
    return {.exists = true,
            .owner = status.st_uid,
            .group = status.st_gid,
            .mode = status.st_mode & permissionBits,
            .accessList = ::lgetxattr(file.c_str(), "system.posix_acl_access", nullptr, 0) > 0,
            .readOnlyMount = readOnly};
}

/// A group that bears the user's name and has no member but the user, as useradd(8) makes them.
std::optional<unsigned> ownGroupOf(uid_t user) {
    std::vector<char> userBytes(accountBytes);
    passwd account = {};
    passwd* foundAccount = nullptr;
    std::vector<char> groupBytes(accountBytes);
    struct group primary = {};
    struct group* foundGroup = nullptr;
    if (::getpwuid_r(user, &account, userBytes.data(), userBytes.size(), &foundAccount) != 0 ||
        foundAccount == nullptr ||
        ::getgrgid_r(account.pw_gid, &primary, groupBytes.data(), groupBytes.size(), &foundGroup) != 0 ||
        foundGroup == nullptr) {
        return std::nullopt;
    }
    const std::string_view name = account.pw_name;
    bool alone = name == primary.gr_name;
    for (char** member = primary.gr_mem; member != nullptr && *member != nullptr; ++member) {
        alone = alone && name == *member;
    }
    return alone ? std::optional<unsigned>(account.pw_gid) : std::nullopt;
}

bool hasMoreRights() {
    return ::geteuid() == 0 || ::geteuid() != ::getuid() || ::getegid() != ::getgid() || ::getauxval(AT_SECURE) != 0;
}

} // namespace

SnapshotSources ownSources() {
    std::error_code unreadable;
    std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", unreadable);
    return {.program = unreadable ? std::filesystem::path() : std::move(program),
            .isSet = [](const char* name) { return std::getenv(name) != nullptr; }};
}

InstallationSnapshot takeInstallationSnapshot(const SnapshotSources& sources) {
    InstallationSnapshot snapshot{.packager = OVREL_MANAGED_BY,
                                  .inFlatpak =
                                      sources.isSet("FLATPAK_ID") || ::access(sources.flatpakFile.c_str(), F_OK) == 0,
                                  .inSnap = sources.isSet("SNAP"),
                                  .program = sources.program,
                                  .programFacts = factsOf(sources.program),
                                  .user = ::geteuid(),
                                  .elevated = hasMoreRights(),
                                  .ownGroup = ownGroupOf(::geteuid())};
    const std::filesystem::path folder = sources.program.parent_path();
    if (folder.empty()) {
        return snapshot;
    }
    snapshot.packagerMarker = firstLineOf(folder / packagerMarkerName);
    for (const std::filesystem::path& candidate : {folder, folder.parent_path()}) {
        if (const std::optional<std::string> application = firstLineOf(candidate / portableMarkerName)) {
            snapshot.tree = candidate;
            snapshot.portableApplication = *application;
            snapshot.treeFacts = factsOf(candidate);
            snapshot.parentFacts = factsOf(candidate.parent_path());
            break;
        }
    }
    return snapshot;
}

} // namespace ovrel
