#include "platform/linux/file_copy.h"

#include "platform/file_error.h"
#include "platform/linux/file_descriptor.h"
#include "platform/linux/input_file.h"
#include "tests/support/private_mounts.h"
#include "tests/support/refused_calls.h"
#include "tests/support/skip_outside_ci.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/unprivileged.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

/// Bytes that repeat nowhere near a block's size, so that lost or doubled blocks show.
std::string pattern(std::size_t size) {
    std::string bytes(size, '\0');
    std::uint32_t state = 1;
    for (char& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24U);
    }
    return bytes;
}

struct stat factsOf(const fs::path& file) {
    struct stat facts {};
    EXPECT_EQ(::lstat(file.c_str(), &facts), 0);
    return facts;
}

/// The code and the file of the failure, 0 for none.
std::pair<int, fs::path> failureOf(const fs::path& from, const fs::path& to) {
    try {
        copyRegularFile(from, to);
    } catch (const FileError& error) {
        return {error.code(), error.file()};
    }
    return {};
}

const std::vector<RefusedCall> noSharing = {{SYS_ioctl, EOPNOTSUPP}};

TEST(FileCopy, KeepsBytesModeAndTimes) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from.avif", pattern(300001));
    ASSERT_EQ(::chmod(from.c_str(), 0640), 0);
    const std::array<timespec, 2> times{timespec{1234567890, 123456789}, timespec{987654321, 987654321}};
    ASSERT_EQ(::utimensat(AT_FDCWD, from.c_str(), times.data(), 0), 0);

    copyRegularFile(from, folder / "to.tmp");
    const struct stat copy = factsOf(folder / "to.tmp");
    EXPECT_EQ(copy.st_mode & 07777U, 0640U);
    EXPECT_EQ(copy.st_mtim.tv_sec, 987654321);
    EXPECT_EQ(copy.st_mtim.tv_nsec, 987654321);
    EXPECT_EQ(copy.st_atim.tv_sec, 1234567890);
    EXPECT_EQ(copy.st_atim.tv_nsec, 123456789);
    EXPECT_EQ(contentOf(folder / "to.tmp"), pattern(300001));
}

TEST(FileCopy, LeavesTheSourceAsItWas) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", "content");
    const struct stat before = factsOf(from);
    copyRegularFile(from, folder / "to");
    const struct stat after = factsOf(from);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    EXPECT_EQ(after.st_ctim.tv_nsec, before.st_ctim.tv_nsec);
    EXPECT_EQ(contentOf(from), "content");
}

TEST(FileCopy, KeepsTheModeWhateverTheMaskOfTheProcess) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", "content");
    ASSERT_EQ(::chmod(from.c_str(), 0666), 0);
    const mode_t before = ::umask(077);
    copyRegularFile(from, folder / "to");
    ::umask(before);
    EXPECT_EQ(factsOf(folder / "to").st_mode & 07777U, 0666U);
}

TEST(FileCopy, DoesNotPassOnTheRightsOfAnotherUser) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", "content");
    ASSERT_EQ(::chmod(from.c_str(), 06755), 0);
    copyRegularFile(from, folder / "to");
    EXPECT_EQ(factsOf(folder / "to").st_mode & 07777U, 0755U);
}

TEST(FileCopy, CopiesAReadOnlySource) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", pattern(70000));
    fs::permissions(folder.path(), fs::perms::all);
    ASSERT_EQ(::chmod(from.c_str(), 0444), 0);
    const bool ran = runUnprivileged([&] { copyRegularFile(from, folder / "to"); });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("the rights of root cannot be given up here");
    }
    EXPECT_EQ(contentOf(folder / "to"), pattern(70000));
    EXPECT_EQ(factsOf(folder / "to").st_mode & 07777U, 0444U);
}

