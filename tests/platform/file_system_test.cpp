#include "platform/file_system.h"

#include "tests/support/private_mounts.h"
#include "tests/support/refused_calls.h"
#include "tests/support/skip_outside_ci.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/unprivileged.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

FileSystem& files() {
    return FileSystem::native();
}

/// The code of the failure, 0 for none.
int codeOf(const std::function<void()>& operation) {
    try {
        operation();
    } catch (const FileError& error) {
        return error.code();
    }
    return 0;
}

std::string kindOf(const fs::path& path) {
    const ResourceValues values = files().resourceValues(path);
    return std::string(values.isDirectory ? "directory" : "") + (values.isRegularFile ? "file" : "") +
           (values.isSymbolicLink ? "link" : "");
}

TEST(FileSystem, TellsWhatAPathNames) {
    const TemporaryFolder folder;
    folder.write("file", "");
    fs::create_directory(folder / "sub");
    fs::create_symlink("file", folder / "link");
    fs::create_directory_symlink("sub", folder / "folder link");
    fs::create_symlink("nowhere", folder / "dangling");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    const std::string path = folder.path().native();
    EXPECT_EQ(kindOf(folder / "file"), "file");
    EXPECT_EQ(kindOf(folder / "sub"), "directory");
    EXPECT_EQ(kindOf(path + "/sub/"), "directory");
    EXPECT_EQ(kindOf(path + "/sub/."), "directory");
    EXPECT_EQ(kindOf(folder / "link"), "link");
    EXPECT_EQ(kindOf(folder / "folder link"), "link");
    EXPECT_EQ(kindOf(path + "/folder link/"), "link") << "a slash as shells complete it";
    EXPECT_EQ(kindOf(path + "/folder link///"), "link");
    EXPECT_EQ(kindOf(folder / "dangling"), "link");
    EXPECT_EQ(kindOf(folder / "pipe"), "");
    EXPECT_EQ(kindOf("/"), "directory");
    EXPECT_EQ(kindOf("//"), "directory");
    EXPECT_EQ(kindOf("."), "directory");
}

TEST(FileSystem, SaysWhyItCannotTellWhatAPathNames) {
    const TemporaryFolder folder;
    folder.write("file", "");
    fs::create_directories(folder / "closed/sub");
    fs::permissions(folder.path(), fs::perms(0755));
    fs::permissions(folder / "closed", fs::perms::none);
    const bool ran = runUnprivileged([&] {
        const auto values = [&](const fs::path& path) { return [path] { files().resourceValues(path); }; };
        EXPECT_EQ(codeOf(values(folder / "missing")), FileError::readNoSuchFile);
        EXPECT_EQ(codeOf(values("")), FileError::readNoSuchFile);
        EXPECT_EQ(codeOf(values(folder / "file/below")), FileError::readNoSuchFile);
        EXPECT_EQ(codeOf(values(folder.path().native() + "/file/")), FileError::readNoSuchFile);
        EXPECT_EQ(codeOf(values(folder / "closed/sub")), FileError::readNoPermission);
        EXPECT_EQ(codeOf(values(folder / std::string(256, 'x'))), FileError::readUnknown);
    });
    fs::permissions(folder / "closed", fs::perms(0755));
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("the rights of root cannot be given up here");
    }
}

TEST(FileSystem, CreatesAFolderWithItsParents) {
    const TemporaryFolder folder;
    files().createDirectories(folder / "sub/inner");
    files().createDirectories(folder / "sub/inner");
    files().createDirectories(folder.path().native() + "/other/");
    files().createDirectories(folder / "\xff");
    EXPECT_THAT(folder.listing(), UnorderedElementsAre("sub", "sub/inner", "other", "\xff"));
}

TEST(FileSystem, TakesALinkToAFolderAsAFolder) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "sub");
    fs::create_directory_symlink("sub", folder / "link");
    files().createDirectories(folder / "link");
    files().createDirectories(folder / "link/inner");
    EXPECT_TRUE(fs::is_directory(folder / "sub/inner"));
}

TEST(FileSystem, SaysWhyItCannotCreateAFolder) {
    const TemporaryFolder folder;
    folder.write("file", "content");
    fs::create_symlink("nowhere", folder / "dangling");
    fs::create_directory(folder / "closed");
    fs::permissions(folder.path(), fs::perms(0755));
    fs::permissions(folder / "closed", fs::perms(0555));
    const bool ran = runUnprivileged([&] {
        const auto creating = [&](const fs::path& name) {
            return [path = folder / name] { files().createDirectories(path); };
        };
        EXPECT_EQ(codeOf(creating("file")), FileError::writeUnknown);
        EXPECT_EQ(codeOf(creating("file/sub/inner")), FileError::writeUnknown);
        EXPECT_EQ(codeOf(creating("dangling")), FileError::writeUnknown);
        EXPECT_EQ(codeOf(creating("closed/sub")), FileError::writeNoPermission);
        EXPECT_EQ(codeOf(creating("closed")), 0) << "it exists";
        EXPECT_EQ(codeOf(creating(std::string(256, 'x'))), FileError::writeUnknown);
    });
    fs::permissions(folder / "closed", fs::perms(0755));
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("the rights of root cannot be given up here");
    }
    EXPECT_EQ(contentOf(folder / "file"), "content");
}

TEST(FileSystem, CannotCreateAFolderOnAReadOnlyOrFullVolume) {
    const TemporaryFolder folder;
    const bool ran = runWithOwnMounts([&] {
        mountMemory(folder.path(), "size=64k,nr_inodes=3");
        EXPECT_EQ(codeOf([&] { files().createDirectories(folder / "1/2/3/4"); }), FileError::writeOutOfSpace);
        makeReadOnly(folder.path());
        EXPECT_EQ(codeOf([&] { files().createDirectories(folder / "other"); }), FileError::writeVolumeReadOnly);
        EXPECT_EQ(codeOf([&] { files().createDirectories(folder / "1"); }), 0) << "it exists";
    });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("nothing can be mounted here");
    }
}

