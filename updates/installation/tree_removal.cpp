#include "updates/installation/tree_removal.h"

#include "updates/installation/file_identity.h"
#include "updates/installation/installed_layout.h"
#include "updates/installation/open_folder.h"
#include "updates/installation/read_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <exception>
#include <functional>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ovrel {

namespace {

constexpr std::size_t limitListBytes = 4U << 20U;
constexpr std::size_t limitReportedFiles = 1000;
constexpr int limitDepth = 128; // each level holds a descriptor, and no tree of ours comes near it

/// Removes the files of a tree that `mayGo`, and the folders that are empty then.
class Remover {
public:
    using Decision = std::function<bool(const std::string& path)>;

    /// \param folder what stands at `name` in `parent`, open; outlives this
    Remover(int parent, std::string name, int folder, Decision mayGo)
        : parent_(parent)
        , name_(std::move(name))
        , folder_(folder)
        , volume_(identityOf(folder).value_or(FileIdentity()).device)
        , mayGo_(std::move(mayGo)) {}

    /// \return whether the folder is gone
    bool remove() { return empty(folder_, "", 0) && unlink(parent_, name_, AT_REMOVEDIR); }

    std::vector<std::string> kept() && { return std::move(kept_); }
    int error() const { return error_; }

private:
    /// \return whether nothing is in the folder any more
    bool empty(int folder, const std::string& path, int depth) {
        if (depth > limitDepth) {
            return keep(path);
        }
        // Trees may hold folders without the right to write; they are the user's own, so a failure shows below.
        static_cast<void>(::fchmod(folder, S_IRWXU));
        std::vector<std::string> names;
        try {
            names = namesIn(folder);
        } catch (const std::system_error&) {
            return keep(path);
        }
        bool isEmpty = true;
        for (const std::string& name : names) {
            isEmpty = removeEntry(folder, name, inFolder(path, name), depth) && isEmpty;
        }
        return isEmpty;
    }

    bool removeEntry(int parent, const std::string& name, const std::string& path, int depth) {
        const std::optional<FileIdentity> identity = identityOf(parent, name);
        if (!identity) {
            return mayGo_(path) ? unlink(parent, name, 0) : keep(path);
        }
        const FileDescriptor folder = openFolder(parent, name);
        if (!folder || identity->device != volume_ || identityOf(folder.get()) != identity) {
            return keep(path);
        }
        return empty(folder.get(), path, depth + 1) && unlink(parent, name, AT_REMOVEDIR);
    }

    static std::string inFolder(std::string path, const std::string& name) {
        if (!path.empty()) {
            path += '/';
        }
        return path += name;
    }

    bool keep(const std::string& path) {
        kept_.push_back(path);
        return false;
    }

    bool unlink(int parent, const std::string& name, int flags) {
        if (::unlinkat(parent, name.c_str(), flags) == 0 || errno == ENOENT) {
            return true;
        }
        error_ = errno;
        return false;
    }

    int parent_;
    std::string name_;
    int folder_;
    std::uint64_t volume_;
    Decision mayGo_;
    std::vector<std::string> kept_;
    int error_ = 0;
};

std::optional<std::string> readList(int tree) {
    const FileDescriptor file(::openat(tree, installedFilesName, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat facts = {};
    if (!file || ::fstat(file.get(), &facts) != 0 || !S_ISREG(facts.st_mode)) {
        return std::nullopt;
    }
    return readWhole(file.get(), limitListBytes);
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
    const FileDescriptor tree = openFolder(parent, name);
    if (!tree) {
        return {};
    }
    // The list goes last: what a power cut has left can be told apart again.
    std::set<std::string> known = linesOf(readList(tree.get()).value_or(""));
    const bool listed = known.erase(installedFilesName) != 0;
    if (listed) {
        known.insert(treeMarkName);
    }
    Remover remover(parent, name, tree.get(), [&](const std::string& path) { return known.contains(path); });
    if (remover.remove()) { // it was empty: the power was cut after the list had gone
        return {};
    }
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

bool removeTree(int parent, const std::string& name) noexcept {
    if (!identityOf(parent, name)) {
        return true;
    }
    const FileDescriptor folder = openFolder(parent, name);
    return folder && removeTree(parent, name, folder.get());
}

bool removeTree(int parent, const std::string& name, int folder) noexcept {
    try {
        return Remover(parent, name, folder, [](const std::string&) { return true; }).remove();
    } catch (const std::exception&) { // no memory
        return false;
    }
}

} // namespace ovrel
