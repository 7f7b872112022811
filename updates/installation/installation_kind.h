/// \file installation_kind.h
/// Who may change an installation: itself, or only whoever has installed it.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace ovrel {

enum class InstallationKind {
    portable,    ///< the user's own folder, unpacked from an archive: it may update itself
    managed,     ///< a package manager, an administrator or another user keeps it
    notWritable, ///< a portable one in a place that we cannot or must not write to
    unknown,     ///< nobody says; to be treated as managed
};

/// Owner and rights of a file or folder.
struct FileFacts {
    bool exists = false;
    unsigned owner = 0;
    unsigned group = 0;
    unsigned mode = 0;       ///< permission bits, as in chmod(2)
    bool accessList = false; ///< an access control list adds to the mode
    bool readOnlyMount = false;
};

/// All that the kind depends on.
struct InstallationSnapshot {
    std::string packager = {};                      ///< compiled in; empty when this build may update itself
    std::optional<std::string> packagerMarker = {}; ///< first line of the packager's file, if there is one
    bool inFlatpak = false;
    bool inSnap = false;
    std::filesystem::path program;        ///< absolute, without symbolic links; empty when it could not be found out
    std::filesystem::path tree = {};      ///< folder with the portable installation's file; empty without one
    std::string portableApplication = {}; ///< first line of that file
    FileFacts programFacts;
    FileFacts folderFacts = {};    ///< of the folder with the program
    FileFacts installerFacts = {}; ///< of the program that replaces the installation; there may be none
    FileFacts treeFacts = {};
    FileFacts parentFacts = {};       ///< of the folder around the tree
    unsigned user = 0;                ///< the effective one
    bool elevated = false;            ///< root, or with more rights than the user who started it
    std::optional<unsigned> ownGroup; ///< the user's primary group when it has no other member
};

struct InstallationVerdict {
    InstallationKind kind = InstallationKind::unknown;
    std::string managedBy; ///< a name to show, for kind `managed`; empty when nobody says
    std::string reason;    ///< one English sentence without a full stop, for a log

    bool mayUpdateItself() const { return kind == InstallationKind::portable; }
};

/// \param application the identifier that a portable installation of this program names
InstallationVerdict judgeInstallation(const InstallationSnapshot& snapshot, const std::string& application);

} // namespace ovrel