TEST(FileCopy, CopiesAFileOfAnySize) {
    const TemporaryFolder folder;
    const std::size_t buffer = 262144;
    for (const std::size_t size :
         {std::size_t{0}, std::size_t{1}, std::size_t{4096}, buffer - 1, buffer, buffer + 1, 3 * buffer + 17}) {
        SCOPED_TRACE(size);
        const std::string name = std::to_string(size);
        const fs::path from = folder.write(name, pattern(size));
        copyRegularFile(from, folder / (name + " copied"));
        EXPECT_EQ(contentOf(folder / (name + " copied")), pattern(size));

        const FileDescriptor source(::open(from.c_str(), O_RDONLY));
        const fs::path buffered = folder.write(name + " buffered", "");
        const FileDescriptor copy(::open(buffered.c_str(), O_WRONLY));
        copyThroughBuffer(source.get(), copy.get(), from, buffered);
        EXPECT_EQ(contentOf(buffered), pattern(size));
    }
}

TEST(FileCopy, GoesOnThroughTheBufferWhereTheSystemStopped) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", pattern(100000));
    const fs::path to = folder.write("to", "");
    const FileDescriptor source(::open(from.c_str(), O_RDONLY));
    const FileDescriptor copy(::open(to.c_str(), O_WRONLY));
    ASSERT_EQ(::copy_file_range(source.get(), nullptr, copy.get(), nullptr, 60001, 0), 60001);
    copyThroughBuffer(source.get(), copy.get(), from, to);
    EXPECT_EQ(contentOf(to), pattern(100000));
}

TEST(FileCopy, LetsTheSystemCopyTheWholeFile) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", pattern(100000));
    const fs::path to = folder.write("to", "");
    const FileDescriptor source(::open(from.c_str(), O_RDONLY));
    const FileDescriptor copy(::open(to.c_str(), O_WRONLY));
    if (::copy_file_range(source.get(), nullptr, copy.get(), nullptr, 1, 0) != 1) {
        GTEST_SKIP() << "the volume of temporary files has no copy_file_range";
    }
    copyInSystem(source.get(), copy.get());
    EXPECT_EQ(contentOf(to), pattern(100000));
}

TEST(FileCopy, SharesAllBlocksOrChangesNothing) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", pattern(100000));
    const fs::path to = folder.write("to", "");
    const FileDescriptor source(::open(from.c_str(), O_RDONLY));
    const FileDescriptor copy(::open(to.c_str(), O_WRONLY));
    const bool shared = cloneBlocks(source.get(), copy.get());
    EXPECT_EQ(contentOf(to), shared ? pattern(100000) : "");
}

TEST(FileCopy, WorksWhateverTheVolumeLacks) {
    for (const int error : {EXDEV, EINVAL, ENOSYS, EOPNOTSUPP, EPERM, EIO}) {
        SCOPED_TRACE(error);
        const TemporaryFolder folder;
        const fs::path from = folder.write("from", pattern(300001));
        const bool ran = runWithRefusedCalls({{SYS_ioctl, error}, {SYS_copy_file_range, error}},
                                             [&] { copyRegularFile(from, folder / "to"); });
        if (!ran) {
            OVREL_SKIP_OUTSIDE_CI("system calls cannot be refused here");
        }
        EXPECT_EQ(contentOf(folder / "to"), pattern(300001));
    }
}

TEST(FileCopy, WorksOnAVolumeWithoutSharedBlocks) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", pattern(300001));
    const bool ran = runWithRefusedCalls(noSharing, [&] { copyRegularFile(from, folder / "to"); });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("system calls cannot be refused here");
    }
    EXPECT_EQ(contentOf(folder / "to"), pattern(300001));
}

TEST(FileCopy, WorksOnAVolumeWithoutPermissionsAndTimes) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", pattern(1000));
    const bool ran = runWithRefusedCalls({{SYS_fchmod, EPERM}, {SYS_utimensat, EPERM}},
                                         [&] { copyRegularFile(from, folder / "to"); });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("system calls cannot be refused here");
    }
    EXPECT_EQ(contentOf(folder / "to"), pattern(1000));
}

