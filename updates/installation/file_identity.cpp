#include "updates/installation/file_identity.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace ovrel {

namespace {

std::optional<FileIdentity> folderIdentity(const struct stat& facts) {
    if (!S_ISDIR(facts.st_mode)) {
        return std::nullopt;
    }
    return FileIdentity{.device = facts.st_dev, .inode = facts.st_ino};
}

} // namespace

std::optional<FileIdentity> identityOf(int folder, const std::string& name) {
    struct stat facts = {};
    if (::fstatat(folder, name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0) {
        return std::nullopt;
    }
    return folderIdentity(facts);
}

std::optional<FileIdentity> identityOf(const std::filesystem::path& folder) {
    return identityOf(AT_FDCWD, folder.native());
}

std::optional<FileIdentity> identityOf(int descriptor) {
    struct stat facts = {};
    if (::fstat(descriptor, &facts) != 0) {
        return std::nullopt;
    }
    return folderIdentity(facts);
}

bool isPlainName(const std::string& name) {
    constexpr std::size_t longestName = 255;
    return !name.empty() && name.size() <= longestName && name != "." && name != ".." &&
           name.find('/') == std::string::npos && name.find('\0') == std::string::npos;
}

} // namespace ovrel
