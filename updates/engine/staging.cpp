#include "updates/engine/staging.h"

#include "updates/engine/directory_walk.h"
#include "updates/framework/update_error.h"

#include <array>
#include <exception>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sodium.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace ovrel {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t randomBytes = 16;
constexpr int attempts = 8;
constexpr const char* lockName = "lock";
constexpr const char* treeName = "tree";

[[noreturn]] void fail() {
    throw UpdateError(SUError::temporaryDirectory,
                      QStringLiteral("Рядом с папкой программы не удалось создать временную папку для обновления."),
                      QStringLiteral("No temporary folder for the update could be made beside the program's folder."));
}

std::string prefixFor(const fs::path& installation) {
    return "." + installation.filename().native() + "-update-";
}

std::string randomText() {
    std::array<unsigned char, randomBytes> bytes{};
    std::array<char, 2 * randomBytes + 1> text{};
    if (::sodium_init() < 0) {
        fail();
    }
    ::randombytes_buf(bytes.data(), bytes.size());
    return ::sodium_bin2hex(text.data(), text.size(), bytes.data(), bytes.size());
}

bool isStagingName(std::string_view name, std::string_view prefix) {
    return name.starts_with(prefix) && name.size() == prefix.size() + 2 * randomBytes &&
           name.find_first_not_of("0123456789abcdef", prefix.size()) == std::string_view::npos;
}

FileDescriptor openParent(const fs::path& installation) {
    return FileDescriptor(::open(installation.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

/// Whether this is the user's own folder, and nobody else's to enter.
bool isPrivate(const struct stat& folder) {
    return S_ISDIR(folder.st_mode) && folder.st_uid == ::geteuid() && (folder.st_mode & 07777) == 0700;
}

bool isUnused(int directory, std::chrono::system_clock::time_point now) {
    struct stat facts {};
    if (::fstat(directory, &facts) != 0 || !isPrivate(facts)) {
        return false;
    }
    const FileDescriptor lock(::openat(directory, lockName, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!lock) {
        const auto changed = std::chrono::system_clock::from_time_t(facts.st_mtim.tv_sec);
        return errno == ENOENT && now - changed > unlockedStagingLife;
    }
    // The file goes before its lock is given back, so its maker, if he comes late, finds that he locked nothing.
    return ::flock(lock.get(), LOCK_EX | LOCK_NB) == 0 && ::unlinkat(directory, lockName, 0) == 0;
}

} // namespace

Staging Staging::create(const fs::path& installation) {
    if (!installation.has_filename()) {
        fail();
    }
    for (int attempt = 0; attempt < attempts; ++attempt) {
        Staging staging;
        staging.parent_ = openParent(installation);
        struct stat installed {};
        struct stat made {};
        const std::string name = prefixFor(installation) + randomText();
        if (!staging.parent_ || ::lstat(installation.c_str(), &installed) != 0 ||
            ::mkdirat(staging.parent_.get(), name.c_str(), 0700) != 0) {
            fail();
        }
        staging.name_ = name;
        staging.path_ = installation.parent_path() / name;
        staging.directory_ = openDirectoryIn(staging.parent_.get(), name);
        // The parent's set-group-ID bit is inherited, and a mask may have taken the owner's rights.
        if (!staging.directory_ || ::fchmod(staging.directory_.get(), 0700) != 0 ||
            ::fstat(staging.directory_.get(), &made) != 0 || !isPrivate(made) || made.st_dev != installed.st_dev) {
            fail();
        }
        if (staging.prepare()) {
            return staging;
        }
    }
    fail();
}

bool Staging::prepare() {
    lock_ =
        FileDescriptor(::openat(directory_.get(), lockName, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!lock_) {
        if (errno == ENOENT) {
            return false;
        }
        fail();
    }
    struct stat facts {};
    if (::flock(lock_.get(), LOCK_EX | LOCK_NB) != 0 || ::fstat(lock_.get(), &facts) != 0 || facts.st_nlink != 1) {
        return false;
    }
    if (::mkdirat(directory_.get(), treeName, 0700) != 0) {
        fail();
    }
    tree_ = openDirectoryIn(directory_.get(), treeName);
    if (!tree_) {
        fail();
    }
    return true;
}

void Staging::remove() noexcept {
    if (!name_.empty()) {
        removeDirectory(parent_.get(), name_, directory_.get());
        name_.clear();
    }
}

Staging& Staging::operator=(Staging&& other) noexcept {
    if (this != &other) {
        remove();
        path_ = std::move(other.path_);
        name_ = std::exchange(other.name_, {});
        parent_ = std::move(other.parent_);
        directory_ = std::move(other.directory_);
        lock_ = std::move(other.lock_);
        tree_ = std::move(other.tree_);
    }
    return *this;
}

void removeStaleStaging(const fs::path& installation, std::chrono::system_clock::time_point now) {
    const FileDescriptor parent = openParent(installation);
    if (!parent) {
        return;
    }
    try {
        const std::string prefix = prefixFor(installation);
        for (const std::string& name : namesIn(parent.get())) {
            if (!isStagingName(name, prefix)) {
                continue;
            }
            const FileDescriptor directory = openDirectoryIn(parent.get(), name);
            if (directory && isUnused(directory.get(), now)) {
                removeDirectory(parent.get(), name, directory.get());
            }
        }
    } catch (const std::exception&) {
        return; // a folder that cannot be read now will be at another start
    }
}

} // namespace ovrel