TEST(FileCopy, CopiesFromAPseudoFileSystemThatTellsNoSize) {
    const fs::path from = "/proc/version";
    if (!fs::is_regular_file(from)) {
        OVREL_SKIP_OUTSIDE_CI("no /proc");
    }
    const TemporaryFolder folder;
    copyRegularFile(from, folder / "to");
    EXPECT_EQ(contentOf(folder / "to"), contentOf(from));
    EXPECT_NE(contentOf(folder / "to"), "");
}

TEST(FileCopy, CopiesFromOneVolumeToAnother) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", pattern(300001));
    fs::create_directory(folder / "volume");
    const bool ran = runWithOwnMounts([&] {
        mountMemory(folder / "volume", "size=1m");
        copyRegularFile(from, folder / "volume/to");
        EXPECT_EQ(contentOf(folder / "volume/to"), pattern(300001));
    });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("nothing can be mounted here");
    }
}

TEST(FileCopy, CopiesMoreThanOneCallOfTheSystemTakes) {
    constexpr off_t twoGibibytes = off_t{1} << 31;
    constexpr off_t size = twoGibibytes + 100;
    const TemporaryFolder folder;
    if (fs::space(folder.path()).available < std::uintmax_t{2} * size) {
        GTEST_SKIP() << "too little space for temporary files";
    }
    const fs::path from = folder / "from";
    const off_t places[] = {0, (off_t{1} << 30) - 5, twoGibibytes - 5, size - 10};
    {
        const FileDescriptor source(::open(from.c_str(), O_WRONLY | O_CREAT, 0600));
        ASSERT_EQ(::ftruncate(source.get(), size), 0);
        for (const off_t place : places) {
            ASSERT_EQ(::pwrite(source.get(), "0123456789", 10, place), 10);
        }
    }
    copyRegularFile(from, folder / "to");
    EXPECT_EQ(fs::file_size(folder / "to"), static_cast<std::uintmax_t>(size));
    const FileDescriptor copy(::open((folder / "to").c_str(), O_RDONLY));
    for (const off_t place : places) {
        std::string found(10, '\0');
        EXPECT_EQ(::pread(copy.get(), found.data(), found.size(), place), 10);
        EXPECT_EQ(found, "0123456789") << place;
    }
}

TEST(FileCopy, NeverReplaces) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", "ours");
    folder.write("file", "theirs");
    fs::create_directory(folder / "folder");
    fs::create_symlink("created through the link", folder / "dangling");
    fs::create_symlink("file", folder / "link");
    const std::vector<std::string> before = folder.listing();
    for (const char* taken : {"file", "folder", "dangling", "link"}) {
        EXPECT_EQ(failureOf(from, folder / taken), std::pair(FileError::writeUnknown, folder / taken)) << taken;
    }
    EXPECT_EQ(folder.listing(), before);
    EXPECT_EQ(contentOf(folder / "file"), "theirs");
}

TEST(FileCopy, RefusesWhatIsNoRegularFile) {
    const TemporaryFolder folder;
    folder.write("file", "content");
    fs::create_symlink("file", folder / "link");
    fs::create_directory(folder / "folder");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    const std::vector<std::string> before = folder.listing();
    for (const char* name : {"link", "folder", "pipe"}) {
        EXPECT_EQ(failureOf(folder / name, folder / "to"), std::pair(FileError::readUnknown, folder / name)) << name;
    }
    EXPECT_EQ(folder.listing(), before);
}

TEST(FileCopy, RefusesAFileThatIsMostlyEmptyAndWouldFillTheDisk) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", "content");
    fs::resize_file(from, maximumFileBytes + 1);
    EXPECT_EQ(failureOf(from, folder / "to"), std::pair(FileError::readUnknown, from));
    EXPECT_THAT(folder.listing(), ElementsAre("from"));
}

