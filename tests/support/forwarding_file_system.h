/// \file forwarding_file_system.h
/// The computer's file system, for tests that change one of its operations.
#pragma once

#include "platform/file_system.h"

namespace ovrel::test {

class ForwardingFileSystem : public FileSystem {
public:
    ResourceValues resourceValues(const std::filesystem::path& path) override { return native().resourceValues(path); }
    std::unique_ptr<DirectoryEnumerator> enumerate(const std::filesystem::path& folder, bool recursive) override {
        return native().enumerate(folder, recursive);
    }
    void createDirectories(const std::filesystem::path& folder) override { native().createDirectories(folder); }
    void copyFile(const std::filesystem::path& from, const std::filesystem::path& to) override {
        native().copyFile(from, to);
    }
    bool exists(const std::filesystem::path& path) override { return native().exists(path); }
    void flush(const std::filesystem::path& file) override { native().flush(file); }
    bool moveWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to) override {
        return native().moveWithoutReplacing(from, to);
    }
    std::uint64_t fileSize(const std::filesystem::path& file) override { return native().fileSize(file); }
    void copyModificationTime(const std::filesystem::path& from, const std::filesystem::path& to) override {
        native().copyModificationTime(from, to);
    }
};

} // namespace ovrel::test
