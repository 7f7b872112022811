/// \file program_start.h
/// Starts the program again after an update, as a desktop would.
#pragma once

#include "platform/linux/file_descriptor.h"

#include <string>
#include <vector>

#include <sys/types.h>

namespace ovrel {

/// The option that tells a program that it is started after an update; its value is the new version. Every version has
/// to take it, or none before could be updated to it.
inline constexpr const char* relaunchedOption = "relaunched-after-update";

/// The option at which a program says its version and ends: without a display, and without a look at updates. Every
/// version has to take it, or none before could tell whether it can be loaded.
inline constexpr const char* versionOption = "version";

struct ProgramStart {
    int tree = -1;                        ///< the open folder that holds the program
    std::string program;                  ///< its path in there
    std::string path;                     ///< its absolute path, which it sees as its name
    std::vector<std::string> arguments;   ///< without the name
    std::vector<std::string> environment; ///< entries NAME=value, complete
};

/// Starts a program in a session of its own: in the user's home folder (HOME, or the root folder), its standard streams
/// lead nowhere, all signals are unblocked and have their default action, and it inherits no other descriptor. One
/// thread at a time.
///
/// \return the process, a child of this one, which ends with status 127 where the program cannot be executed; -1 when
///         there is no process
pid_t startProgram(const ProgramStart& start);

enum class ProgramEnd {
    none,     ///< it still runs
    normal,   ///< it ended by itself with status 0, or was asked to: by SIGTERM, SIGHUP or SIGINT, as at a logout
    abnormal, ///< it ended by another signal or with another status
};

/// Waits for the end of a child process for at most that time.
ProgramEnd waitForEnd(pid_t process, unsigned limitMilliseconds);

} // namespace ovrel
