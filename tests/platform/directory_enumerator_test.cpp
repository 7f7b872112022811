#include "platform/linux/directory_enumerator.h"

#include "tests/support/child_process.h"
#include "tests/support/private_mounts.h"
#include "tests/support/refused_calls.h"
#include "tests/support/skip_outside_ci.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/unprivileged.h"
#include "tests/support/working_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;

/// Paths of all entries, as bytes.
std::vector<std::string> entries(DirectoryEnumerator& enumerator) {
    std::vector<std::string> paths;
    while (const std::optional<DirectoryEnumerator::Entry> entry = enumerator.next()) {
        paths.push_back(entry->path.native());
    }
    return paths;
}

/// Paths of all entries below `folder`, relative to it.
std::vector<std::string> entriesOf(const fs::path& folder, bool recursive) {
    const std::unique_ptr<DirectoryEnumerator> enumerator = FileSystem::native().enumerate(folder, recursive);
    if (!enumerator) {
        return {"no enumerator"};
    }
    std::vector<std::string> names = entries(*enumerator);
    for (std::string& name : names) {
        EXPECT_THAT(name, StartsWith(folder.native() + '/'));
        name.erase(0, folder.native().size() + 1);
    }
    return names;
}

bool canBeWalked(const fs::path& folder) {
    return FileSystem::native().enumerate(folder, true) != nullptr;
}

/// The code and the file of the failure that ends the walk.
std::pair<int, fs::path> failureOf(DirectoryEnumerator& enumerator) {
    try {
        entries(enumerator);
    } catch (const FileError& error) {
        return {error.code(), error.file()};
    }
    return {};
}

TEST(DirectoryEnumerator, GivesEveryEntryWithWhatItIs) {
    const TemporaryFolder folder;
    folder.write("file.jpg", "");
    folder.write("sub/inner.jpg", "");
    fs::create_symlink("file.jpg", folder / "link to file");
    fs::create_symlink("sub", folder / "link to folder");
    fs::create_symlink("nowhere", folder / "dangling");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);

    std::map<std::string, std::string> kinds;
    const auto enumerator = FileSystem::native().enumerate(folder.path(), true);
    ASSERT_TRUE(enumerator);
    while (const auto entry = enumerator->next()) {
        const ResourceValues& values = entry->values;
        kinds[entry->path.lexically_relative(folder.path()).native()] =
            std::string(values.isDirectory ? "directory" : "") + (values.isRegularFile ? "file" : "") +
            (values.isSymbolicLink ? "link" : "");
    }
    const std::map<std::string, std::string> expected = {
        {"file.jpg", "file"},
        {"sub", "directory"},
        {"sub/inner.jpg", "file"},
        {"link to file", "link"},
        {"link to folder", "link"},
        {"dangling", "link"},
        {"pipe", ""},
    };
    EXPECT_EQ(kinds, expected);
}

TEST(DirectoryEnumerator, WalksFoldersBelowOnlyWhenAsked) {
    const TemporaryFolder folder;
    folder.write("a.jpg", "");
    folder.write("sub/b.jpg", "");
    folder.write("sub/inner/c.jpg", "");
    fs::create_directory(folder / "empty");
    EXPECT_THAT(entriesOf(folder.path(), false), UnorderedElementsAre("a.jpg", "sub", "empty"));
    EXPECT_THAT(entriesOf(folder.path(), true),
                UnorderedElementsAre("a.jpg", "sub", "sub/b.jpg", "sub/inner", "sub/inner/c.jpg", "empty"));
}

TEST(DirectoryEnumerator, GivesNothingForAnEmptyFolder) {
    const TemporaryFolder folder;
    EXPECT_THAT(entriesOf(folder.path(), true), IsEmpty());
}

TEST(DirectoryEnumerator, StaysAtTheEnd) {
    const TemporaryFolder folder;
    folder.write("a.jpg", "");
    const auto enumerator = FileSystem::native().enumerate(folder.path(), true);
    ASSERT_TRUE(enumerator);
    EXPECT_EQ(entries(*enumerator).size(), 1U);
    EXPECT_FALSE(enumerator->next());
    EXPECT_FALSE(enumerator->next());
}

TEST(DirectoryEnumerator, LeavesOutWhatIsHiddenAndAllBelow) {
    const TemporaryFolder folder;
    folder.write("shown.jpg", "");
    folder.write(".hidden.jpg", "");
    folder.write("..two dots.jpg", "");
    folder.write(".folder/inside.jpg", "");
    folder.write("sub/.hidden.jpg", "");
    fs::create_symlink("shown.jpg", folder / ".link");
    EXPECT_THAT(entriesOf(folder.path(), true), UnorderedElementsAre("shown.jpg", "sub"));
}

