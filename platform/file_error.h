/// \file file_error.h
/// A failure of the file system, named by the domain and the codes that the interface words.
#pragma once

#include <exception>
#include <filesystem>
#include <string>
#include <string_view>

namespace ovrel {

/// What was being done when the file system refused; it decides between the codes for reading and for writing.
enum class FileOperation { reading, writing };

/// Thrown by everything in file_system.h. Immutable.
class FileError : public std::exception {
public:
    static constexpr std::string_view cocoaDomain = "NSCocoaErrorDomain";

    static constexpr int noSuchFile = 4;            ///< writing: the file or folder is missing
    static constexpr int readUnknown = 256;         ///< reading: any other reason
    static constexpr int readNoPermission = 257;    ///< reading was refused
    static constexpr int readNoSuchFile = 260;      ///< reading: the file or folder is missing
    static constexpr int writeUnknown = 512;        ///< writing: any other reason
    static constexpr int writeNoPermission = 513;   ///< writing was refused
    static constexpr int writeOutOfSpace = 640;     ///< the volume or the quota is full
    static constexpr int writeVolumeReadOnly = 642; ///< the volume is mounted read-only

    FileError(int code, std::filesystem::path file);

    /// The code for a failed system call.
    /// \param systemError a value of errno
    static FileError fromSystem(int systemError, FileOperation operation, std::filesystem::path file);

    std::string_view domain() const { return cocoaDomain; }
    int code() const { return code_; }
    const std::filesystem::path& file() const { return file_; }

    /// For logs only; users read the text of the code in their language.
    const char* what() const noexcept override { return description_.c_str(); }

private:
    int code_;
    std::filesystem::path file_;
    std::string description_;
};

} // namespace ovrel