TEST(FileSystem, CreatesOneFolderFromSeveralThreads) {
    const TemporaryFolder folder;
    const fs::path deep = folder / "a/b/c/d/e/f/g/h";
    std::array<int, 8> codes{};
    {
        std::vector<std::thread> threads;
        threads.reserve(codes.size());
        for (int& code : codes) {
            threads.emplace_back([&] { code = codeOf([&] { files().createDirectories(deep); }); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    EXPECT_THAT(codes, testing::Each(0));
    EXPECT_TRUE(fs::is_directory(deep));
}

TEST(FileSystem, TellsWhetherANameIsTaken) {
    const TemporaryFolder folder;
    folder.write("file", "");
    fs::create_directory(folder / "sub");
    fs::create_symlink("nowhere", folder / "dangling");
    for (const char* name : {"file", "sub", "dangling"}) {
        EXPECT_TRUE(files().exists(folder / name)) << name;
    }
    EXPECT_FALSE(files().exists(folder / "missing"));
    EXPECT_FALSE(files().exists(folder / "file/below"));
    EXPECT_FALSE(files().exists(folder / std::string(256, 'x')));
}

TEST(FileSystem, FlushesAFile) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("file", "content");
    EXPECT_EQ(codeOf([&] { files().flush(file); }), 0);
    EXPECT_EQ(codeOf([&] { files().flush(folder / "missing"); }), FileError::noSuchFile);
    EXPECT_EQ(contentOf(file), "content");
}

TEST(FileSystem, FlushesAReadOnlyFile) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("file", "content");
    fs::permissions(folder.path(), fs::perms(0755));
    fs::permissions(file, fs::perms(0444));
    const bool ran = runUnprivileged([&] { EXPECT_EQ(codeOf([&] { files().flush(file); }), 0); });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("the rights of root cannot be given up here");
    }
}

TEST(FileSystem, TakesAVolumeThatCannotFlushAsFlushed) {
    struct Row {
        int error;
        int code;
    };
    const Row rows[] = {{EINVAL, 0}, {ENOSYS, 0}, {ENOTSUP, 0}, {EIO, 512}, {ENOSPC, 640}, {EDQUOT, 640}};
    for (const auto& [error, code] : rows) {
        SCOPED_TRACE(error);
        const TemporaryFolder folder;
        const fs::path file = folder.write("file", "content");
        int found = -1;
        if (!runWithRefusedCalls({{SYS_fsync, error}}, [&] { found = codeOf([&] { files().flush(file); }); })) {
            OVREL_SKIP_OUTSIDE_CI("system calls cannot be refused here");
        }
        EXPECT_EQ(found, code);
    }
}

TEST(FileSystem, TellsTheSizeOfAFile) {
    const TemporaryFolder folder;
    EXPECT_EQ(files().fileSize(folder.write("file", "content")), 7U);
    EXPECT_EQ(files().fileSize(folder.write("empty", "")), 0U);
    const fs::path large = folder.write("large", "");
    fs::resize_file(large, std::uintmax_t{5} << 32U);
    EXPECT_EQ(files().fileSize(large), std::uint64_t{5} << 32U);
    EXPECT_EQ(codeOf([&] { files().fileSize(folder / "missing"); }), FileError::readNoSuchFile);
}

TEST(FileSystem, CopiesTheModificationTimeAlone) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", "");
    const fs::path to = folder.write("to", "");
    const std::array<timespec, 2> source{timespec{1, 1}, timespec{1234567890, 123456789}};
    const std::array<timespec, 2> before{timespec{2000000000, 2}, timespec{2000000000, 2}};
    ASSERT_EQ(::utimensat(AT_FDCWD, from.c_str(), source.data(), 0), 0);
    ASSERT_EQ(::utimensat(AT_FDCWD, to.c_str(), before.data(), 0), 0);
    files().copyModificationTime(from, to);
    struct stat facts {};
    ASSERT_EQ(::stat(to.c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mtim.tv_sec, 1234567890);
    EXPECT_EQ(facts.st_mtim.tv_nsec, 123456789);
    EXPECT_EQ(facts.st_atim.tv_sec, 2000000000);
}

TEST(FileSystem, SaysWhyItCannotCopyTheModificationTime) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", "");
    const fs::path to = folder.write("to", "");
    fs::permissions(folder.path(), fs::perms(0755));
    EXPECT_EQ(codeOf([&] { files().copyModificationTime(folder / "missing", to); }), FileError::readNoSuchFile);
    EXPECT_EQ(codeOf([&] { files().copyModificationTime(from, folder / "missing"); }), FileError::noSuchFile);
}

TEST(FileSystem, CopiesAndMovesFiles) {
    const TemporaryFolder folder;
    const fs::path from = folder.write("from", "content");
    files().copyFile(from, folder / "copy");
    EXPECT_TRUE(files().moveWithoutReplacing(folder / "copy", folder / "moved"));
    EXPECT_THAT(folder.listing(), ElementsAre("from", "moved"));
    EXPECT_EQ(contentOf(folder / "moved"), "content");
    EXPECT_FALSE(files().moveWithoutReplacing(from, folder / "moved"));
    EXPECT_THAT(folder.listing(), ElementsAre("from", "moved"));
    EXPECT_EQ(codeOf([&] { files().copyFile(from, folder / "moved"); }), FileError::writeUnknown);
}

} // namespace

} // namespace ovrel::test
