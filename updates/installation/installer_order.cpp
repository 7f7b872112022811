#include "updates/installation/installer_order.h"

#include "updates/installation/journal.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace ovrel {

namespace {

constexpr std::size_t wordCount = 10;
constexpr unsigned limitWatchMilliseconds = 600000;

template <typename Number>
bool readNumber(const std::string& text, Number& number) {
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end;
}

bool isSound(const InstallerOrder& order) {
    return isPlainName(order.name) && isPlainName(order.install.staging) && isPlainName(order.install.top) &&
           isInstallableVersion(order.install.version) && isPlainPath(order.program) &&
           order.watchMilliseconds <= limitWatchMilliseconds;
}

} // namespace

std::vector<std::string> formatInstallerOrder(const InstallerOrder& order) {
    const InstallOrder& install = order.install;
    return {order.name,
            install.staging,
            install.top,
            install.version,
            std::to_string(install.installed.device),
            std::to_string(install.installed.inode),
            std::to_string(install.staged.device),
            std::to_string(install.staged.inode),
            order.program,
            std::to_string(order.watchMilliseconds)};
}

std::optional<InstallerOrder> parseInstallerOrder(const std::vector<std::string>& words) {
    if (words.size() != wordCount) {
        return std::nullopt;
    }
    InstallerOrder order{
        .name = words[0], .install = {.version = words[3], .staging = words[1], .top = words[2]}, .program = words[8]};
    FileIdentity& installed = order.install.installed;
    FileIdentity& staged = order.install.staged;
    const bool readable = readNumber(words[4], installed.device) && readNumber(words[5], installed.inode) &&
                          readNumber(words[6], staged.device) && readNumber(words[7], staged.inode) &&
                          readNumber(words[9], order.watchMilliseconds);
    if (!readable || !isSound(order)) {
        return std::nullopt;
    }
    return order;
}

bool isPlainPath(const std::string& path) {
    for (std::size_t begin = 0; begin <= path.size();) {
        const std::size_t end = std::min(path.find('/', begin), path.size());
        if (!isPlainName(path.substr(begin, end - begin))) {
            return false;
        }
        begin = end + 1;
    }
    return true;
}

} // namespace ovrel
