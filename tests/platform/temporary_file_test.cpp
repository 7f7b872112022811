#include "platform/temporary_file.h"

#include "tests/support/child_process.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <fstream>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <fcntl.h>
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

/// proc(5): whether the thread whose open file "stat" this is sleeps until something happens.
bool isAsleep(int stat) {
    std::array<char, 256> line{};
    if (::pread(stat, line.data(), line.size() - 1, 0) <= 0) {
        throw std::runtime_error("no state of the thread");
    }
    const std::string_view text(line.data());
    return text.substr(text.rfind(')')).starts_with(") S"); // the name before it may hold anything
}

TEST(RemoveTemporaryFiles, LetsNoNewOneBegin) {
    const TemporaryFolder folder;
    ChildProcess child([&] {
        std::atomic<pid_t> beginner = 0;
        std::atomic<bool> removed = false;
        std::thread([&] {
            beginner = ::gettid();
            beginner.notify_all();
            while (!removed) { // awake, so that it is nothing but the new one that makes it sleep
            }
            const TemporaryFile temporary(folder.path());
            ::_exit(1);
        }).detach();
        beginner.wait(0);
        const std::string file = "/proc/self/task/" + std::to_string(beginner) + "/stat";
        const int stat = ::open(file.c_str(), O_RDONLY); // later nothing can be opened
        removeTemporaryFiles();
        removed = true;
        while (!isAsleep(stat)) {
            std::this_thread::yield();
        }
        ::_exit(0);
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
