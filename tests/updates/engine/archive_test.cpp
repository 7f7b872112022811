#include "tests/support/private_mounts.h"
#include "tests/support/refused_calls.h"
#include "tests/support/skip_outside_ci.h"
#include "tests/support/temporary_folder.h"
#include "tests/updates/engine/tar_writer.h"
#include "tests/updates/engine/update_failure.h"
#include "updates/engine/archive.h"
#include "updates/engine/staging.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;
using testing::AnyOf;
using testing::ElementsAre;

/// Between the places where an archive is cut or damaged: each try writes to the disk and waits for it.
constexpr std::size_t stepBytes = 7;

constexpr const char* damaged = "3000";
constexpr const char* refused = "3002";
constexpr const char* cancelled = "4007";

std::vector<TarEntry> treeWith(std::initializer_list<TarEntry> more) {
    std::vector<TarEntry> entries = goodTree();
    entries.insert(entries.end(), more);
    return entries;
}

TarEntry special(std::string path, TarKind kind, std::string target = "") {
    return {std::move(path), kind, std::move(target)};
}

/// An installation with something beside it that no archive may touch.
class ArchiveTest : public testing::Test {
protected:
    ArchiveTest() {
        folder_.write("Ovrel/bin/ovrel", "old program");
        folder_.write("precious/file", "precious");
        staging_ = Staging::create(InstallationPlace(folder_ / "Ovrel"));
    }

    fs::path tree() const { return folder_ / staging_->name() / "tree"; }

    std::string unpackInto(int directory, std::string_view bytes, const ArchiveLimits& limits = {}) const {
        return failureOf([&] {
            unpack(
                signedArchive(bytes), directory, [](double) {}, {}, limits);
        });
    }

    std::string unpackHere(std::string_view bytes, const ArchiveLimits& limits = {}) const {
        return unpackInto(staging_->tree(), bytes, limits);
    }

    void startAfresh() {
        staging_.reset();
        staging_ = Staging::create(InstallationPlace(folder_ / "Ovrel"));
    }

    /// Nothing but the staging folder has changed, and that goes.
    void expectNothingElseTouched() {
        staging_.reset();
        EXPECT_THAT(folder_.listing(),
                    ElementsAre("Ovrel", "Ovrel/bin", "Ovrel/bin/ovrel", "precious", "precious/file"));
        EXPECT_EQ(contentOf(folder_ / "precious/file"), "precious");
        EXPECT_EQ(contentOf(folder_ / "Ovrel/bin/ovrel"), "old program");
    }

    /// Names, kinds and contents of all that was unpacked.
    std::map<std::string, std::string> unpacked() const {
        std::map<std::string, std::string> found;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(tree())) {
            const std::string name = entry.path().lexically_relative(tree());
            if (entry.is_symlink()) {
                found[name] = "-> " + fs::read_symlink(entry.path()).native();
            } else {
                found[name] = entry.is_directory() ? "folder" : contentOf(entry.path());
            }
        }
        return found;
    }

    TemporaryFolder folder_;
    std::optional<Staging> staging_;
};

TEST_F(ArchiveTest, IsUnpackedAsItIs) {
    for (const TarFormat format : {TarFormat::pax, TarFormat::gnu, TarFormat::ustar}) {
        startAfresh();
        const UnpackedTree result =
            unpack(signedArchive(writeTar(goodTree(), {format})), staging_->tree(), [](double) {}, {});
        EXPECT_EQ(result.name, "ovrel-2.4");
        const std::map<std::string, std::string> expected{
            {"ovrel-2.4", "folder"},
            {"ovrel-2.4/bin", "folder"},
            {"ovrel-2.4/bin/library", "-> ../lib/libimage.so"},
            {"ovrel-2.4/bin/ovrel", "program"},
            {"ovrel-2.4/lib", "folder"},
            {"ovrel-2.4/lib/libimage.so", "-> libimage.so.1.2"},
            {"ovrel-2.4/lib/libimage.so.1.2", std::string(200000, 'l')},
            {"ovrel-2.4/manifest.json", "{}"},
        };
        EXPECT_EQ(unpacked(), expected);
        struct stat byPath {};
        struct stat byDescriptor {};
        ASSERT_EQ(::stat((tree() / "ovrel-2.4").c_str(), &byPath), 0);
        ASSERT_EQ(::fstat(result.directory.get(), &byDescriptor), 0);
        EXPECT_EQ(byPath.st_ino, byDescriptor.st_ino);
    }
    expectNothingElseTouched();
}

