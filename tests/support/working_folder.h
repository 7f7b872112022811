/// \file working_folder.h
/// Relative paths in tests.
#pragma once

#include <filesystem>

namespace ovrel::test {

/// Makes a folder the current one of the process, and the former one again at the end.
class WorkingFolder {
public:
    explicit WorkingFolder(const std::filesystem::path& folder) { std::filesystem::current_path(folder); }
    ~WorkingFolder() { std::filesystem::current_path(before_); }
    WorkingFolder(const WorkingFolder&) = delete;
    WorkingFolder& operator=(const WorkingFolder&) = delete;

private:
    std::filesystem::path before_ = std::filesystem::current_path();
};

} // namespace ovrel::test
