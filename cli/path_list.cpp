#include "cli/path_list.h"

#include "platform/file_error.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace ovrel::cli {

namespace {

struct CloseUnlessStandardInput {
    void operator()(std::FILE* file) const noexcept {
        if (file != stdin) {
            static_cast<void>(std::fclose(file));
        }
    }
};
using File = std::unique_ptr<std::FILE, CloseUnlessStandardInput>;

} // namespace

std::vector<std::filesystem::path> readPathList(const std::filesystem::path& list, char end) {
    const File file(list == "-" ? stdin : std::fopen(list.c_str(), "rbe"));
    if (!file) {
        throw FileError::fromSystem(errno, FileOperation::reading, list);
    }

    std::vector<std::filesystem::path> paths;
    std::string path;
    const auto finishPath = [&] {
        if (!path.empty()) {
            paths.emplace_back(path);
            path.clear();
        }
    };
    std::array<char, 65536> block{};
    std::size_t size = 0;
    while ((size = std::fread(block.data(), 1, block.size(), file.get())) > 0) {
        for (const char byte : std::string_view(block.data(), size)) {
            if (byte == end) {
                finishPath();
            } else if (byte == '\0') {
                throw NulInPath();
            } else if (path.size() == longestPath) {
                throw PathTooLong();
            } else {
                path += byte;
            }
        }
    }
    if (std::ferror(file.get()) != 0) {
        throw FileError::fromSystem(errno, FileOperation::reading, list);
    }
    finishPath();
    return paths;
}

} // namespace ovrel::cli