TEST(DirectoryEnumerator, WalksAHiddenFolderThatIsGiven) {
    const TemporaryFolder folder;
    folder.write(".folder/inside.jpg", "");
    EXPECT_THAT(entriesOf(folder / ".folder", true), ElementsAre("inside.jpg"));
}

TEST(DirectoryEnumerator, DoesNotEnterPackages) {
    const TemporaryFolder folder;
    folder.write("Preview.app/Contents/icon.png", "");
    folder.write("sub/Album.PhotosLibrary/originals/1.jpg", "");
    folder.write("a.pkg", "a file, not a folder");
    EXPECT_THAT(entriesOf(folder.path(), true),
                UnorderedElementsAre("Preview.app", "sub", "sub/Album.PhotosLibrary", "a.pkg"));
}

TEST(DirectoryEnumerator, WalksAPackageThatIsGivenButNotThoseInIt) {
    const TemporaryFolder folder;
    folder.write("Album.photoslibrary/originals/1.jpg", "");
    folder.write("Album.photoslibrary/x.bundle/2.jpg", "");
    EXPECT_THAT(entriesOf(folder / "Album.photoslibrary", true),
                UnorderedElementsAre("originals", "originals/1.jpg", "x.bundle"));
}

TEST(DirectoryEnumerator, NeverFollowsLinks) {
    const TemporaryFolder folder;
    folder.write("walked/sub/a.jpg", "");
    folder.write("elsewhere/b.jpg", "");
    fs::create_directory_symlink("../elsewhere", folder / "walked/link");
    fs::create_directory_symlink("..", folder / "walked/sub/up");
    EXPECT_THAT(entriesOf(folder / "walked", true), UnorderedElementsAre("sub", "sub/a.jpg", "sub/up", "link"));
}

TEST(DirectoryEnumerator, CannotWalkWhatIsNoFolder) {
    const TemporaryFolder folder;
    folder.write("file", "");
    fs::create_directory(folder / "sub");
    fs::create_directory_symlink("sub", folder / "link");
    EXPECT_FALSE(canBeWalked(folder / "missing"));
    EXPECT_FALSE(canBeWalked(folder / "file"));
    EXPECT_FALSE(canBeWalked(folder / "link"));
    EXPECT_FALSE(canBeWalked(folder.path().native() + "/link/"));
    EXPECT_FALSE(canBeWalked(folder / std::string(256, 'x')));
    EXPECT_FALSE(canBeWalked(""));
    EXPECT_TRUE(canBeWalked(folder / "sub"));
}

TEST(DirectoryEnumerator, ExtendsTheFolderAsItWasGiven) {
    const TemporaryFolder folder;
    folder.write("sub/a.jpg", "");
    const std::string path = folder.path().native();
    const std::string name = folder.path().filename().native();
    const WorkingFolder working(folder.path());
    const std::pair<std::string, std::string> rows[] = {
        {path, path + "/sub/a.jpg"},
        {path + "/", path + "/sub/a.jpg"},
        {path + "///", path + "///sub/a.jpg"},
        {path + "/.", path + "/./sub/a.jpg"},
        {".", "./sub/a.jpg"},
        {"./", "./sub/a.jpg"},
        {"../" + name, "../" + name + "/sub/a.jpg"},
    };
    for (const auto& [given, file] : rows) {
        SCOPED_TRACE(given);
        const auto enumerator = FileSystem::native().enumerate(given, true);
        ASSERT_TRUE(enumerator);
        EXPECT_THAT(entries(*enumerator), testing::Contains(file));
    }
}

TEST(DirectoryEnumerator, WalksTheRoot) {
    const auto enumerator = FileSystem::native().enumerate("/", false);
    ASSERT_TRUE(enumerator);
    const std::vector<std::string> names = entries(*enumerator);
    EXPECT_THAT(names, Not(IsEmpty()));
    EXPECT_THAT(names, Each(Not(StartsWith("//"))));
}