TEST_F(ArchiveTest, TakesOverNoRightsButThatToRun) {
    struct Row {
        unsigned int archived;
        unsigned int unpacked;
    };
    const Row rows[] = {{0644, 0644},  {0755, 0755},  {0600, 0644}, {0700, 0755}, {04755, 0755},
                        {02755, 0755}, {07777, 0755}, {0666, 0644}, {0000, 0644}, {0001, 0644}};
    for (const Row& row : rows) {
        startAfresh();
        ASSERT_EQ(unpackHere(writeTar(
                      {{"o", TarKind::folder, "", row.archived | 01000}, tarFile("o/file", "content", row.archived)})),
                  "");
        struct stat facts {};
        ASSERT_EQ(::stat((tree() / "o/file").c_str(), &facts), 0);
        EXPECT_EQ(facts.st_mode & 07777, row.unpacked) << std::oct << row.archived;
        ASSERT_EQ(::stat((tree() / "o").c_str(), &facts), 0);
        EXPECT_EQ(facts.st_mode & 07777, 0755U) << std::oct << row.archived;
    }
}

TEST_F(ArchiveTest, TakesOverNeitherOwnerNorTimeNorAttributes) {
    TarOptions options;
    options.withAttributes = true;
    ASSERT_EQ(unpackHere(writeTar({tarFolder("o"), tarFile("o/file")}, options)), "");
    struct stat facts {};
    ASSERT_EQ(::stat((tree() / "o/file").c_str(), &facts), 0);
    EXPECT_EQ(facts.st_uid, ::geteuid());
    EXPECT_EQ(facts.st_gid, ::getegid());
    EXPECT_GT(facts.st_mtim.tv_sec, 1'000'000);
    EXPECT_EQ(::listxattr((tree() / "o/file").c_str(), nullptr, 0), 0);
    EXPECT_EQ(contentOf(tree() / "o/file"), "content");
}

TEST_F(ArchiveTest, KeepsNamesBeyondAsciiInEveryLocale) {
    const std::vector<TarEntry> entries{tarFolder("овёл"), tarFile("овёл/Справка 日本.txt"),
                                        tarFile("овёл/" + std::string(240, 'n'))};
    const std::string before = std::setlocale(LC_ALL, nullptr);
    for (const char* const locale : {"C", "C.UTF-8"}) {
        ASSERT_NE(std::setlocale(LC_ALL, locale), nullptr);
        for (const TarFormat format : {TarFormat::pax, TarFormat::gnu}) {
            startAfresh();
            EXPECT_EQ(unpackHere(writeTar(entries, {format})), "") << locale;
            EXPECT_TRUE(fs::exists(tree() / "овёл/Справка 日本.txt")) << locale;
        }
    }
    std::setlocale(LC_ALL, before.c_str());
}

TEST_F(ArchiveTest, TellsItsProgressUpToTheEnd) {
    std::vector<TarEntry> entries = goodTree();
    std::string noise(3'000'000, '\0');
    std::uint32_t state = 1;
    for (char& byte : noise) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24);
    }
    entries.push_back(tarFile("ovrel-2.4/noise", noise));
    std::vector<double> reports;
    unpack(signedArchive(writeTar(entries)), staging_->tree(), [&](double part) { reports.push_back(part); }, {});
    ASSERT_GT(reports.size(), 10U);
    EXPECT_TRUE(std::is_sorted(reports.begin(), reports.end()));
    EXPECT_GE(reports.front(), 0.0);
    EXPECT_LT(reports.front(), 0.1);
    EXPECT_EQ(reports.back(), 1.0);
    EXPECT_EQ(contentOf(tree() / "ovrel-2.4/noise"), noise);
}

