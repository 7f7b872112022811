#include "conversion/publish.h"

#include "tests/support/child_process.h"
#include "tests/support/forwarding_file_system.h"
#include "tests/support/private_mounts.h"
#include "tests/support/refused_calls.h"
#include "tests/support/skip_outside_ci.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/unprivileged.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <sys/syscall.h>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

/// Publishes a new temporary file with this content.
fs::path publishNew(FileSystem& fileSystem, const TemporaryFolder& folder, const std::string& content,
                    const fs::path& source, const std::string& temporaryName = ".avif-1.tmp") {
    return publish(fileSystem, folder.write(temporaryName, content), InputItem{source, ""}, folder.path());
}

fs::path publishNew(const TemporaryFolder& folder, const std::string& content, const fs::path& source) {
    return publishNew(FileSystem::native(), folder, content, source);
}

int codeOf(const std::function<void()>& operation) {
    try {
        operation();
    } catch (const FileError& error) {
        return error.code();
    }
    return 0;
}

TEST(Publish, NamesTheResultAfterItsSource) {
    struct Row {
        const char* source;
        const char* result;
    };
    const Row rows[] = {
        {"photo.jpg", "photo.avif"},
        {"/photos/holiday/photo.JPG", "photo.avif"},
        {"a.b.png", "a.b.avif"},
        {"animation.gif", "animation.avif"},
        {"ready.avif", "ready.avif"},
        {"archive.tar.gz.webp", "archive.tar.gz.avif"},
        {"no extension", "no extension.avif"},
        {".jpg", ".jpg.avif"},
        {"photo.", "photo..avif"},
        {"photo..jpg", "photo..avif"},
        {"..jpg", "..avif"},
        {" .png", " .avif"},
        {"Море 🏖.webp", "Море 🏖.avif"},
        {"caf\xe9.png", "caf\xe9.avif"},
        {"new\nline.png", "new\nline.avif"},
    };
    for (const auto& [source, result] : rows) {
        SCOPED_TRACE(source);
        const TemporaryFolder folder;
        EXPECT_EQ(publishNew(folder, "content", source), folder / result);
        EXPECT_THAT(folder.listing(), ElementsAre(result));
        EXPECT_EQ(contentOf(folder / result), "content");
    }
}

TEST(Publish, NumbersResultsOfOneName) {
    const TemporaryFolder folder;
    EXPECT_EQ(publishNew(folder, "1", "photo.JPG"), folder / "photo.avif");
    EXPECT_EQ(publishNew(folder, "2", "photo.png"), folder / "photo-2.avif");
    EXPECT_EQ(publishNew(folder, "3", "photo.jpg"), folder / "photo-3.avif");
    for (int number = 4; number <= 12; ++number) {
        EXPECT_EQ(publishNew(folder, "…", "photo.jpg"), folder / ("photo-" + std::to_string(number) + ".avif"));
    }
    EXPECT_EQ(contentOf(folder / "photo.avif"), "1");
    EXPECT_EQ(contentOf(folder / "photo-2.avif"), "2");
    EXPECT_EQ(contentOf(folder / "photo-3.avif"), "3");
}

TEST(Publish, FillsAGapInTheNumbers) {
    const TemporaryFolder folder;
    folder.write("photo.avif", "theirs");
    folder.write("photo-3.avif", "theirs");
    EXPECT_EQ(publishNew(folder, "ours", "photo.jpg"), folder / "photo-2.avif");
    EXPECT_EQ(publishNew(folder, "ours", "photo.jpg"), folder / "photo-4.avif");
}

TEST(Publish, PassesOverWhateverHasTheName) {
    const TemporaryFolder folder;
    folder.write("photo.avif", "theirs");
    fs::create_directory(folder / "photo-2.avif");
    fs::create_symlink("nowhere", folder / "photo-3.avif");
    fs::create_symlink("photo.avif", folder / "photo-4.avif");
    EXPECT_EQ(publishNew(folder, "ours", "photo.jpg"), folder / "photo-5.avif");
    EXPECT_EQ(contentOf(folder / "photo.avif"), "theirs");
    EXPECT_EQ(fs::read_symlink(folder / "photo-3.avif"), "nowhere");
    EXPECT_EQ(contentOf(folder / "photo-5.avif"), "ours");
}

