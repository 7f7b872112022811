/// \file scratch_folder.h
/// A place for results that nobody keeps.
#pragma once

#include <filesystem>

namespace ovrel::bench {

/// A new folder below the system's folder for temporary files; removed with all it holds at the end.
class ScratchFolder {
public:
    /// \throws std::runtime_error
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

} // namespace ovrel::bench
