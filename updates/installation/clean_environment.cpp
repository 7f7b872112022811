#include "updates/installation/clean_environment.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>

#include <unistd.h>

namespace ovrel {

namespace {

constexpr std::array<std::string_view, 27> leftOut = {
    "APPDIR",
    "APPIMAGE",
    "ARGV0",
    "DESKTOP_STARTUP_ID",
    "GCONV_PATH",
    "GIO_MODULE_DIR",
    "INVOCATION_ID",
    "JOURNAL_STREAM",
    "LISTEN_FDS",
    "LISTEN_PID",
    "LISTEN_FDNAMES",
    "MAINPID",
    "NOTIFY_SOCKET",
    "OLDPWD",
    "OWD",
    "PWD",
    "QML2_IMPORT_PATH",
    "QML_IMPORT_PATH",
    "QT_CONF",
    "QT_PLUGIN_PATH",
    "QT_QPA_PLATFORM_PLUGIN_PATH",
    "GLIBC_TUNABLES",
    "SYSTEMD_EXEC_PID",
    "WATCHDOG_PID",
    "WATCHDOG_USEC",
    "XDG_ACTIVATION_TOKEN",
    "_",
};

// Everything that ld.so(8) reads.
constexpr std::string_view loaderPrefix = "LD_";

bool isLeftOut(std::string_view name) {
    return name.starts_with(loaderPrefix) || std::find(leftOut.begin(), leftOut.end(), name) != leftOut.end();
}

} // namespace

std::vector<std::string> currentEnvironment() {
    std::vector<std::string> entries;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        entries.emplace_back(*entry);
    }
    return entries;
}

std::vector<std::string> cleanEnvironment(const std::vector<std::string>& environment) {
    std::vector<std::string> clean;
    std::set<std::string> seen;
    for (const std::string& entry : environment) {
        const std::size_t length = entry.find('=');
        if (length == std::string::npos || length == 0 || entry.find('\0') != std::string::npos) {
            continue;
        }
        const std::string name = entry.substr(0, length);
        if (!isLeftOut(name) && seen.insert(name).second) {
            clean.push_back(entry);
        }
    }
    return clean;
}

std::string environmentValue(const std::vector<std::string>& environment, const std::string& name) {
    for (const std::string& entry : environment) {
        if (entry.size() > name.size() && entry.starts_with(name) && entry[name.size()] == '=') {
            return entry.substr(name.size() + 1);
        }
    }
    return {};
}

std::string formatEnvironment(const std::vector<std::string>& environment) {
    std::string bytes;
    for (const std::string& entry : environment) {
        bytes += entry;
        bytes += '\0';
    }
    return bytes;
}

std::vector<std::string> parseEnvironment(const std::string& bytes) {
    std::vector<std::string> entries;
    for (std::size_t begin = 0; begin < bytes.size();) {
        const std::size_t end = bytes.find('\0', begin);
        if (end == std::string::npos) {
            break;
        }
        entries.push_back(bytes.substr(begin, end - begin));
        begin = end + 1;
    }
    return entries;
}

} // namespace ovrel
