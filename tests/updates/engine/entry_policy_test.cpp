#include "tests/updates/engine/update_failure.h"
#include "updates/engine/entry_policy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ovrel::test {

namespace {

using testing::ElementsAre;

constexpr const char* refused = "3002";
constexpr std::uint64_t archiveBytes = std::uint64_t{50} << 20;

ArchiveEntry entryOf(EntryKind kind, std::string path, std::string target = "") {
    ArchiveEntry entry;
    entry.kind = kind;
    entry.path = std::move(path);
    entry.linkTarget = std::move(target);
    return entry;
}

ArchiveEntry folder(std::string path) {
    return entryOf(EntryKind::directory, std::move(path));
}

ArchiveEntry file(std::string path, std::uint64_t sizeBytes = 1) {
    ArchiveEntry entry = entryOf(EntryKind::file, std::move(path));
    entry.sizeBytes = sizeBytes;
    return entry;
}

ArchiveEntry link(std::string path, std::string target) {
    return entryOf(EntryKind::symbolicLink, std::move(path), std::move(target));
}

/// The result for the last entry; those before must pass.
std::string resultOf(const std::vector<ArchiveEntry>& entries, const ArchiveLimits& limits = {},
                     std::uint64_t bytes = archiveBytes) {
    EntryPolicy policy(bytes, limits);
    for (std::size_t index = 0; index + 1 < entries.size(); ++index) {
        policy.accept(entries[index]);
    }
    return failureOf([&] { policy.accept(entries.back()); });
}

TEST(EntryPolicy, SplitsAPath) {
    EntryPolicy policy(archiveBytes);
    policy.accept(folder("ovrel-2.4/"));
    policy.accept(folder("ovrel-2.4/bin"));
    ArchiveEntry program = file("ovrel-2.4/bin/ovrel", 1234);
    program.executable = true;
    const AcceptedEntry accepted = policy.accept(program);
    EXPECT_THAT(accepted.folders, ElementsAre("ovrel-2.4", "bin"));
    EXPECT_EQ(accepted.name, "ovrel");
    EXPECT_EQ(accepted.sizeBytes, 1234U);
    EXPECT_TRUE(accepted.executable);
    EXPECT_EQ(policy.topFolder(), "ovrel-2.4");
}

TEST(EntryPolicy, RefusesAnEmptyArchive) {
    const EntryPolicy policy(archiveBytes);
    EXPECT_EQ(failureOf([&] { static_cast<void>(policy.topFolder()); }), refused);
}

TEST(EntryPolicy, JudgesPaths) {
    struct Row {
        const char* name;
        std::string path;
        const char* result;
    };
    const Row rows[] = {
        {"plain", "o/file", ""},
        {"hidden", "o/.file", ""},
        {"three dots", "o/...", ""},
        {"Cyrillic", "o/Справка.txt", ""},
        {"blank", "o/a file", ""},
        {"backslash", "o/..\\x", ""},
        {"longest name", "o/" + std::string(255, 'n'), ""},
        {"empty", "", refused},
        {"dot", ".", refused},
        {"dots", "..", refused},
        {"up", "../x", refused},
        {"absolute", "/etc/x", refused},
        {"absolute inside", "//o/x", refused},
        {"up in the middle", "o/../../x", refused},
        {"up and back", "o/../o/x", refused},
        {"dot in the middle", "o/./x", refused},
        {"leading dot", "./o/x", refused},
        {"double slash", "o//x", refused},
        {"trailing slash of a file", "o/x/", refused},
        {"trailing dots", "o/..", refused},
        {"trailing dot", "o/.", refused},
        {"line break", "o/a\nb", refused},
        {"tab", "o/a\tb", refused},
        {"escape", "o/a\x1b[2J", refused},
        {"delete", "o/a\x7f", refused},
        {"next line", "o/a\u0085b", refused},
        {"line separator", "o/a\u2028b", refused},
        {"no UTF-8", "o/a\xff", refused},
        {"cut UTF-8", "o/a\xd0", refused},
        {"overlong slash", "o/a\xc0\xaf", refused},
        {"surrogate", "o/a\xed\xa0\x80", refused},
        {"too long a name", "o/" + std::string(256, 'n'), refused},
        {"too long a path", std::string(1025, 'p'), refused},
        {"a file beside the folder", "x", refused},
        {"another folder", "p/x", refused},
        {"folder in another case", "O/x", refused},
        {"folder without an entry", "o/missing/x", refused},
        {"below a file", "o/a/x", refused},
        {"below a link", "o/l/x", refused},
        {"twice", "o/a", refused},
        {"as a folder", "o/f", refused},
        {"in another case", "o/A", refused},
        {"Cyrillic in another case", "o/Я", refused},
        {"composed", "o/\u0439", refused},
        {"over a link", "o/L", refused},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(resultOf({folder("o"), file("o/a"), folder("o/f"), link("o/l", "f"), file("o/я"),
                            file("o/\u0438\u0306"), file(row.path)}),
                  row.result)
            << row.name;
    }
}

TEST(EntryPolicy, TakesOneFolderAtTheTop) {
    EXPECT_EQ(resultOf({folder("o")}), "");
    EXPECT_EQ(resultOf({folder("o"), folder("o/p")}), "");
    EXPECT_EQ(resultOf({folder("o"), folder("p")}), refused);
    EXPECT_EQ(resultOf({folder("o"), folder("o")}), refused);
    EXPECT_EQ(resultOf({file("o")}), refused);
    EXPECT_EQ(resultOf({link("o", "p")}), refused);
    EXPECT_EQ(resultOf({file("o/x")}), refused);
    EXPECT_EQ(resultOf({folder("o//")}), refused);
    EXPECT_EQ(resultOf({folder("/")}), refused);
    EXPECT_EQ(resultOf({folder("./")}), refused);
}

TEST(EntryPolicy, TakesNothingButFilesFoldersAndLinks) {
    EXPECT_EQ(resultOf({folder("o"), entryOf(EntryKind::other, "o/x")}), refused);
}

TEST(EntryPolicy, KeepsLinksInside) {
    struct Row {
        std::string target;
        const char* result;
    };
    // The link is o/a/b/link, so three steps up leave the folder "o".
    const Row rows[] = {
        {"file", ""},
        {"c/d/e", ""},
        {"../file", ""},
        {"../../file", ""},
        {"../../bin/ovrel", ""},
        {"link", ""}, // to itself: leads nowhere
        {"missing", ""},
        {"../../../file", refused},
        {"../../../o/file", refused},
        {"../../../../../../etc/passwd", refused},
        {"/etc/passwd", refused},
        {"/", refused},
        {"", refused},
        {".", refused},
        {"..", refused},
        {"../..", refused},
        {"./file", refused},
        {"c/../file", refused}, // "c" may be a link itself
        {"../c/..", refused},
        {"c//d", refused},
        {"c/", refused},
        {"a\nb", refused},
        {"a\xff", refused},
        {std::string(1025, 'n'), refused},
        {std::string(256, 'n'), refused},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(resultOf({folder("o"), folder("o/a"), folder("o/a/b"), link("o/a/b/link", row.target)}), row.result)
            << row.target;
    }
    EXPECT_EQ(resultOf({folder("o"), link("o/link", "file")}), "");
    EXPECT_EQ(resultOf({folder("o"), link("o/link", "../file")}), refused);
    EXPECT_EQ(resultOf({folder("o"), link("o/link", "../o/file")}), refused);
}

TEST(EntryPolicy, HasLimits) {
    ArchiveLimits limits;
    limits.entries = 3;
    EXPECT_EQ(resultOf({folder("o"), file("o/1"), file("o/2")}, limits), "");
    EXPECT_EQ(resultOf({folder("o"), file("o/1"), file("o/2"), file("o/3")}, limits), refused);

    limits = {};
    limits.fileBytes = 100;
    EXPECT_EQ(resultOf({folder("o"), file("o/1", 100)}, limits), "");
    EXPECT_EQ(resultOf({folder("o"), file("o/1", 101)}, limits), refused);
    EXPECT_EQ(resultOf({folder("o"), file("o/1", ~std::uint64_t{0})}, limits), refused);

    limits = {};
    limits.totalBytes = 100;
    EXPECT_EQ(resultOf({folder("o"), file("o/1", 60), file("o/2", 40)}, limits), "");
    EXPECT_EQ(resultOf({folder("o"), file("o/1", 60), file("o/2", 41)}, limits), refused);
    EXPECT_EQ(resultOf({folder("o"), file("o/1", 60), file("o/2", ~std::uint64_t{0} - 10)}, limits), refused);

    limits = {};
    limits.ratio = 10;
    limits.ratioFreeBytes = 50;
    EXPECT_EQ(resultOf({folder("o"), file("o/1", 150)}, limits, 10), "");
    EXPECT_EQ(resultOf({folder("o"), file("o/1", 151)}, limits, 10), refused);
    EXPECT_EQ(resultOf({folder("o"), file("o/1", std::uint64_t{500} << 20)}, limits, ~std::uint64_t{0}), "");

    limits = {};
    limits.depth = 3;
    EXPECT_EQ(resultOf({folder("o"), folder("o/2"), file("o/2/3")}, limits), "");
    EXPECT_EQ(resultOf({folder("o"), folder("o/2"), folder("o/2/3"), file("o/2/3/4")}, limits), refused);
}

TEST(EntryPolicy, LeavesRoomForAProgramWithAllItsLibraries) {
    EntryPolicy policy(archiveBytes);
    policy.accept(folder("o"));
    for (int index = 0; index < 5000; ++index) {
        policy.accept(file("o/" + std::to_string(index), 100'000));
    }
    EXPECT_EQ(policy.topFolder(), "o");
}

} // namespace

} // namespace ovrel::test
