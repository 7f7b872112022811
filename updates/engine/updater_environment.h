/// \file updater_environment.h
/// What the updater has to know of the program and the computer.
#pragma once

#include "model/app_language.h"
#include "updates/engine/engine_state.h"
#include "updates/engine/machine.h"
#include "updates/engine/portable_start.h"
#include "updates/engine/public_key.h"
#include "updates/installation/file_identity.h"
#include "updates/installation/installation_kind.h"

#include <QString>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace ovrel {

/// A value, made once at the start of the updater.
struct UpdaterEnvironment {
    QString application;                  ///< the identifier that manifests name
    QString version;                      ///< of the running program
    std::function<PublicKey()> publicKey; ///< throws UpdateError in a build that cannot update itself
    Machine machine;                      ///< what releases have to fit
    EngineState state;                    ///< what is remembered
    InstallationVerdict installation;     ///< who may change the program's folder
    std::filesystem::path directory;      ///< the program's folder where the installation is portable
    FileIdentity tree;                    ///< that folder itself, whatever its name is by now

    /// The newest version that ever ran from the folder. \return empty for no version
    QString highestVersion() const;

    std::vector<std::string> startEnvironment;                    ///< for the next start, as this one found it
    std::function<AppLanguage()> language;                        ///< in which feeds are read
    std::function<void()> quit;                                   ///< asks the program to end
    std::chrono::milliseconds silence = std::chrono::seconds(30); ///< how long a server may say nothing
};

/// Of the program that has begun so.
UpdaterEnvironment environmentOf(const PortableStart& start);

} // namespace ovrel