TEST_F(ArchiveTest, CanBeStoppedAtEveryStep) {
    const VerifiedArchive archive = signedArchive(writeTar(goodTree()));
    int steps = 0;
    unpack(archive, staging_->tree(), [&](double) { ++steps; }, {});
    ASSERT_GT(steps, 8);
    for (int last = 0; last < steps; ++last) {
        startAfresh();
        std::stop_source source;
        int step = 0;
        const auto stopThere = [&](double) {
            if (step++ == last) {
                source.request_stop();
            }
        };
        if (last == 0) {
            source.request_stop();
        }
        const std::string failure =
            failureOf([&] { unpack(archive, staging_->tree(), stopThere, source.get_token()); });
        EXPECT_EQ(failure, last == steps - 1 ? "" : cancelled) << last;
    }
    expectNothingElseTouched();
}

TEST_F(ArchiveTest, WithHostileEntriesIsRefused) {
    const std::string outside = (folder_ / "precious").native();
    struct Row {
        const char* name;
        std::vector<TarEntry> entries;
    };
    const std::vector<Row> rows = {
        {"up", treeWith({tarFile("../x")})},
        {"up from the tree", treeWith({tarFile("../../precious/file", "evil")})},
        {"absolute", treeWith({tarFile(outside + "/file", "evil")})},
        {"up in the middle", treeWith({tarFile("ovrel-2.4/../../../precious/file", "evil")})},
        {"absolute link", treeWith({tarLink("ovrel-2.4/out", outside)})},
        {"file through a link", treeWith({tarLink("ovrel-2.4/out", outside), tarFile("ovrel-2.4/out/file", "evil")})},
        {"file through a link inside",
         treeWith({tarLink("ovrel-2.4/in", "lib"), tarFile("ovrel-2.4/in/file", "evil")})},
        {"link by steps up", treeWith({tarLink("ovrel-2.4/out", "../../../precious/file")})},
        {"link by very many steps up",
         treeWith({tarLink("ovrel-2.4/out", "../../../../../../../../../../../../../../../../tmp/x")})},
        {"link that leaves and returns", treeWith({tarLink("ovrel-2.4/out", "../ovrel-2.4/lib")})},
        {"link up through a link",
         treeWith({tarLink("ovrel-2.4/lib/up", "../bin"), tarLink("ovrel-2.4/out", "lib/up/../../precious")})},
        {"file over a link", treeWith({tarLink("ovrel-2.4/out", "missing"), tarFile("ovrel-2.4/out", "evil")})},
        {"top folder is a link", {tarLink("ovrel-2.4", outside), tarFile("ovrel-2.4/file", "evil")}},
        {"top folder becomes a link", treeWith({tarLink("ovrel-2.4", outside)})},
        {"hard link inside", treeWith({special("ovrel-2.4/hard", TarKind::hardLink, "ovrel-2.4/bin/ovrel")})},
        {"hard link out", treeWith({special("ovrel-2.4/hard", TarKind::hardLink, outside + "/file")})},
        {"hard link up", treeWith({special("ovrel-2.4/hard", TarKind::hardLink, "../../precious/file")})},
        {"character device", treeWith({special("ovrel-2.4/null", TarKind::characterDevice)})},
        {"block device", treeWith({special("ovrel-2.4/disk", TarKind::blockDevice)})},
        {"fifo", treeWith({special("ovrel-2.4/fifo", TarKind::fifo)})},
        {"twice", treeWith({tarFile("ovrel-2.4/bin/ovrel", "other")})},
        {"folder twice", treeWith({tarFolder("ovrel-2.4/bin")})},
        {"in another case", treeWith({tarFile("ovrel-2.4/bin/OVREL", "other")})},
        {"folder in another case", treeWith({tarFolder("ovrel-2.4/BIN/")})},
        {"composed and not", treeWith({tarFile("ovrel-2.4/\u0439"), tarFile("ovrel-2.4/\u0438\u0306")})},
        {"two top folders", treeWith({tarFolder("ovrel-2.5/"), tarFile("ovrel-2.5/file")})},
        {"file at the top", treeWith({tarFile("readme")})},
        {"file at the top first", {tarFile("readme"), tarFolder("ovrel-2.4/")}},
        {"nothing", {}},
        {"leading dot", {tarFolder("./"), tarFolder("./ovrel-2.4/"), tarFile("./ovrel-2.4/file")}},
        {"line break", treeWith({tarFile("ovrel-2.4/a\nb")})},
        {"escape", treeWith({tarFile("ovrel-2.4/a\x1b[2J")})},
        {"long name", treeWith({tarFile("ovrel-2.4/" + std::string(300, 'n'))})},
        {"very long name", treeWith({tarFile("ovrel-2.4/" + std::string(100'000, 'n'))})},
    };
    for (const Row& row : rows) {
        for (const TarFormat format : {TarFormat::pax, TarFormat::gnu}) {
            startAfresh();
            EXPECT_EQ(unpackHere(writeTar(row.entries, {format})), refused) << row.name;
        }
    }
    expectNothingElseTouched();
    EXPECT_FALSE(fs::exists("/tmp/x"));
}

TEST_F(ArchiveTest, WithNamesThatAreNoTextIsRefused) {
    EXPECT_EQ(unpackHere(writeTar(treeWith({tarFile("ovrel-2.4/\xff\xfe")}), {TarFormat::gnu})), refused);
    startAfresh();
    // The header of a pax archive that is no UTF-8 is no header.
    EXPECT_THAT(unpackHere(writeTar(treeWith({tarFile("ovrel-2.4/\xff\xfe")}), {TarFormat::pax})),
                AnyOf(damaged, refused));
    expectNothingElseTouched();
}

TEST_F(ArchiveTest, WithHolesIsRefused) {
    TarEntry sparse = tarFile("ovrel-2.4/sparse", "");
    sparse.zeros = 10'000'000;
    sparse.parts = {{0, 10}, {9'000'000, 10}};
    EXPECT_EQ(unpackHere(writeTar(treeWith({sparse}))), damaged);
    sparse.parts = {{0, 10}};
    startAfresh();
    EXPECT_EQ(unpackHere(writeTar(treeWith({sparse}))), damaged);
    expectNothingElseTouched();
}

TEST_F(ArchiveTest, OfAGibibyteOfZerosIsRefusedBeforeItIsWritten) {
    TarEntry zeros = tarFile("ovrel-2.4/zeros", "");
    zeros.zeros = std::uint64_t{1} << 30;
    const std::string bytes = writeTar(treeWith({zeros}));
    EXPECT_LT(bytes.size(), 1'000'000U);
    EXPECT_EQ(unpackHere(bytes), refused);
    EXPECT_FALSE(fs::exists(tree() / "ovrel-2.4/zeros"));
    expectNothingElseTouched();
}

TEST_F(ArchiveTest, OfMillionsOfBytesInSmallFilesIsRefused) {
    std::vector<TarEntry> entries = goodTree();
    for (int index = 0; index < 40; ++index) {
        entries.push_back(tarFile("ovrel-2.4/zeros" + std::to_string(index), ""));
        entries.back().zeros = 1 << 20;
    }
    EXPECT_EQ(unpackHere(writeTar(entries)), refused);
}

TEST_F(ArchiveTest, OfAMillionEntriesIsRefused) {
    std::vector<TarEntry> entries{tarFolder("o")};
    for (int index = 0; index < 1'000'000; ++index) {
        entries.push_back(tarLink("o/" + std::to_string(index), "x"));
    }
    const std::string bytes = writeTar(entries, {TarFormat::ustar});
    ArchiveLimits limits;
    limits.entries = 2000; // making and removing tens of thousands shows no more
    EXPECT_EQ(unpackHere(bytes, limits), refused);
    EXPECT_EQ(std::distance(fs::directory_iterator(tree() / "o"), fs::directory_iterator()), 1999);
    expectNothingElseTouched();
}

TEST_F(ArchiveTest, OfAnotherKindIsDamaged) {
    const std::string good = writeTar(goodTree());
    struct Row {
        const char* name;
        std::string bytes;
    };
    const Row rows[] = {
        {"not compressed", writeTar(goodTree(), {TarFormat::pax, TarFilter::none})},
        {"otherwise compressed", writeTar(goodTree(), {TarFormat::pax, TarFilter::gzip})},
        {"text", std::string(100'000, 't')},
        {"one byte", "x"},
        {"the first bytes of xz", good.substr(0, 6)},
        {"a program", contentOf("/proc/self/exe").substr(0, 100'000)},
    };
    for (const Row& row : rows) {
        startAfresh();
        EXPECT_EQ(unpackHere(row.bytes), damaged) << row.name;
    }
    expectNothingElseTouched();
}

TEST_F(ArchiveTest, ThatIsCutIsNeverTakenForAnother) {
    const std::string good = writeTar(goodTree());
    ASSERT_EQ(unpackHere(good), "");
    const std::map<std::string, std::string> whole = unpacked();
    for (std::size_t size = 1; size < good.size(); size += stepBytes) {
        startAfresh();
        const std::string failure = unpackHere(good.substr(0, size));
        if (failure.empty()) {
            // Only the index behind the last block may be missing: all contents have come.
            EXPECT_GT(size + 100, good.size());
            EXPECT_EQ(unpacked(), whole) << size;
        } else {
            ASSERT_EQ(failure, damaged) << size;
        }
    }
    expectNothingElseTouched();
}

TEST_F(ArchiveTest, ThatIsDamagedIsNeverTakenForAnother) {
    const std::string good = writeTar(goodTree());
    ASSERT_EQ(unpackHere(good), "");
    const std::map<std::string, std::string> whole = unpacked();
    for (std::size_t place = 0; place < good.size(); place += stepBytes) {
        startAfresh();
        std::string changed = good;
        changed[place] = static_cast<char>(changed[place] ^ (1 << (place % 8)));
        const std::string failure = unpackHere(changed);
        if (failure.empty()) {
            EXPECT_GT(place + 100, good.size());
            EXPECT_EQ(unpacked(), whole) << place;
        } else {
            ASSERT_THAT(failure, AnyOf(damaged, refused)) << place;
        }
    }
    expectNothingElseTouched();
}

TEST_F(ArchiveTest, ThatDoesNotFitOntoTheDiskLeavesNothing) {
    TarEntry large = tarFile("ovrel-2.4/large", "");
    large.zeros = 4 << 20;
    const std::string bytes = writeTar(treeWith({large}));
    fs::create_directory(folder_ / "small");
    const bool ran = runWithOwnMounts([&] {
        mountMemory(folder_ / "small", "size=2m,nr_inodes=100");
        folder_.write("small/Ovrel/bin/ovrel", "old program");
        {
            const Staging staging = Staging::create(InstallationPlace(folder_ / "small/Ovrel"));
            EXPECT_EQ(unpackInto(staging.tree(), bytes), damaged);
        }
        EXPECT_EQ(std::distance(fs::directory_iterator(folder_ / "small"), fs::directory_iterator()), 1);
        EXPECT_EQ(contentOf(folder_ / "small/Ovrel/bin/ovrel"), "old program");
    });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("nothing can be mounted here");
    }
}

TEST_F(ArchiveTest, ThatNeedsMoreFilesThanTheDiskHasLeavesNothing) {
    const std::string bytes = writeTar(goodTree());
    fs::create_directory(folder_ / "small");
    const bool ran = runWithOwnMounts([&] {
        mountMemory(folder_ / "small", "size=2m,nr_inodes=12");
        folder_.write("small/Ovrel/bin/ovrel", "old program");
        {
            const Staging staging = Staging::create(InstallationPlace(folder_ / "small/Ovrel"));
            EXPECT_EQ(unpackInto(staging.tree(), bytes), damaged);
        }
        EXPECT_EQ(std::distance(fs::directory_iterator(folder_ / "small"), fs::directory_iterator()), 1);
    });
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("nothing can be mounted here");
    }
}

TEST_F(ArchiveTest, FailsWhereTheDiskRefuses) {
    const std::string bytes = writeTar(goodTree());
    for (const long call : {SYS_mkdirat, SYS_symlinkat, SYS_write, SYS_fsync}) {
        startAfresh();
        const VerifiedArchive archive = signedArchive(bytes);
        std::string failure;
        const bool ran = runWithRefusedCalls(
            {{call, EIO}}, [&] { failure = failureOf([&] { unpack(archive, staging_->tree(), [](double) {}, {}); }); });
        if (!ran) {
            OVREL_SKIP_OUTSIDE_CI("system calls cannot be refused here");
        }
        EXPECT_EQ(failure, damaged) << call;
    }
}

/// Does something to the tree while it is unpacked: once, as soon as `when` exists.
class Attack {
public:
    Attack(fs::path when, std::function<void()> deed) : when_(std::move(when)), deed_(std::move(deed)) {}

    void operator()(double /*part*/) {
        if (!done_ && fs::exists(when_)) {
            done_ = true;
            deed_();
        }
    }

    bool done() const { return done_; }

private:
    fs::path when_;
    std::function<void()> deed_;
    bool done_ = false;
};

TEST_F(ArchiveTest, CannotBeLedAstrayWhileItIsUnpacked) {
    const std::string bytes = writeTar(goodTree());
    const fs::path top = tree() / "ovrel-2.4";
    struct Row {
        const char* name;
        fs::path when; ///< below the tree
        std::function<void(const fs::path& tree)> deed;
        const char* result;
    };
    const fs::path precious = folder_ / "precious";
    const auto replaceByLink = [&](const fs::path& path) {
        fs::rename(path, path.native() + ".moved");
        fs::create_directory_symlink(precious, path);
    };
    const auto replaceByFolder = [&](const fs::path& path) {
        fs::rename(path, path.native() + ".moved");
        fs::create_directory(path);
        folder_.write(path / "evil", "evil");
    };
    const std::vector<Row> rows = {
        {"top folder becomes a link", "ovrel-2.4/bin", [&](const fs::path& at) { replaceByLink(at / "ovrel-2.4"); },
         refused},
        {"inner folder becomes a link", "ovrel-2.4/bin",
         [&](const fs::path& at) { replaceByLink(at / "ovrel-2.4/bin"); }, refused},
        {"top folder becomes another", "ovrel-2.4/bin", [&](const fs::path& at) { replaceByFolder(at / "ovrel-2.4"); },
         refused},
        {"inner folder becomes another", "ovrel-2.4/bin",
         [&](const fs::path& at) { replaceByFolder(at / "ovrel-2.4/bin"); }, refused},
        {"a file comes first", "ovrel-2.4/lib",
         [&](const fs::path& at) { folder_.write(at / "ovrel-2.4/lib/libimage.so", "evil"); }, refused},
        {"a link comes first", "ovrel-2.4/bin",
         [&](const fs::path& at) { fs::create_symlink(precious / "file", at / "ovrel-2.4/bin/ovrel"); }, refused},
        {"a folder comes first", "ovrel-2.4/bin",
         [&](const fs::path& at) { fs::create_directory_symlink(precious, at / "ovrel-2.4/lib"); }, refused},
        {"a file comes in addition", "ovrel-2.4/lib",
         [&](const fs::path& at) { folder_.write(at / "ovrel-2.4/lib/evil.so", "evil"); }, refused},
        {"a file goes", "ovrel-2.4/lib", [&](const fs::path& at) { fs::remove(at / "ovrel-2.4/manifest.json"); },
         refused},
        {"a second top folder", "ovrel-2.4/lib", [&](const fs::path& at) { fs::create_directory(at / "evil"); },
         refused},
        {"the folder for the tree becomes a link", "ovrel-2.4/bin", [&](const fs::path& at) { replaceByLink(at); }, ""},
    };
    for (const Row& row : rows) {
        startAfresh();
        const fs::path at = tree();
        Attack attack(at / row.when, [&] { row.deed(at); });
        const std::string failure =
            failureOf([&] { unpack(signedArchive(bytes), staging_->tree(), std::ref(attack), {}); });
        EXPECT_TRUE(attack.done()) << row.name;
        EXPECT_EQ(failure, row.result) << row.name;
        EXPECT_EQ(contentOf(precious / "file"), "precious") << row.name;
        EXPECT_THAT(std::distance(fs::directory_iterator(precious), fs::directory_iterator()), 1) << row.name;
    }
    expectNothingElseTouched();
}

TEST_F(ArchiveTest, IsUnpackedFromTheBytesThatWereVerified) {
    std::string bytes = writeTar(goodTree());
    const QString signature = sign(bytes);
    const fs::path download = folder_.write("download.tar.xz", bytes);
    const VerifiedArchive archive = verifySignature(seal(contentOf(download)), signature, testKey());
    // Whatever becomes of the file, and of the memory that it was read into.
    folder_.write("download.tar.xz", writeTar({tarFolder("evil"), tarFile("evil/file")}));
    bytes.assign(bytes.size(), 'x');
    EXPECT_EQ(unpack(archive, staging_->tree(), [](double) {}, {}).name, "ovrel-2.4");
    EXPECT_EQ(contentOf(tree() / "ovrel-2.4/bin/ovrel"), "program");
    EXPECT_FALSE(fs::exists(tree() / "evil"));
}

} // namespace

} // namespace ovrel::test
