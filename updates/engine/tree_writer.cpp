#include "updates/engine/tree_writer.h"

#include "updates/framework/update_error.h"
#include "updates/installation/open_folder.h"

#include <optional>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>

namespace ovrel {

namespace {

[[noreturn]] void failForDisk() {
    if (errno == ENOSPC || errno == EDQUOT) {
        throw UpdateError(SUError::unarchiving, QStringLiteral("На диске не хватает места для обновления."),
                          QStringLiteral("There is not enough space on the disk for the update."));
    }
    throw UpdateError(SUError::unarchiving, QStringLiteral("Не удалось записать файлы обновления на диск."),
                      QStringLiteral("The update's files could not be written to the disk."));
}

[[noreturn]] void failForChange() {
    throw UpdateError(SUError::validation,
                      QStringLiteral("Другая программа изменила файлы обновления, пока оно распаковывалось."),
                      QStringLiteral("Another program changed the update's files while they were unpacked."));
}

/// A name that is taken, or a folder that is none any more, is somebody else's work: the archive names each once.
[[noreturn]] void failForName() {
    if (errno == EEXIST || errno == ELOOP || errno == ENOTDIR || errno == ENOENT) {
        failForChange();
    }
    failForDisk();
}

FileIdentity identityOfOpen(int folder) {
    const std::optional<FileIdentity> identity = identityOf(folder);
    if (!identity) {
        failForDisk();
    }
    return *identity;
}

void flush(int file) {
    if (::fsync(file) != 0) {
        failForDisk();
    }
}

} // namespace

TreeWriter::TreeWriter(int root) : root_(root) {
    folders_[{}] = {identityOfOpen(root), {}};
}

FileDescriptor TreeWriter::make(const AcceptedEntry& entry) {
    const FileDescriptor parent = open(entry.folders);
    FileDescriptor file;
    if (entry.kind == EntryKind::directory) {
        if (::mkdirat(parent.get(), entry.name.c_str(), 0755) != 0) {
            failForName();
        }
        const FileDescriptor directory = openFolder(parent.get(), entry.name);
        if (!directory) {
            failForName();
        }
        Path path = entry.folders;
        path.push_back(entry.name);
        folders_[path] = {identityOfOpen(directory.get()), {}};
    } else if (entry.kind == EntryKind::symbolicLink) {
        if (::symlinkat(entry.linkTarget.c_str(), parent.get(), entry.name.c_str()) != 0) {
            failForName();
        }
    } else {
        file = FileDescriptor(::openat(parent.get(), entry.name.c_str(),
                                       O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                       entry.executable ? 0755 : 0644));
        if (!file) {
            failForName();
        }
    }
    folders_.at(entry.folders).names.insert(entry.name);
    return file;
}

void TreeWriter::write(int file, std::span<const std::byte> bytes) {
    if (!writeAll(file, bytes)) {
        failForDisk();
    }
}

void TreeWriter::finish(int file) {
    flush(file);
}

void TreeWriter::finish() {
    // Inner folders come after outer ones in the map, and are flushed first.
    for (auto folder = folders_.rbegin(); folder != folders_.rend(); ++folder) {
        const FileDescriptor directory = open(folder->first);
        std::set<std::string> found;
        try {
            for (std::string& name : namesIn(directory.get())) {
                found.insert(std::move(name));
            }
        } catch (const std::system_error&) {
            failForDisk();
        }
        if (found != folder->second.names) {
            failForChange();
        }
        flush(directory.get());
    }
}

FileDescriptor TreeWriter::open(const std::vector<std::string>& folders) const {
    FileDescriptor directory = openFolder(root_, ".");
    Path path;
    for (const std::string& name : folders) {
        if (!directory) {
            failForName();
        }
        directory = openFolder(directory.get(), name);
        path.push_back(name);
        const auto made = folders_.find(path);
        if (!directory || made == folders_.end() || identityOf(directory.get()) != made->second.identity) {
            failForChange();
        }
    }
    if (!directory) {
        failForName();
    }
    return directory;
}

} // namespace ovrel
