#include "platform/file_error.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace ovrel {

namespace {

int readingCode(int systemError) {
    switch (systemError) {
    case ENOENT:
    case ENOTDIR: // a file has taken the place of a folder on the way, so what was below is gone
        return FileError::readNoSuchFile;
    case EACCES:
    case EPERM: return FileError::readNoPermission;
    default: return FileError::readUnknown;
    }
}

int writingCode(int systemError) {
    switch (systemError) {
    case ENOENT: return FileError::noSuchFile;
    case EACCES:
    case EPERM: return FileError::writeNoPermission;
    case ENOSPC:
    case EDQUOT: return FileError::writeOutOfSpace;
    case EROFS: return FileError::writeVolumeReadOnly;
    default: return FileError::writeUnknown;
    }
}

} // namespace

FileError::FileError(int code, std::filesystem::path file)
    : code_(code)
    , file_(std::move(file))
    , description_(std::string(cocoaDomain) + ' ' + std::to_string(code) + ": " + file_.native()) {}

FileError FileError::fromSystem(int systemError, FileOperation operation, std::filesystem::path file) {
    const bool reading = operation == FileOperation::reading;
    FileError error(reading ? readingCode(systemError) : writingCode(systemError), std::move(file));
    error.description_ += (reading ? ": reading: " : ": writing: ") + std::system_category().message(systemError);
    return error;
}

} // namespace ovrel
