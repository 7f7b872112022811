#include "updates/installation/tree_removal.h"

#include "updates/installation/file_identity.h"
#include "updates/installation/tree_mark.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ovrel {

namespace {

constexpr std::size_t limitListBytes = 4U << 20U;
constexpr std::size_t limitReportedFiles = 1000;
constexpr int limitDepth = 64; // each level holds two descriptors

struct CloseFolder {
    void operator()(DIR* folder) const { static_cast<void>(::closedir(folder)); }
};

struct Entry {
    std::string name;
    bool isFolder = false;
    bool sameVolume = false;
};

std::vector<Entry> entriesOf(int folder) {
    std::vector<Entry> entries;
    OwnedDescriptor again = openFolder(folder, ".");
    const std::unique_ptr<DIR, CloseFolder> stream(again ? ::fdopendir(again.get()) : nullptr);
    const std::optional<FileIdentity> self = identityOf(folder);
    if (!stream || !self) {
        return entries;
    }
    static_cast<void>(again.release());
    while (const dirent* found = ::readdir(stream.get())) {
        Entry entry{.name = found->d_name};
        struct stat facts = {};
        if (!isPlainName(entry.name) || ::fstatat(folder, entry.name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0) {
            continue;
        }
        entry.isFolder = S_ISDIR(facts.st_mode);
        entry.sameVolume = facts.st_dev == self->device;
        entries.push_back(std::move(entry));
    }
    return entries;
}

/// Removes the files of a tree that `mayGo`, and the folders that are empty then.
class Remover {
public:
    using Decision = std::function<bool(const std::string& path)>;

    explicit Remover(Decision mayGo) : mayGo_(std::move(mayGo)) {}

    /// \return whether the folder is gone
    bool removeFolder(int parent, const std::string& name, const std::string& prefix, int depth = 0) {
        const OwnedDescriptor folder = openFolder(parent, name);
        if (!folder || depth > limitDepth) {
            kept_.push_back(prefix);
            return false;
        }
        // Trees may hold folders without the right to write; they are the user's own, so a failure shows below.
        static_cast<void>(::fchmod(folder.get(), S_IRWXU));
        bool isEmpty = true;
        for (const Entry& entry : entriesOf(folder.get())) {
            isEmpty = removeEntry(folder.get(), entry, prefix, depth) && isEmpty;
        }
        return isEmpty && unlink(parent, name, AT_REMOVEDIR);
    }

    std::vector<std::string> kept() && { return std::move(kept_); }
    int error() const { return error_; }

private:
    bool removeEntry(int folder, const Entry& entry, const std::string& prefix, int depth) {
        const std::string path = prefix.empty() ? entry.name : prefix + "/" + entry.name;
        if (entry.isFolder && entry.sameVolume) {
            return removeFolder(folder, entry.name, path, depth + 1);
        }
        if (entry.isFolder || !mayGo_(path)) {
            kept_.push_back(path);
            return false;
        }
        return unlink(folder, entry.name, 0);
    }

    bool unlink(int folder, const std::string& name, int flags) {
        if (::unlinkat(folder, name.c_str(), flags) == 0 || errno == ENOENT) {
            return true;
        }
        error_ = errno;
        return false;
    }

    Decision mayGo_;
    std::vector<std::string> kept_;
    int error_ = 0;
};

std::optional<std::string> readList(int tree) {
    const OwnedDescriptor file(::openat(tree, installedFilesName, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat facts = {};
    if (!file || ::fstat(file.get(), &facts) != 0 || !S_ISREG(facts.st_mode) || facts.st_size < 0 ||
        static_cast<std::size_t>(facts.st_size) > limitListBytes) {
        return std::nullopt;
    }
    std::string text(static_cast<std::size_t>(facts.st_size), '\0');
    std::size_t filled = 0;
    while (filled < text.size()) {
        const ssize_t count = ::read(file.get(), text.data() + filled, text.size() - filled);
        if (count <= 0) {
            return std::nullopt;
        }
        filled += static_cast<std::size_t>(count);
    }
    return text;
}

std::set<std::string> linesOf(const std::string& text) {
    std::set<std::string> lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        lines.insert(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

std::string keepUnderFreeName(TreeCalls& calls, int parent, const std::string& name, const std::string& keptName) {
    constexpr int limitNumber = 1000;
    for (int number = 1; number <= limitNumber; ++number) {
        std::string wanted = number == 1 ? keptName : keptName + "-" + std::to_string(number);
        const int error = calls.move(parent, name, parent, wanted);
        if (error == 0) {
            return wanted;
        }
        if (error != EEXIST && error != ENOTEMPTY) {
            require(error, "cannot keep the user's files");
        }
    }
    throw std::system_error(EEXIST, std::generic_category(), "cannot keep the user's files");
}

} // namespace

KeptFiles removeInstalledTree(TreeCalls& calls, int parent, const std::string& name, const std::string& keptName) {
    const OwnedDescriptor tree = openFolder(parent, name);
    if (!tree) {
        return {};
    }
    // The list goes last: what a power cut has left can be told apart again.
    std::set<std::string> known = linesOf(readList(tree.get()).value_or(""));
    const bool listed = known.erase(installedFilesName) != 0;
    if (listed) {
        known.insert(treeMarkName);
    }
    Remover remover([&](const std::string& path) { return known.contains(path); });
    static_cast<void>(remover.removeFolder(parent, name, ""));
    require(remover.error() == ENOTEMPTY ? 0 : remover.error(), "cannot remove a tree");
    std::vector<std::string> kept = std::move(remover).kept();
    if (listed) {
        std::erase(kept, std::string(installedFilesName));
        static_cast<void>(calls.remove(tree.get(), installedFilesName));
        if (::unlinkat(parent, name.c_str(), AT_REMOVEDIR) == 0) {
            return {};
        }
    }
    std::sort(kept.begin(), kept.end());
    kept.resize(std::min(kept.size(), limitReportedFiles));
    return {.folder = keepUnderFreeName(calls, parent, name, keptName), .files = std::move(kept)};
}

bool removeTree(int parent, const std::string& name) {
    if (!identityOf(parent, name)) {
        return true;
    }
    return Remover([](const std::string&) { return true; }).removeFolder(parent, name, "");
}

} // namespace ovrel
