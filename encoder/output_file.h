/// \file output_file.h
/// The encoded bytes on disk.
#pragma once

#include <avif/avif.h>

namespace ovrel {

enum class OutputFileResult {
    written,
    notCreated,
    notFinished, ///< what was written is left where it is
};

/// Creates or truncates the file and writes all bytes in one block.
OutputFileResult writeOutputFile(const char* path, const avifRWData& bytes);

} // namespace ovrel
