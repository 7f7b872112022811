#include "platform/file_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

namespace ovrel::test {

namespace {

using testing::HasSubstr;

TEST(FileError, NamesTheFailureOfASystemCallByTheCodeOfItsOperation) {
    struct Row {
        const char* name;
        int systemError;
        int reading;
        int writing;
    };
    const Row rows[] = {
        {"missing", ENOENT, 260, 4},
        {"refused", EACCES, 257, 513},
        {"not permitted", EPERM, 257, 513},
        {"a file where a folder was", ENOTDIR, 260, 512},
        {"volume full", ENOSPC, 256, 640},
        {"quota full", EDQUOT, 256, 640},
        {"volume read-only", EROFS, 256, 642},
        {"device broken", EIO, 256, 512},
        {"name too long", ENAMETOOLONG, 256, 512},
        {"name taken", EEXIST, 256, 512},
        {"file too large for the volume", EFBIG, 256, 512},
        {"another volume", EXDEV, 256, 512},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(FileError::fromSystem(row.systemError, FileOperation::reading, "a").code(), row.reading);
        EXPECT_EQ(FileError::fromSystem(row.systemError, FileOperation::writing, "a").code(), row.writing);
    }
}

TEST(FileError, CarriesItsDomainCodeAndFile) {
    const FileError error(FileError::writeOutOfSpace, "/photos/one.avif");
    EXPECT_EQ(error.domain(), "NSCocoaErrorDomain");
    EXPECT_EQ(error.code(), 640);
    EXPECT_EQ(error.file(), "/photos/one.avif");
}

TEST(FileError, DescribesItselfForLogs) {
    const FileError plain(FileError::readNoSuchFile, "/photos/one.jpg");
    EXPECT_EQ(std::string(plain.what()), "NSCocoaErrorDomain 260: /photos/one.jpg");

    const FileError reading = FileError::fromSystem(ENOENT, FileOperation::reading, "/photos/one.jpg");
    EXPECT_THAT(reading.what(), HasSubstr("NSCocoaErrorDomain 260: /photos/one.jpg: reading: "));
    const FileError writing = FileError::fromSystem(EROFS, FileOperation::writing, "/photos/one.avif");
    EXPECT_THAT(writing.what(), HasSubstr("NSCocoaErrorDomain 642: /photos/one.avif: writing: "));
}

TEST(FileError, IsCaughtAsAStandardException) {
    try {
        throw FileError(FileError::readUnknown, "a");
    } catch (const std::exception& error) {
        EXPECT_THAT(error.what(), HasSubstr("256"));
    }
}

} // namespace

} // namespace ovrel::test
