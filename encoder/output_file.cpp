#include "encoder/output_file.h"

#include <cerrno>
#include <cstddef>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ovrel {

namespace {

constexpr mode_t everybody = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;

/// Opens like fopen() with "wb". \return -1 when that fails
int create(const char* path) {
    int file = -1;
    do {
        file = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, everybody);
    } while (file == -1 && errno == EINTR);
    return file;
}

bool writeAll(int file, const avifRWData& bytes) {
    for (std::size_t done = 0; done < bytes.size;) {
        const ssize_t count = ::write(file, bytes.data + done, bytes.size - done);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return true;
}

} // namespace

// Without a FILE, which would give up when a signal interrupts it and would need memory of its own.
OutputFileResult writeOutputFile(const char* path, const avifRWData& bytes) {
    const int file = create(path);
    if (file == -1) {
        return OutputFileResult::notCreated;
    }
    const bool written = writeAll(file, bytes);
    // A full network share may show only here; a descriptor that a signal interrupts is closed all the same.
    const bool closed = ::close(file) == 0 || errno == EINTR;
    return closed && written ? OutputFileResult::written : OutputFileResult::notFinished;
}

} // namespace ovrel
