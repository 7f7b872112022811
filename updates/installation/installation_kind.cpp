#include "updates/installation/installation_kind.h"

#include <array>
#include <string_view>

namespace ovrel {

namespace {

constexpr unsigned ownerMayChange = 0300;
constexpr unsigned groupMayWrite = 0020;
constexpr unsigned othersMayWrite = 0002;

struct ManagedFolder {
    std::string_view path;
    std::string_view manager;
};

constexpr std::array<ManagedFolder, 5> managedFolders = {{
    {"/usr/", ""},
    {"/nix/store/", "Nix"},
    {"/gnu/store/", "Guix"},
    {"/snap/", "Snap"},
    {"/app/", "Flatpak"},
}};

InstallationVerdict managed(std::string_view by, std::string reason) {
    return {.kind = InstallationKind::managed, .managedBy = std::string(by), .reason = std::move(reason)};
}

InstallationVerdict notWritable(std::string reason) {
    return {.kind = InstallationKind::notWritable, .managedBy = {}, .reason = std::move(reason)};
}

InstallationVerdict unknown(std::string reason) {
    return {.kind = InstallationKind::unknown, .managedBy = {}, .reason = std::move(reason)};
}

/// What a packager or a store says, by whatever means.
std::optional<InstallationVerdict> judgeMarkers(const InstallationSnapshot& snapshot) {
    if (!snapshot.packager.empty()) {
        return managed(snapshot.packager, "the build says that a packager updates it");
    }
    if (snapshot.packagerMarker) {
        return managed(*snapshot.packagerMarker, "a file beside the program says that a packager updates it");
    }
    if (snapshot.inFlatpak) {
        return managed("Flatpak", "the program runs in a Flatpak");
    }
    if (snapshot.inSnap) {
        return managed("Snap", "the program runs in a Snap");
    }
    return std::nullopt;
}

std::optional<InstallationVerdict> judgePlace(const InstallationSnapshot& snapshot) {
    for (const ManagedFolder& folder : managedFolders) {
        if (snapshot.program.native().starts_with(folder.path)) {
            return managed(folder.manager, "the program lies below " + std::string(folder.path));
        }
    }
    return std::nullopt;
}

std::optional<InstallationVerdict> judgeOwners(const InstallationSnapshot& snapshot) {
    if (snapshot.elevated) {
        return managed("", "the program runs with more rights than a user's");
    }
    if (snapshot.programFacts.owner != snapshot.user) {
        return managed("", "the program belongs to another user");
    }
    for (const FileFacts* facts : {&snapshot.folderFacts, &snapshot.installerFacts, &snapshot.treeFacts}) {
        if (facts->exists && facts->owner != snapshot.user) {
            return managed("", "a folder of the program, or its installer, belongs to another user");
        }
    }
    return std::nullopt;
}

/// Who else can write into a folder can put another program into it between two steps of ours. Many systems let the
/// user's own group write, which has no other member; with an access list the group's bits mean others, too.
bool othersCanWrite(const FileFacts& facts, const std::optional<unsigned>& ownGroup) {
    const bool byGroup = (facts.mode & groupMayWrite) != 0 && (facts.group != ownGroup || facts.accessList);
    return byGroup || (facts.mode & othersMayWrite) != 0;
}

std::optional<InstallationVerdict> judgeRights(const InstallationSnapshot& snapshot) {
    if (snapshot.programFacts.readOnlyMount || snapshot.treeFacts.readOnlyMount || snapshot.parentFacts.readOnlyMount) {
        return notWritable("the program lies on a volume that cannot be written to");
    }
    if (snapshot.parentFacts.owner != snapshot.user) {
        return notWritable("the folder around the program's belongs to another user");
    }
    if ((snapshot.treeFacts.mode & ownerMayChange) != ownerMayChange ||
        (snapshot.parentFacts.mode & ownerMayChange) != ownerMayChange) {
        return notWritable("the folder of the program, or the one around it, cannot be written to");
    }
    for (const FileFacts* facts : {&snapshot.programFacts, &snapshot.folderFacts, &snapshot.installerFacts,
                                   &snapshot.treeFacts, &snapshot.parentFacts}) {
        if (othersCanWrite(*facts, snapshot.ownGroup)) {
            return notWritable("other users can write to the program, its installer or a folder around them");
        }
    }
    return std::nullopt;
}

} // namespace

InstallationVerdict judgeInstallation(const InstallationSnapshot& snapshot, const std::string& application) {
    if (auto verdict = judgeMarkers(snapshot)) {
        return *verdict;
    }
    if (!snapshot.program.is_absolute() || !snapshot.programFacts.exists) {
        return unknown("it cannot be found out where the program lies");
    }
    if (auto verdict = judgePlace(snapshot)) {
        return *verdict;
    }
    if (auto verdict = judgeOwners(snapshot)) {
        return *verdict;
    }
    if (snapshot.tree.empty() || !snapshot.treeFacts.exists || !snapshot.parentFacts.exists) {
        return unknown("no file says that this is a portable installation");
    }
    if (snapshot.portableApplication != application) {
        return unknown("the portable installation is another application's");
    }
    if (auto verdict = judgeRights(snapshot)) {
        return *verdict;
    }
    return {.kind = InstallationKind::portable, .managedBy = {}, .reason = "a portable installation of the user's own"};
}

} // namespace ovrel
