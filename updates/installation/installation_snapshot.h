/// \file installation_snapshot.h
/// Looks at the installation that this process was started from. Reads only.
#pragma once

#include "updates/installation/installation_kind.h"

#include <filesystem>
#include <functional>
#include <string>

namespace ovrel {

/// Where the snapshot's facts come from.
struct SnapshotSources {
    std::filesystem::path program;                        ///< as InstallationSnapshot::program
    std::filesystem::path flatpakFile = "/.flatpak-info"; ///< exists within a Flatpak
    std::function<bool(const char* name)> isSet;          ///< whether an environment variable exists
};

/// The sources of this process. The program's path is empty when /proc does not tell it.
SnapshotSources ownSources();

/// The tree is the folder of the program or the one around that, whichever has the portable installation's file.
InstallationSnapshot takeInstallationSnapshot(const SnapshotSources& sources);

} // namespace ovrel