TEST(Publish, KeepsToTheFolderThatItIsGiven) {
    const TemporaryFolder folder;
    const fs::path temporary = folder.write("output/sub/.avif-1.tmp", "content");
    const InputItem item{folder / "photos/sub/a.jpg", "sub"};
    EXPECT_EQ(publish(FileSystem::native(), temporary, item, folder / "output/sub"), folder / "output/sub/a.avif");
    EXPECT_THAT(folder.listing(), ElementsAre("output", "output/sub", "output/sub/a.avif"));
}

/// Notes what happens in which order.
class RecordingFileSystem : public ForwardingFileSystem {
public:
    std::vector<std::string> calls;

    void flush(const fs::path& file) override {
        calls.push_back("flush " + file.filename().native());
        ForwardingFileSystem::flush(file);
    }
    bool moveWithoutReplacing(const fs::path& from, const fs::path& to) override {
        calls.push_back("move " + from.filename().native() + " to " + to.filename().native());
        return ForwardingFileSystem::moveWithoutReplacing(from, to);
    }
};

TEST(Publish, FlushesTheFileBeforeItIsNamed) {
    const TemporaryFolder folder;
    RecordingFileSystem fileSystem;
    publishNew(fileSystem, folder, "content", "photo.jpg");
    EXPECT_THAT(fileSystem.calls, ElementsAre("flush .avif-1.tmp", "move .avif-1.tmp to photo.avif"));
}

TEST(Publish, DoesNotNameAFileThatCannotBeFlushed) {
    class FailingFlush : public RecordingFileSystem {
    public:
        void flush(const fs::path& file) override { throw FileError(FileError::writeOutOfSpace, file); }
    };
    const TemporaryFolder folder;
    FailingFlush fileSystem;
    EXPECT_EQ(codeOf([&] { publishNew(fileSystem, folder, "content", "photo.jpg"); }), FileError::writeOutOfSpace);
    EXPECT_THAT(fileSystem.calls, testing::IsEmpty());
    EXPECT_THAT(folder.listing(), ElementsAre(".avif-1.tmp"));
}

TEST(Publish, PassesOverANameThatAnotherWriterTakesFirst) {
    class FasterWriter : public RecordingFileSystem {
    public:
        int names = 2; ///< which the other writer takes between the look and the move
        bool moveWithoutReplacing(const fs::path& from, const fs::path& to) override {
            if (names-- > 0) {
                fs::copy_file(from, to);
                fs::resize_file(to, 1);
            }
            return RecordingFileSystem::moveWithoutReplacing(from, to);
        }
    };
    const TemporaryFolder folder;
    FasterWriter fileSystem;
    EXPECT_EQ(publishNew(fileSystem, folder, "ours", "photo.jpg"), folder / "photo-3.avif");
    EXPECT_THAT(fileSystem.calls, ElementsAre("flush .avif-1.tmp", "move .avif-1.tmp to photo.avif",
                                              "move .avif-1.tmp to photo-2.avif", "move .avif-1.tmp to photo-3.avif"));
    EXPECT_EQ(contentOf(folder / "photo.avif"), "o");
    EXPECT_EQ(contentOf(folder / "photo-2.avif"), "o");
    EXPECT_EQ(contentOf(folder / "photo-3.avif"), "ours");
}

