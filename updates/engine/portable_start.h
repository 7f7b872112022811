/// \file portable_start.h
/// What a program of a portable installation does at its start because of updates before it.
#pragma once

#include "updates/engine/engine_state.h"
#include "updates/installation/installation_kind.h"
#include "updates/installation/installation_place.h"
#include "updates/installation/instance_lock.h"

#include <QString>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace ovrel {

/// Made by main() and held as long as the program runs; there is one. Of an installation that others manage it knows
/// only that, and touches nothing.
class PortableStart {
public:
    /// To be called before anything of the installation is loaded: an update that was interrupted is ended first. Where
    /// another tree stands in the installation's place afterwards, the program there is started instead and this does
    /// not return.
    /// \param application the identifier that a portable installation of this program names
    /// \param arguments of main()
    PortableStart(const std::string& application, char** arguments);
    ~PortableStart();
    PortableStart(const PortableStart&) = delete;
    PortableStart& operator=(const PortableStart&) = delete;

    /// \return null in a program that has none
    static PortableStart* ofThisProgram();

    const InstallationVerdict& installation() const { return installation_; }

    /// The option that the program is started with after an update; its value is the version.
    static QString relaunchedOption();

    /// The installation's folder; empty unless it is portable.
    const std::filesystem::path& directory() const { return directory_; }

    /// The installation's folder itself, whatever its name is by now; of no folder unless it is portable.
    const FileIdentity& tree() const { return tree_; }

    /// The environment as this program found it.
    const std::vector<std::string>& environment() const { return environment_; }

    /// Has the engine remember a version that did not start. Called by main() before an updater is made.
    void remember(const EngineState& state);

    /// To be called once the main window has been shown and the program has lived on: this version stays, counts as
    /// installed, and the one before it goes. Takes as long as the removal of a tree; any thread.
    void confirmHealthy(const EngineState& state, const QString& version) const;

    /// To be called by a program that ends by itself without a window, because it was asked for words alone or has
    /// handed its files over, or whose user leaves at once: this start is no sign that its version fails.
    void disregard() const;

private:
    /// \param program its path in the installation's folder
    void recover(const std::filesystem::path& program, char** arguments);

    std::vector<std::string> environment_;
    InstallationVerdict installation_;
    std::filesystem::path directory_;
    FileIdentity tree_;
    std::optional<InstallationPlace> place_;
    std::optional<InstanceLock> instance_;
    std::optional<std::string> failedVersion_;
    bool counted_ = false; ///< this start may take its version back, unless it turns out well
};

} // namespace ovrel
