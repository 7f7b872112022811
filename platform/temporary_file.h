/// \file temporary_file.h
/// Hidden files in which results grow until they are published.
#pragma once

#include <filesystem>

namespace ovrel {

/// A name of our own in a folder, ".avif-" + UUID (RFC 9562, upper case) + ".tmp". Whoever holds it may create a file
/// there; whatever stands there is removed when the holder ends, or by removeTemporaryFiles(). Any thread.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::filesystem::path& folder);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

/// Removes the files of every TemporaryFile that still lives, for a program that leaves at once by _exit() while other
/// threads are still writing. So that these create no file afterwards, the process can open nothing any more, and
/// whoever begins a TemporaryFile waits for ever. Any thread, but no signal handler.
void removeTemporaryFiles();

} // namespace ovrel