TEST(Publish, FailsWithTheErrorOfTheMoveWhenTheNameIsFree) {
    class FullVolume : public RecordingFileSystem {
    public:
        bool moveWithoutReplacing(const fs::path& from, const fs::path& to) override {
            calls.push_back("move " + from.filename().native() + " to " + to.filename().native());
            throw FileError(FileError::writeOutOfSpace, to);
        }
    };
    const TemporaryFolder folder;
    folder.write("photo.avif", "theirs");
    FullVolume fileSystem;
    try {
        publishNew(fileSystem, folder, "content", "photo.jpg");
        FAIL() << "no error";
    } catch (const FileError& error) {
        EXPECT_EQ(error.code(), FileError::writeOutOfSpace);
        EXPECT_EQ(error.file(), folder / "photo-2.avif");
    }
    EXPECT_THAT(fileSystem.calls, ElementsAre("flush .avif-1.tmp", "move .avif-1.tmp to photo-2.avif"));
    EXPECT_THAT(folder.listing(), ElementsAre(".avif-1.tmp", "photo.avif"));
}

TEST(Publish, FailsWhereFreeNamesAreCalledTaken) {
    class ConfusedVolume : public RecordingFileSystem {
    public:
        bool moveWithoutReplacing(const fs::path& from, const fs::path& to) override {
            calls.push_back("move " + from.filename().native() + " to " + to.filename().native());
            return false;
        }
    };
    const TemporaryFolder folder;
    ConfusedVolume fileSystem;
    EXPECT_EQ(codeOf([&] { publishNew(fileSystem, folder, "content", "photo.jpg"); }), FileError::writeUnknown);
    EXPECT_THAT(fileSystem.calls, ElementsAre("flush .avif-1.tmp", "move .avif-1.tmp to photo.avif"));
    EXPECT_THAT(folder.listing(), ElementsAre(".avif-1.tmp"));
}

/// The computer's own, but one that ends a count without end.
class CountingFileSystem : public ForwardingFileSystem {
public:
    int moves = 0;
    bool moveWithoutReplacing(const fs::path& from, const fs::path& to) override {
        if (++moves > 3) {
            throw std::logic_error("too many names were tried");
        }
        return ForwardingFileSystem::moveWithoutReplacing(from, to);
    }
};

TEST(Publish, LeavesOneEmptyFileAtMostWhereNothingMayBeRenamedOrRemoved) {
    std::vector<RefusedCall> calls = {
        {SYS_renameat2, EINVAL}, {SYS_linkat, EOPNOTSUPP}, {SYS_renameat, EACCES}, {SYS_unlinkat, EACCES}};
#ifdef SYS_link
    calls.insert(calls.end(), {{SYS_link, EOPNOTSUPP}, {SYS_rename, EACCES}, {SYS_unlink, EACCES}});
#endif
    const TemporaryFolder folder;
    CountingFileSystem fileSystem;
    const bool ran = runWithRefusedCalls(calls, [&] {
        EXPECT_EQ(codeOf([&] { publishNew(fileSystem, folder, "content", "photo.jpg"); }),
                  FileError::writeNoPermission);
    });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("system calls cannot be refused here");
    }
    EXPECT_EQ(fileSystem.moves, 1);
    EXPECT_THAT(folder.listing(), ElementsAre(".avif-1.tmp", "photo.avif"));
    EXPECT_EQ(contentOf(folder / "photo.avif"), "");
}

TEST(Publish, FailsForANameThatIsTooLong) {
    const TemporaryFolder folder;
    const std::string fits(250, 'x');
    EXPECT_EQ(publishNew(folder, "content", fits + ".jpg"), folder / (fits + ".avif"));
    const std::string tooLong(251, 'y');
    EXPECT_EQ(codeOf([&] { publishNew(folder, "content", tooLong + ".jpg"); }), FileError::writeUnknown);
    EXPECT_THAT(folder.listing(), ElementsAre(".avif-1.tmp", fits + ".avif"));
}

TEST(Publish, FailsWhenTheFolderHasVanished) {
    const TemporaryFolder folder;
    const InputItem item{"photo.jpg", ""};
    EXPECT_EQ(codeOf([&] { publish(FileSystem::native(), folder / "gone/.avif-1.tmp", item, folder / "gone"); }),
              FileError::noSuchFile);
}