TEST(DirectoryEnumerator, TakesNamesAsBytes) {
    const TemporaryFolder folder;
    const std::vector<std::string> names = {
        "\xff\xfe", "\xff\xfe/\x80.jpg", "new\nline.jpg", "Отпуск", "Отпуск/море.jpg", " ", "*?\"<>|.png"};
    fs::create_directory(folder / names[0]);
    fs::create_directory(folder / names[3]);
    for (const std::string& name : names) {
        if (name != names[0] && name != names[3]) {
            folder.write(name, "");
        }
    }
    EXPECT_THAT(entriesOf(folder.path(), true), UnorderedElementsAreArray(names));
}

TEST(DirectoryEnumerator, GivesEachOfManyFilesOnce) {
    const TemporaryFolder folder;
    std::vector<std::string> names;
    for (int number = 0; number < 3000; ++number) {
        names.push_back("a long name so that the system hands them over in several parts " + std::to_string(number));
        std::ofstream(folder / names.back()).put('x');
    }
    EXPECT_THAT(entriesOf(folder.path(), true), UnorderedElementsAreArray(names));
}

TEST(DirectoryEnumerator, FailsForAFolderBelowThatMayNotBeRead) {
    const TemporaryFolder folder;
    folder.write("closed/a.jpg", "");
    fs::permissions(folder.path(), fs::perms::all);
    fs::permissions(folder / "closed", fs::perms::none);
    const bool ran = runUnprivileged([&] {
        EXPECT_FALSE(canBeWalked(folder / "closed"));
        const auto shallow = FileSystem::native().enumerate(folder.path(), false);
        ASSERT_TRUE(shallow);
        EXPECT_EQ(entries(*shallow).size(), 1U);
        const auto deep = FileSystem::native().enumerate(folder.path(), true);
        ASSERT_TRUE(deep);
        EXPECT_EQ(failureOf(*deep), std::pair(FileError::readNoPermission, folder / "closed"));
        EXPECT_FALSE(deep->next()) << "the walk is over";
    });
    fs::permissions(folder / "closed", fs::perms::all);
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("the rights of root cannot be given up here");
    }
}

TEST(DirectoryEnumerator, EndsTheWalkAtAFailure) {
    const TemporaryFolder folder;
    folder.write("closed/a.jpg", "");
    folder.write("open 1/a.jpg", "");
    folder.write("open 2/a.jpg", "");
    fs::permissions(folder.path(), fs::perms::all);
    fs::permissions(folder / "closed", fs::perms::none);
    const bool ran = runUnprivileged([&] {
        const auto deep = FileSystem::native().enumerate(folder.path(), true);
        ASSERT_TRUE(deep);
        EXPECT_EQ(failureOf(*deep).first, FileError::readNoPermission);
        EXPECT_FALSE(deep->next());
    });
    fs::permissions(folder / "closed", fs::perms::all);
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("the rights of root cannot be given up here");
    }
}

TEST(DirectoryEnumerator, FailsWhenTheDeviceDoes) {
    const TemporaryFolder folder;
    folder.write("a.jpg", "");
    const bool ran = runWithRefusedCalls({{SYS_getdents64, EIO}}, [&] {
        const auto enumerator = FileSystem::native().enumerate(folder.path(), true);
        ASSERT_TRUE(enumerator);
        EXPECT_EQ(failureOf(*enumerator), std::pair(FileError::readUnknown, folder.path()));
        EXPECT_FALSE(enumerator->next());
    });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("system calls cannot be refused here");
    }
}

TEST(DirectoryEnumerator, FailsForFoldersWhosePathIsTooLong) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "top");
    // One step at a time, since the whole path is more than the system takes.
    const std::string name(250, 'x');
    int inner = ::open((folder / "top").c_str(), O_RDONLY | O_DIRECTORY);
    for (int depth = 0; depth < 18; ++depth) {
        ASSERT_EQ(::mkdirat(inner, name.c_str(), 0700), 0);
        const int next = ::openat(inner, name.c_str(), O_RDONLY | O_DIRECTORY);
        ::close(inner);
        inner = next;
    }
    ::close(inner);
    const auto enumerator = FileSystem::native().enumerate(folder.path(), true);
    ASSERT_TRUE(enumerator);
    const auto [code, file] = failureOf(*enumerator);
    EXPECT_EQ(code, FileError::readUnknown);
    EXPECT_GE(file.native().size(), 4096U);
}

TEST(DirectoryEnumerator, WalksDeepFoldersWithFewDescriptors) {
    const TemporaryFolder folder;
    fs::path deepest;
    for (int depth = 0; depth < 500; ++depth) {
        deepest /= "d";
    }
    folder.write(deepest / "a.jpg", "");
    ChildProcess child([&] {
        constexpr rlim_t few = 16;
        const rlimit limit{few, few};
        if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) {
            return 2;
        }
        return entriesOf(folder.path(), true).size() == 501 ? 0 : 1;
    });
    EXPECT_EQ(child.wait(), 0);
}

