/// \file played_installation.h
/// An installation of a real program on the disk, an update to it, and the processes of both.
#pragma once

#include "platform/linux/file_descriptor.h"
#include "tests/support/temporary_folder.h"
#include "updates/installation/installation_place.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace ovrel::test {

/// How a program was started, in its own words: pairs of a keyword and what follows it, in the order of writing.
struct PlayedStart {
    std::vector<std::pair<std::string, std::string>> facts;

    /// All that follows a keyword.
    std::vector<std::string> all(const std::string& keyword) const;
    /// What follows it once; empty where it is missing.
    std::string one(const std::string& keyword) const;
};

/// A program that was started by the test.
class PlayedProcess {
public:
    /// Waits until the program has said its word to the installer. \return whether an installer heard it
    bool hasSpoken();
    /// Lets the program end, which waits for that.
    void quit() { input_.close(); }

    pid_t process = -1;

private:
    friend class PlayedInstallation;
    FileDescriptor input_;
    FileDescriptor output_;
};

/// "ovrel" of version 2.3, with a verified update to 2.4 beside it.
class PlayedInstallation {
public:
    static constexpr const char* staging = ".ovrel-update-a1b2";

    /// \param installer path of the installer program that version 2.3 has
    /// \param behaviour of version 2.4; empty: it starts healthily and ends
    explicit PlayedInstallation(const std::string& installer, const std::string& behaviour = "");

    std::filesystem::path parent() const { return folder_ / "apps"; }
    std::filesystem::path tree() const { return parent() / "ovrel"; }
    std::filesystem::path previous() const { return parent() / ".ovrel-previous"; }
    std::filesystem::path stagingFolder() const { return parent() / staging; }
    std::filesystem::path home() const { return folder_ / "home"; }
    InstallationPlace place() const { return InstallationPlace(tree()); }

    /// Starts the program in place as its user would; where none is in place, the previous one.
    /// \param story what it shall do with the update (played_program.cpp); empty: nothing
    /// \param variables further entries of its environment
    PlayedProcess start(const std::string& story = "", const std::vector<std::string>& variables = {});

    /// The same, and waits until all processes have ended.
    void playToTheEnd(const std::string& story = "");

    /// All starts so far, the first one first.
    std::vector<PlayedStart> starts() const;
    /// Their versions.
    std::vector<std::string> startedVersions() const;

    /// \return the version of a complete tree, "incomplete", or "none"
    static std::string versionAt(const std::filesystem::path& tree);

private:
    TemporaryFolder folder_;
};

/// Waits until every process that this one has started, and all that came from those, have ended.
void waitForAllProcesses();

} // namespace ovrel::test
