#include "platform/linux/file_move.h"

#include "platform/file_error.h"
#include "tests/support/private_mounts.h"
#include "tests/support/refused_calls.h"
#include "tests/support/skip_outside_ci.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/unprivileged.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include <sys/syscall.h>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

struct Way {
    const char* name;
    MoveResult (*move)(const fs::path& from, const fs::path& to);
};
const Way ways[] = {{"rename", moveByRename}, {"link", moveByLink}, {"placeholder", moveByPlaceholder}};

/// What a volume answers that has no rename without replacing.
const std::vector<RefusedCall> noFlags = {{SYS_renameat2, EINVAL}};

/// What a volume answers that has no second names either.
std::vector<RefusedCall> noLinks(int error) {
    std::vector<RefusedCall> calls = {{SYS_renameat2, EINVAL}, {SYS_linkat, error}};
#ifdef SYS_link
    calls.push_back({SYS_link, error});
#endif
    return calls;
}

/// What a volume answers on which nothing gets another name in any way.
std::vector<RefusedCall> noRenames(int error) {
    std::vector<RefusedCall> calls = noLinks(EPERM);
    calls.push_back({SYS_renameat, error});
#ifdef SYS_rename
    calls.push_back({SYS_rename, error});
#endif
    return calls;
}

constexpr int nameTaken = -1;

/// The code of the failure, 0 for none.
int codeOfMove(const fs::path& from, const fs::path& to) {
    try {
        return moveFile(from, to) ? 0 : nameTaken;
    } catch (const FileError& error) {
        EXPECT_EQ(error.file(), to);
        return error.code();
    }
}

TEST(FileMove, GivesTheFileItsNewNameInEachWay) {
    for (const Way& way : ways) {
        SCOPED_TRACE(way.name);
        const TemporaryFolder folder;
        folder.write("from", "content");
        EXPECT_EQ(way.move(folder / "from", folder / "to"), MoveResult::moved);
        EXPECT_THAT(folder.listing(), ElementsAre("to"));
        EXPECT_EQ(contentOf(folder / "to"), "content");
    }
}

TEST(FileMove, NeverReplacesInAnyWay) {
    for (const Way& way : ways) {
        SCOPED_TRACE(way.name);
        const TemporaryFolder folder;
        folder.write("from", "ours");
        folder.write("file", "theirs");
        fs::create_directory(folder / "folder");
        fs::create_symlink("nowhere", folder / "dangling");
        fs::create_symlink("file", folder / "link");
        const std::vector<std::string> before = folder.listing();

        for (const char* taken : {"file", "folder", "dangling", "link"}) {
            SCOPED_TRACE(taken);
            EXPECT_EQ(way.move(folder / "from", folder / taken), MoveResult::taken);
        }
        EXPECT_EQ(folder.listing(), before);
        EXPECT_EQ(contentOf(folder / "from"), "ours");
        EXPECT_EQ(contentOf(folder / "file"), "theirs");
    }
}

TEST(FileMove, LeavesNothingWhenTheFileIsMissing) {
    for (const Way& way : ways) {
        SCOPED_TRACE(way.name);
        const TemporaryFolder folder;
        errno = 0;
        EXPECT_EQ(way.move(folder / "from", folder / "to"), MoveResult::failed);
        EXPECT_EQ(errno, ENOENT);
        EXPECT_THAT(folder.listing(), IsEmpty());
    }
}

TEST(FileMove, MovesADanglingLinkItselfInEachWay) {
    for (const Way& way : ways) {
        SCOPED_TRACE(way.name);
        const TemporaryFolder folder;
        fs::create_symlink("nowhere", folder / "from");
        EXPECT_EQ(way.move(folder / "from", folder / "to"), MoveResult::moved);
        EXPECT_THAT(folder.listing(), ElementsAre("to"));
        EXPECT_EQ(fs::read_symlink(folder / "to"), "nowhere");
    }
}

TEST(FileMove, WorksOnAVolumeThatOnlyHasSecondNames) {
    for (const int error : {EINVAL, ENOSYS, ENOTSUP}) {
        SCOPED_TRACE(error);
        const TemporaryFolder folder;
        folder.write("from", "ours");
        folder.write("taken", "theirs");
        const bool ran = runWithRefusedCalls({{SYS_renameat2, error}}, [&] {
            EXPECT_EQ(moveByRename(folder / "from", folder / "to"), MoveResult::unsupported);
            EXPECT_EQ(codeOfMove(folder / "from", folder / "taken"), nameTaken);
            EXPECT_EQ(codeOfMove(folder / "from", folder / "to"), 0);
        });
        if (!ran) {
            OVREL_SKIP_OUTSIDE_CI("system calls cannot be refused here");
        }
        EXPECT_THAT(folder.listing(), ElementsAre("taken", "to"));
        EXPECT_EQ(contentOf(folder / "to"), "ours");
        EXPECT_EQ(contentOf(folder / "taken"), "theirs");
    }
}

