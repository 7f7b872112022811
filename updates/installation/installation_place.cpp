#include "updates/installation/installation_place.h"

#include <cerrno>
#include <string_view>
#include <system_error>

#include <fcntl.h>

namespace ovrel {

namespace {

std::string installedName(const std::string& name) {
    constexpr std::string_view suffix = "-previous";
    if (name.size() > suffix.size() + 1 && name.front() == '.' && name.ends_with(suffix)) {
        return name.substr(1, name.size() - suffix.size() - 1);
    }
    return name;
}

} // namespace

InstallationPlace::InstallationPlace(const std::filesystem::path& tree)
    : parent_(::open(tree.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    , name_(installedName(tree.filename().native())) {
    if (!parent_) {
        throw std::system_error(errno, std::generic_category(), "cannot open the folder of the installation");
    }
    if (!isPlainName(name_)) {
        throw std::system_error(EINVAL, std::generic_category(), "an installation without a name");
    }
}

InstallationPlace::InstallationPlace(FileDescriptor parent, std::string name)
    : parent_(std::move(parent)), name_(std::move(name)) {}

} // namespace ovrel
