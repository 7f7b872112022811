/// \file engine_state.h
/// What the engine remembers between two runs, apart from the user's preferences.
#pragma once

#include <QString>

namespace ovrel {

/// One small file, read anew at each question, since several instances of the program share it. A file that is absent,
/// damaged, too large or of a later format counts as empty. Each change replaces the file as a whole, readable by the
/// user alone, and waits up to a second for that of another instance; a change that cannot be written is lost. One
/// thread at a time.
class EngineState {
public:
    /// "ovrel/updates.json" in the folder for state (XDG Base Directory Specification 0.8): $XDG_STATE_HOME, or
    /// ~/.local/state where that names no absolute path.
    static QString defaultFile();

    /// \param file its folder is made when something is written
    explicit EngineState(QString file = defaultFile());

    /// Up to this version, the user wants to hear of none. \return empty for no version
    QString skippedVersion() const;
    /// The newest that ever ran healthily from this folder; a user may have several installations.
    /// \return empty for no version
    QString highestVersion(const QString& installation) const;
    /// Was installed and did not start. \return empty for no version
    QString failedVersion() const;

    // Each returns whether it is on the disk.
    [[nodiscard]] bool skip(const QString& version) const;
    [[nodiscard]] bool forgetSkipped() const;
    /// Older versions than the highest are not recorded. Forgets folders that are gone.
    /// \param installation the folder, an absolute path
    [[nodiscard]] bool recordInstalled(const QString& installation, const QString& version) const;
    [[nodiscard]] bool recordFailed(const QString& version) const;

private:
    QString file_;
};

} // namespace ovrel
