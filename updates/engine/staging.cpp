#include "updates/engine/staging.h"

#include "updates/installation/installed_layout.h"
#include "updates/installation/journal.h"
#include "updates/installation/open_folder.h"
#include "updates/installation/tree_mark.h"
#include "updates/installation/tree_removal.h"

#include <optional>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ovrel {

namespace {

constexpr mode_t ownerOnly = 0700;

bool isStagingName(const InstallationPlace& place, const std::string& name) {
    const std::string prefix = place.stagingPrefix();
    return name.starts_with(prefix) && isToken(name.substr(prefix.size()));
}

std::string newName(const InstallationPlace& place) {
    try {
        return place.stagingPrefix() + newToken();
    } catch (const std::system_error&) {
        throw stagingError();
    }
}

/// Whether this is the user's own folder, and nobody else's to enter.
bool isPrivate(int folder) {
    constexpr mode_t rights = 07777;
    struct stat facts {};
    return ::fstat(folder, &facts) == 0 && S_ISDIR(facts.st_mode) && facts.st_uid == ::geteuid() &&
           (facts.st_mode & rights) == ownerOnly;
}

} // namespace

Staging Staging::create(const InstallationPlace& place) {
    Staging staging;
    const std::string name = newName(place);
    const std::optional<FileIdentity> installed = identityOf(place.parent(), place.name());
    staging.parent_ = openFolder(place.parent(), ".");
    if (!installed || !staging.parent_ || ::mkdirat(staging.parent_.get(), name.c_str(), ownerOnly) != 0) {
        throw stagingError();
    }
    staging.name_ = name;
    staging.directory_ = openFolder(staging.parent_.get(), name);
    const int directory = staging.directory_.get();
    // The parent's set-group-ID bit is inherited, and a mask may have taken the owner's rights.
    if (!staging.directory_ || ::fchmod(directory, ownerOnly) != 0 || !isPrivate(directory)) {
        throw stagingError();
    }
    const std::optional<FileIdentity> made = identityOf(directory);
    if (!made || made->device != installed->device || ::mkdirat(directory, stagedTreeFolder, ownerOnly) != 0) {
        throw stagingError();
    }
    staging.tree_ = openFolder(directory, stagedTreeFolder);
    if (!staging.tree_) {
        throw stagingError();
    }
    return staging;
}

void Staging::remove() noexcept {
    if (!name_.empty()) {
        static_cast<void>(removeTree(parent_.get(), name_, directory_.get()));
        name_.clear();
    }
}

Staging& Staging::operator=(Staging&& other) noexcept {
    if (this != &other) {
        remove();
        name_ = std::exchange(other.name_, {});
        parent_ = std::move(other.parent_);
        directory_ = std::move(other.directory_);
        tree_ = std::move(other.tree_);
    }
    return *this;
}

void removeStaleStaging(const InstallationPlace& place, const UpdateLock& /*lock*/) {
    try {
        const std::optional<Journal> journal = readJournal(place);
        for (const std::string& name : namesIn(place.parent())) {
            if (!isStagingName(place, name) || (journal && journal->staging == name)) {
                continue;
            }
            const FileDescriptor folder = openFolder(place.parent(), name);
            if (folder && isPrivate(folder.get())) {
                static_cast<void>(removeTree(place.parent(), name, folder.get()));
            }
        }
    } catch (const std::system_error&) {
        return; // what cannot be read now will be at another start
    }
}

UpdateError stagingError() {
    return {SUError::temporaryDirectory, QStringLiteral("Рядом с программой не удалось создать временную папку."),
            QStringLiteral("A temporary folder could not be made beside the program.")};
}

} // namespace ovrel
