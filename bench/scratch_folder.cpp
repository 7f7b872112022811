#include "bench/scratch_folder.h"

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <system_error>

namespace ovrel::bench {

ScratchFolder::ScratchFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "ovrel-bench-XXXXXX").native();
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no scratch folder");
    }
    path_ = pattern;
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

} // namespace ovrel::bench
