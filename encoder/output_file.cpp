#include "encoder/output_file.h"

#include <cstddef>
#include <cstdio>

namespace ovrel {

OutputFileResult writeOutputFile(const char* path, const avifRWData& bytes) {
    std::FILE* const file = std::fopen(path, "wb");
    if (file == nullptr) {
        return OutputFileResult::notCreated;
    }
    const std::size_t written = std::fwrite(bytes.data, 1, bytes.size, file);
    // A full disk may show only when the last buffered bytes are flushed.
    const bool closed = std::fclose(file) == 0;
    return closed && written == bytes.size ? OutputFileResult::written : OutputFileResult::notFinished;
}

} // namespace ovrel