TEST(Publish, FailsInAFolderThatMayNotBeChanged) {
    const TemporaryFolder folder;
    const fs::path temporary = folder.write(".avif-1.tmp", "content");
    fs::permissions(folder.path(), fs::perms(0555));
    const bool ran = runUnprivileged([&] {
        EXPECT_EQ(codeOf([&] {
                      publish(FileSystem::native(), temporary, {"photo.jpg", ""}, folder.path());
                  }),
                  FileError::writeNoPermission);
    });
    fs::permissions(folder.path(), fs::perms(0755));
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("the rights of root cannot be given up here");
    }
}

TEST(Publish, FailsOnAReadOnlyVolume) {
    const TemporaryFolder folder;
    const bool ran = runWithOwnMounts([&] {
        mountMemory(folder.path(), "size=1m");
        const fs::path temporary = folder.write(".avif-1.tmp", "content");
        makeReadOnly(folder.path());
        EXPECT_EQ(codeOf([&] {
                      publish(FileSystem::native(), temporary, {"photo.jpg", ""}, folder.path());
                  }),
                  FileError::writeVolumeReadOnly);
    });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("nothing can be mounted here");
    }
}

constexpr int writers = 6;
constexpr int filesOfEach = 30;

std::string nameOf(int writer, int file) {
    return std::to_string(writer) + " " + std::to_string(file);
}

void publishMany(const TemporaryFolder& folder, int writer) {
    for (int file = 0; file < filesOfEach; ++file) {
        const std::string content = nameOf(writer, file);
        publishNew(FileSystem::native(), folder, content, "photo.jpg", ".avif-" + content + ".tmp");
    }
}

/// Every file once, under the names in which nothing is missing.
void expectAllFiles(const TemporaryFolder& folder) {
    std::set<std::string> names;
    std::set<std::string> found;
    std::set<std::string> written;
    for (int number = 1; number <= writers * filesOfEach; ++number) {
        const std::string name = number == 1 ? "photo.avif" : "photo-" + std::to_string(number) + ".avif";
        names.insert(name);
        found.insert(contentOf(folder / name));
        written.insert(nameOf((number - 1) / filesOfEach, (number - 1) % filesOfEach));
    }
    EXPECT_THAT(folder.listing(), testing::ElementsAreArray(names));
    EXPECT_EQ(found, written);
}

void publishFromThreads(const TemporaryFolder& folder) {
    std::vector<std::thread> threads;
    threads.reserve(writers);
    for (int writer = 0; writer < writers; ++writer) {
        threads.emplace_back([&folder, writer] { publishMany(folder, writer); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(Publish, LosesNothingAmongThreads) {
    const TemporaryFolder folder;
    publishFromThreads(folder);
    expectAllFiles(folder);
}

TEST(Publish, LosesNothingAmongProcesses) {
    const TemporaryFolder folder;
    std::vector<std::unique_ptr<ChildProcess>> processes;
    for (int writer = 0; writer < writers; ++writer) {
        processes.push_back(std::make_unique<ChildProcess>([&folder, writer] {
            publishMany(folder, writer);
            return 0;
        }));
    }
    for (const std::unique_ptr<ChildProcess>& process : processes) {
        EXPECT_EQ(process->wait(), 0);
    }
    expectAllFiles(folder);
}

TEST(Publish, LosesNothingOnVolumesThatCanDoLess) {
    const std::vector<RefusedCall> onlyLinks = {{SYS_renameat2, EINVAL}};
    std::vector<RefusedCall> onlyRenames = {{SYS_renameat2, EINVAL}, {SYS_linkat, EPERM}};
#ifdef SYS_link
    onlyRenames.push_back({SYS_link, EPERM});
#endif
    for (const std::vector<RefusedCall>& calls : {onlyLinks, onlyRenames}) {
        const TemporaryFolder folder;
        if (!runWithRefusedCalls(calls, [&] { publishFromThreads(folder); })) {
            OVREL_SKIP_OUTSIDE_CI("system calls cannot be refused here");
        }
        expectAllFiles(folder);
    }
}

} // namespace

} // namespace ovrel::test
