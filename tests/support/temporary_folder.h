/// \file temporary_folder.h
/// A folder of a test's own.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace ovrel::test {

/// A fresh empty folder, removed with all it holds at the end.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::filesystem::path& name) const { return path_ / name; }

    /// Writes a file, creating its folders.
    std::filesystem::path write(const std::filesystem::path& name, std::string_view content) const;

    /// Names of everything below, hidden ones included, as sorted paths relative to the folder.
    std::vector<std::string> listing() const;

private:
    std::filesystem::path path_;
};

/// The bytes of a file.
std::string contentOf(const std::filesystem::path& file);

} // namespace ovrel::test
