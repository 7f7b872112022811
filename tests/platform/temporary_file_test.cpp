#include "platform/temporary_file.h"

#include "tests/support/child_process.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

void write(const fs::path& file) {
    std::ofstream(file) << "content";
}

TEST(TemporaryFile, HasAHiddenNameOfItsOwnInTheFolder) {
    const TemporaryFolder folder;
    const TemporaryFile temporary(folder.path());
    EXPECT_EQ(temporary.path().parent_path(), folder.path());
    const std::string name = temporary.path().filename().native();
    const std::string shape = ".avif-XXXXXXXX-XXXX-4XXX-NXXX-XXXXXXXXXXXX.tmp";
    ASSERT_EQ(name.size(), shape.size());
    for (std::size_t place = 0; place < shape.size(); ++place) {
        const std::string allowed = shape[place] == 'X'   ? "0123456789ABCDEF"
                                    : shape[place] == 'N' ? "89AB"
                                                          : std::string(1, shape[place]);
        EXPECT_NE(allowed.find(name[place]), std::string::npos) << name << " at " << place;
    }
}

TEST(TemporaryFile, DoesNotCreateTheFile) {
    const TemporaryFolder folder;
    const TemporaryFile temporary(folder.path());
    EXPECT_THAT(folder.listing(), IsEmpty());
}

TEST(TemporaryFile, RemovesWhatStandsThereAtTheEnd) {
    const TemporaryFolder folder;
    {
        const TemporaryFile temporary(folder.path());
        write(temporary.path());
        EXPECT_THAT(folder.listing(), SizeIs(1));
    }
    EXPECT_THAT(folder.listing(), IsEmpty());
}

TEST(TemporaryFile, MindsNeitherAMissingFileNorAMissingFolder) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "sub");
    {
        const TemporaryFile moved(folder.path());
        write(moved.path());
        fs::rename(moved.path(), folder / "result");
        const TemporaryFile lost(folder / "sub");
        fs::remove(folder / "sub");
    }
    EXPECT_THAT(folder.listing(), ElementsAre("result"));
}

TEST(TemporaryFile, IsItsOwnInEveryThread) {
    const TemporaryFolder folder;
    std::mutex mutex;
    std::set<fs::path> paths;
    constexpr int holders = 8;
    std::vector<std::thread> threads;
    threads.reserve(holders);
    for (int thread = 0; thread < holders; ++thread) {
        threads.emplace_back([&] {
            for (int file = 0; file < 50; ++file) {
                const TemporaryFile temporary(folder.path());
                write(temporary.path());
                const std::lock_guard lock(mutex);
                paths.insert(temporary.path());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(paths, SizeIs(400));
    EXPECT_THAT(folder.listing(), IsEmpty());
}

TEST(RemoveTemporaryFiles, RemovesTheFilesOfAllHolders) {
    const TemporaryFolder folder;
    folder.write("kept.jpg", "");
    folder.write(".avif-of another program.tmp", "");
    ChildProcess child([&] {
        const TemporaryFile one(folder.path());
        const TemporaryFile two(folder.path());
        const TemporaryFile notWritten(folder.path());
        write(one.path());
        write(two.path());
        removeTemporaryFiles();
        removeTemporaryFiles();
        ::_exit(0);
        return 1;
    });
    EXPECT_EQ(child.wait(), 0);
    EXPECT_THAT(folder.listing(), ElementsAre(".avif-of another program.tmp", "kept.jpg"));
}

TEST(RemoveTemporaryFiles, LetsHoldersEndAfterwards) {
    const TemporaryFolder folder;
    ChildProcess child([&] {
        const TemporaryFile temporary(folder.path());
        write(temporary.path());
        removeTemporaryFiles();
        return 0;
    });
    EXPECT_EQ(child.wait(), 0);
    EXPECT_THAT(folder.listing(), IsEmpty());
}

TEST(RemoveTemporaryFiles, LetsNoHolderCreateItsFileAfterwards) {
    const TemporaryFolder folder;
    ChildProcess child([&] {
        const TemporaryFile temporary(folder.path());
        removeTemporaryFiles();
        write(temporary.path());
        ::_exit(fs::exists(temporary.path()) ? 1 : 0);
        return 1;
    });
    EXPECT_EQ(child.wait(), 0);
    EXPECT_THAT(folder.listing(), IsEmpty());
}

TEST(RemoveTemporaryFiles, LetsNoNewOneBegin) {
    const TemporaryFolder folder;
    ChildProcess child([&] {
        std::atomic<bool> running = false;
        std::atomic<bool> removed = false;
        std::atomic<bool> begun = false;
        std::thread([&] {
            running = true;
            running.notify_all();
            removed.wait(false);
            const TemporaryFile temporary(folder.path());
            begun = true;
        }).detach();
        running.wait(false);
        removeTemporaryFiles();
        removed = true;
        removed.notify_all();
        // Long enough for a thread that does not wait; for one that does it makes no difference.
        constexpr unsigned microseconds = 100000;
        ::usleep(microseconds);
        ::_exit(begun ? 1 : 0);
        return 1;
    });
    EXPECT_EQ(child.wait(), 0);
}

TEST(RemoveTemporaryFiles, LeavesNothingHiddenWhileThreadsWrite) {
    const TemporaryFolder folder;
    ChildProcess child([&] {
        std::atomic<int> writing = 0;
        for (int thread = 0; thread < 4; ++thread) {
            std::thread([&] {
                const TemporaryFile temporary(folder.path());
                std::ofstream stream(temporary.path());
                stream << "content" << std::flush;
                ++writing;
                while (stream) {
                    stream << "more" << std::flush;
                }
            }).detach();
        }
        while (writing < 4) {
            std::this_thread::yield();
        }
        removeTemporaryFiles();
        ::_exit(0);
        return 1;
    });
    EXPECT_EQ(child.wait(), 0);
    EXPECT_THAT(folder.listing(), IsEmpty());
}

} // namespace

} // namespace ovrel::test
