/// \file installation_place.h
/// Where an installation lies, and the names of what an update puts beside it.
#pragma once

#include "platform/linux/file_descriptor.h"
#include "updates/installation/file_identity.h"

#include <filesystem>
#include <string>

namespace ovrel {

/// The folder around an installation, held open, and the installation's name in it. All that an update writes outside
/// of its private folder are hidden neighbours of the installation.
class InstallationPlace {
public:
    /// \param tree the installation's folder, absolute and without symbolic links, as /proc/self/exe gives it. One that
    ///        an interrupted update has left under the name of the previous tree stands for the installation itself
    /// Throws std::system_error when the folder around it cannot be opened.
    explicit InstallationPlace(const std::filesystem::path& tree);
    InstallationPlace(FileDescriptor parent, std::string name);

    int parent() const { return parent_.get(); }
    const std::string& name() const { return name_; }

    /// The tree that was replaced, until the new one has started healthily.
    std::string previousName() const { return "." + name_ + "-previous"; }
    /// The tree that was taken back because it did not start.
    std::string failedName() const { return "." + name_ + "-failed"; }
    std::string journalName() const { return "." + name_ + "-journal"; }
    /// Locked by an update at work and by every window of the installation; never removed.
    std::string lockName() const { return "." + name_ + "-lock"; }
    /// How the names of private folders of updates begin.
    std::string stagingPrefix() const { return "." + name_ + "-update-"; }

private:
    FileDescriptor parent_;
    std::string name_;
};

} // namespace ovrel