TEST(DirectoryEnumerator, FailsForAFolderThatVanishesDuringTheWalk) {
    const TemporaryFolder folder;
    folder.write("sub/a.jpg", "");
    const auto enumerator = FileSystem::native().enumerate(folder.path(), true);
    ASSERT_TRUE(enumerator);
    ASSERT_TRUE(enumerator->next());
    fs::remove_all(folder / "sub");
    EXPECT_EQ(failureOf(*enumerator), std::pair(FileError::readNoSuchFile, folder / "sub"));
    EXPECT_FALSE(enumerator->next()) << "the walk is over";
}

TEST(DirectoryEnumerator, FailsForAFolderWhosePlaceALinkOrAFileTook) {
    const TemporaryFolder folder;
    folder.write("elsewhere/secret.jpg", "");
    for (const bool isLink : {true, false}) {
        SCOPED_TRACE(isLink ? "link" : "file");
        fs::remove_all(folder / "walked");
        folder.write("walked/sub/a.jpg", "");
        const auto enumerator = FileSystem::native().enumerate(folder / "walked", true);
        ASSERT_TRUE(enumerator);
        ASSERT_TRUE(enumerator->next());
        fs::remove_all(folder / "walked/sub");
        if (isLink) {
            fs::create_directory_symlink(folder / "elsewhere", folder / "walked/sub");
        } else {
            folder.write("walked/sub", "");
        }
        EXPECT_EQ(failureOf(*enumerator), std::pair(FileError::readNoSuchFile, folder / "walked/sub"));
    }
}

TEST(DirectoryEnumerator, FailsWhenTheWalkedFolderItselfVanishes) {
    const TemporaryFolder folder;
    folder.write("walked/sub/a.jpg", "");
    const auto enumerator = FileSystem::native().enumerate(folder / "walked", true);
    ASSERT_TRUE(enumerator);
    ASSERT_TRUE(enumerator->next());
    fs::remove_all(folder / "walked");
    EXPECT_EQ(failureOf(*enumerator).first, FileError::readNoSuchFile);
}

TEST(DirectoryEnumerator, DoesNotEnterAFolderInsideItself) {
    const TemporaryFolder folder;
    folder.write("sub/a.jpg", "");
    fs::create_directory(folder / "sub/whole");
    fs::create_directory(folder / "sub/sibling");
    folder.write("other/b.jpg", "");
    const bool ran = runWithOwnMounts([&] {
        mountAgain(folder.path(), folder / "sub/whole");
        mountAgain(folder / "other", folder / "sub/sibling");
        EXPECT_THAT(entriesOf(folder.path(), true), UnorderedElementsAre("sub", "sub/a.jpg", "sub/whole", "sub/sibling",
                                                                         "sub/sibling/b.jpg", "other", "other/b.jpg"));
    });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("nothing can be mounted here");
    }
}

TEST(DirectoryEnumerator, WalksOtherVolumesBelow) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "volume");
    const bool ran = runWithOwnMounts([&] {
        mountMemory(folder / "volume", "size=1m");
        folder.write("volume/sub/a.jpg", "");
        EXPECT_THAT(entriesOf(folder.path(), true), UnorderedElementsAre("volume", "volume/sub", "volume/sub/a.jpg"));
    });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("nothing can be mounted here");
    }
}

TEST(DirectoryEnumerator, AsksForTheTypeWhereTheFolderDoesNotTellIt) {
    const TemporaryFolder folder;
    folder.write("file", "");
    fs::create_directory(folder / "sub");
    fs::create_directory_symlink("sub", folder / "link");
    const int descriptor = ::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_GE(descriptor, 0);
    const std::pair<const char*, mode_t> rows[] = {{"file", S_IFREG}, {"sub", S_IFDIR}, {"link", S_IFLNK}};
    for (const auto& [name, type] : rows) {
        EXPECT_EQ(entryType(descriptor, name, DT_UNKNOWN), type) << name;
    }
    EXPECT_EQ(entryType(descriptor, "missing", DT_UNKNOWN), 0U);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(entryType(descriptor, "missing", DT_LNK), static_cast<mode_t>(S_IFLNK)) << "not asked when it is told";
    ::close(descriptor);
}

} // namespace

} // namespace ovrel::test