TEST(FileCopy, CreatesNothingWhenTheSourceCannotBeRead) {
    const TemporaryFolder folder;
    fs::permissions(folder.path(), fs::perms::all);
    const fs::path closed = folder.write("closed", "content");
    fs::permissions(closed, fs::perms::none);
    const bool ran = runUnprivileged([&] {
        EXPECT_EQ(failureOf(folder / "missing", folder / "to"),
                  std::pair(FileError::readNoSuchFile, folder / "missing"));
        EXPECT_EQ(failureOf(closed / "below", folder / "to"), std::pair(FileError::readNoSuchFile, closed / "below"));
        EXPECT_EQ(failureOf(closed, folder / "to"), std::pair(FileError::readNoPermission, closed));
    });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("the rights of root cannot be given up here");
    }
    EXPECT_THAT(folder.listing(), ElementsAre("closed"));
}

TEST(FileCopy, NamesTheReasonWhenTheCopyCannotBeWritten) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", "content");
    fs::create_directory(folder / "closed");
    fs::permissions(folder.path(), fs::perms(0755));
    fs::permissions(folder / "closed", fs::perms(0555));
    const bool ran = runUnprivileged([&] {
        EXPECT_EQ(failureOf(from, folder / "missing/to"), std::pair(FileError::noSuchFile, folder / "missing/to"));
        EXPECT_EQ(failureOf(from, folder / "closed/to"), std::pair(FileError::writeNoPermission, folder / "closed/to"));
        EXPECT_EQ(failureOf(from, folder / "from/to"), std::pair(FileError::writeUnknown, folder / "from/to"));
    });
    fs::permissions(folder / "closed", fs::perms(0755));
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("the rights of root cannot be given up here");
    }
}

TEST(FileCopy, FailsOnAFullVolume) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", pattern(1000000));
    const fs::path to = folder / "volume/to";
    fs::create_directory(folder / "volume");
    const bool ran = runWithOwnMounts([&] {
        mountMemory(folder / "volume", "size=64k");
        EXPECT_EQ(failureOf(from, to), std::pair(FileError::writeOutOfSpace, to));
    });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("nothing can be mounted here");
    }
}

TEST(FileCopy, FailsWhenTheQuotaIsUsedUp) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", pattern(1000));
    const bool ran =
        runWithRefusedCalls({{SYS_ioctl, EOPNOTSUPP}, {SYS_copy_file_range, EDQUOT}, {SYS_write, EDQUOT}}, [&] {
            const std::pair<int, fs::path> failure = failureOf(from, folder / "to");
            EXPECT_EQ(failure, std::pair(FileError::writeOutOfSpace, folder / "to"));
        });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("system calls cannot be refused here");
    }
}

TEST(FileCopy, FailsWhenTheSourceBreaksOff) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", pattern(1000));
    const bool ran = runWithRefusedCalls({{SYS_ioctl, EOPNOTSUPP}, {SYS_copy_file_range, EIO}, {SYS_read, EIO}}, [&] {
        EXPECT_EQ(failureOf(from, folder / "to"), std::pair(FileError::readUnknown, from));
    });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("system calls cannot be refused here");
    }
}

TEST(FileCopy, FailsWhenTheVolumeReportsItsFailureAtTheEnd) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", pattern(1000));
    const bool ran = runWithRefusedCalls({{SYS_close, EDQUOT}}, [&] {
        EXPECT_EQ(failureOf(from, folder / "to"), std::pair(FileError::writeOutOfSpace, folder / "to"));
    });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("system calls cannot be refused here");
    }
}

TEST(FileCopy, FailsOnAReadOnlyVolume) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", "content");
    const fs::path to = folder / "volume/to";
    fs::create_directory(folder / "volume");
    const bool ran = runWithOwnMounts([&] {
        mountMemory(folder / "volume", "size=64k");
        makeReadOnly(folder / "volume");
        EXPECT_EQ(failureOf(from, to), std::pair(FileError::writeVolumeReadOnly, to));
    });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("nothing can be mounted here");
    }
}

} // namespace

} // namespace ovrel::test
