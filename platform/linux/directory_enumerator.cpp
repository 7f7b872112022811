#include "platform/linux/directory_enumerator.h"

#include "platform/linux/file_descriptor.h"
#include "platform/linux/resource_values.h"

#include <cerrno>
#include <string>
#include <utility>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace ovrel {

namespace {

struct CloseDirectory {
    void operator()(DIR* directory) const { ::closedir(directory); }
};
using Directory = std::unique_ptr<DIR, CloseDirectory>;

/// A folder on the way from the walked one down. Device and inode recognise it when a mount leads back to it.
struct Folder {
    std::filesystem::path path;
    std::shared_ptr<const Folder> parent; ///< null for the walked folder
    dev_t device = 0;
    ino_t inode = 0;
};

bool isBelowItself(const Folder& folder) {
    for (const Folder* above = folder.parent.get(); above != nullptr; above = above->parent.get()) {
        if (above->device == folder.device && above->inode == folder.inode) {
            return true;
        }
    }
    return false;
}

/// \return null and errno when the folder cannot be read; a link is none
Directory open(const std::string& path, Folder& folder) {
    FileDescriptor descriptor(
        uninterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); }));
    struct stat facts {};
    if (!descriptor || ::fstat(descriptor.get(), &facts) != 0) {
        return nullptr;
    }
    folder.device = facts.st_dev;
    folder.inode = facts.st_ino;
    Directory directory(::fdopendir(descriptor.get()));
    if (directory) {
        descriptor.release();
    }
    return directory;
}

class Walk final : public DirectoryEnumerator {
public:
    Walk(Directory directory, std::shared_ptr<const Folder> folder, bool recursive)
        : directory_(std::move(directory)), folder_(std::move(folder)), recursive_(recursive) {}

    std::optional<Entry> next() override {
        while (directory_ || openWaiting()) {
            errno = 0;
            const dirent* found = ::readdir(directory_.get());
            if (found == nullptr) {
                const int systemError = errno;
                directory_.reset();
                if (systemError != 0) {
                    fail(systemError, folder_->path);
                }
            } else if (found->d_name[0] != '.') {
                return entryOf(*found);
            }
        }
        return std::nullopt;
    }

private:
    struct Waiting {
        std::filesystem::path path;
        std::shared_ptr<const Folder> parent;
    };

    Entry entryOf(const dirent& found) {
        Entry entry{folder_->path / found.d_name, {}};
        const mode_t type = entryType(::dirfd(directory_.get()), found.d_name, found.d_type);
        if (type == 0) {
            fail(errno, entry.path);
        }
        entry.values = resourceValuesOf(type);
        if (recursive_ && entry.values.isDirectory && !isPackageName(found.d_name)) {
            waiting_.push_back({entry.path, folder_});
        }
        return entry;
    }

    /// \return whether there was a folder left to walk
    bool openWaiting() {
        while (!waiting_.empty()) {
            Folder folder{std::move(waiting_.back().path), std::move(waiting_.back().parent)};
            waiting_.pop_back();
            Directory directory = open(folder.path.native(), folder);
            if (!directory) {
                fail(errno, folder.path);
            }
            if (!isBelowItself(folder)) {
                directory_ = std::move(directory);
                folder_ = std::make_shared<const Folder>(std::move(folder));
                return true;
            }
        }
        return false;
    }

    [[noreturn]] void fail(int systemError, std::filesystem::path path) {
        directory_.reset();
        waiting_.clear();
        throw FileError::fromSystem(systemError, FileOperation::reading, std::move(path));
    }

    Directory directory_; ///< the folder in hand, null between folders
    std::shared_ptr<const Folder> folder_;
    std::vector<Waiting> waiting_;
    bool recursive_;
};

} // namespace

std::unique_ptr<DirectoryEnumerator> openDirectory(const std::filesystem::path& folder, bool recursive) {
    auto root = std::make_shared<Folder>();
    root->path = folder;
    Directory directory = open(withoutTrailingSlashes(folder), *root);
    if (!directory) {
        return nullptr;
    }
    return std::make_unique<Walk>(std::move(directory), std::move(root), recursive);
}

mode_t entryType(int directory, const char* name, unsigned char type) {
    if (type != DT_UNKNOWN) {
        return static_cast<mode_t>(DTTOIF(type));
    }
    struct stat facts {};
    return ::fstatat(directory, name, &facts, AT_SYMLINK_NOFOLLOW) == 0 ? facts.st_mode & S_IFMT : 0;
}

} // namespace ovrel
