/// \file installer_order.h
/// What the installer is told at its start: words of its command line and inherited descriptors.
#pragma once

#include "updates/installation/exchange.h"

#include <optional>
#include <string>
#include <vector>

namespace ovrel {

/// The descriptors that the installer inherits besides the standard streams, which lead nowhere.
enum class InstallerDescriptor : int {
    parent = 3,      ///< the folder around the installation
    lock = 4,        ///< the lock file with the update's lock
    words = 5,       ///< the reading end of the pipe on which the program speaks
    program = 6,     ///< a pidfd of the program
    environment = 7, ///< the environment for the program's next start, a file read from its beginning
    staging = 8,     ///< the update's private folder
    end = 9,         ///< none from here on
};

/// Words on the pipe, a line each. `relaunch` holds unless `cancel` follows, which cannot be taken back. A program that
/// ends without a word has its update installed and is not started again.
inline constexpr const char* relaunchWord = "relaunch"; ///< the new version is started when the program has ended
inline constexpr const char* cancelWord = "cancel";     ///< the update is given up at once

struct InstallerOrder {
    std::string name; ///< the installation's, in the folder around it
    InstallOrder install;
    std::string program;                ///< path of the program in the trees, for example "bin/ovrel"
    unsigned watchMilliseconds = 10000; ///< how long the new version is watched after its start, 0 … 600000
};

/// The command line after the program's name, and back.
/// \return nothing unless all words are there and sound
std::vector<std::string> formatInstallerOrder(const InstallerOrder& order);
std::optional<InstallerOrder> parseInstallerOrder(const std::vector<std::string>& words);

/// Whether `path` is relative and consists of plain names.
bool isPlainPath(const std::string& path);

} // namespace ovrel