TEST(FileMove, WorksOnAVolumeThatOnlyHasOrdinaryRenames) {
    for (const int error : {EPERM, EMLINK, ENOSYS, ENOTSUP}) {
        SCOPED_TRACE(error);
        const TemporaryFolder folder;
        folder.write("from", "ours");
        folder.write("taken", "theirs");
        const bool ran = runWithRefusedCalls(noLinks(error), [&] {
            EXPECT_EQ(moveByLink(folder / "from", folder / "to"), MoveResult::unsupported);
            EXPECT_EQ(codeOfMove(folder / "from", folder / "taken"), nameTaken);
            EXPECT_EQ(codeOfMove(folder / "from", folder / "to"), 0);
        });
        if (!ran) {
            OVREL_SKIP_OUTSIDE_CI("system calls cannot be refused here");
        }
        EXPECT_THAT(folder.listing(), ElementsAre("taken", "to"));
        EXPECT_EQ(contentOf(folder / "to"), "ours");
        EXPECT_EQ(contentOf(folder / "taken"), "theirs");
    }
}

TEST(FileMove, NamesTheReasonOfAFailure) {
    const TemporaryFolder folder;
    folder.write("from", "content");
    folder.write("taken", "theirs");
    EXPECT_EQ(codeOfMove(folder / "missing", folder / "to"), FileError::noSuchFile);
    EXPECT_EQ(codeOfMove(folder / "from", folder / "missing" / "to"), FileError::noSuchFile);
    EXPECT_EQ(codeOfMove(folder / "from", folder / "taken"), nameTaken);
    EXPECT_EQ(codeOfMove(folder / "from", folder / "taken" / "to"), FileError::writeUnknown);
    EXPECT_EQ(codeOfMove(folder / "from", folder / std::string(256, 'x')), FileError::writeUnknown);
    EXPECT_EQ(contentOf(folder / "from"), "content");
}

TEST(FileMove, NamesTheReasonOfALaterWay) {
    const TemporaryFolder folder;
    folder.write("from", "content");
    const bool ran = runWithRefusedCalls(
        noFlags, [&] { EXPECT_EQ(codeOfMove(folder / "from", folder / "missing" / "to"), FileError::noSuchFile); });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("system calls cannot be refused here");
    }
}

TEST(FileMove, LeavesNoPlaceholderWhenItsLastWayFails) {
    for (const int error : {EIO, EEXIST}) {
        SCOPED_TRACE(error);
        const TemporaryFolder folder;
        folder.write("from", "content");
        const bool ran = runWithRefusedCalls(
            noRenames(error), [&] { EXPECT_EQ(codeOfMove(folder / "from", folder / "to"), FileError::writeUnknown); });
        if (!ran) {
            OVREL_SKIP_OUTSIDE_CI("system calls cannot be refused here");
        }
        EXPECT_THAT(folder.listing(), ElementsAre("from"));
    }
}

TEST(FileMove, DoesNotCallItsOwnPlaceholderTakenWhereNothingMayBeRemoved) {
    for (const int error : {EACCES, EEXIST}) {
        SCOPED_TRACE(error);
        const TemporaryFolder folder;
        folder.write("from", "content");
        std::vector<RefusedCall> calls = noRenames(error);
        calls.push_back({SYS_unlinkat, EACCES});
#ifdef SYS_unlink
        calls.push_back({SYS_unlink, EACCES});
#endif
        const bool ran = runWithRefusedCalls(calls, [&] {
            EXPECT_EQ(codeOfMove(folder / "from", folder / "to"),
                      error == EACCES ? FileError::writeNoPermission : FileError::writeUnknown);
        });
        if (!ran) {
            OVREL_SKIP_OUTSIDE_CI("system calls cannot be refused here");
        }
        EXPECT_THAT(folder.listing(), ElementsAre("from", "to"));
        EXPECT_EQ(contentOf(folder / "from"), "content");
        EXPECT_EQ(contentOf(folder / "to"), "");
    }
}

TEST(FileMove, IsRefusedInAFolderThatMayNotBeChanged) {
    const TemporaryFolder folder;
    folder.write("from", "content");
    fs::permissions(folder.path(), fs::perms(0555));
    const bool ran =
        runUnprivileged([&] { EXPECT_EQ(codeOfMove(folder / "from", folder / "to"), FileError::writeNoPermission); });
    fs::permissions(folder.path(), fs::perms(0755));
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("the rights of root cannot be given up here");
    }
    EXPECT_THAT(folder.listing(), ElementsAre("from"));
}

TEST(FileMove, FailsOnAReadOnlyVolume) {
    const TemporaryFolder folder;
    const bool ran = runWithOwnMounts([&] {
        mountMemory(folder.path(), "size=1m");
        folder.write("from", "content");
        makeReadOnly(folder.path());
        EXPECT_EQ(codeOfMove(folder / "from", folder / "to"), FileError::writeVolumeReadOnly);
    });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("nothing can be mounted here");
    }
}

TEST(FileMove, FailsFromOneVolumeToAnother) {
    const TemporaryFolder folder;
    folder.write("from", "content");
    fs::create_directory(folder / "volume");
    const bool ran = runWithOwnMounts([&] {
        mountMemory(folder / "volume", "size=1m");
        EXPECT_EQ(codeOfMove(folder / "from", folder / "volume" / "to"), FileError::writeUnknown);
    });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("nothing can be mounted here");
    }
    EXPECT_EQ(contentOf(folder / "from"), "content");
}

} // namespace

} // namespace ovrel::test
