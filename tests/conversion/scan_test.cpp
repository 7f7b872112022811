#include "conversion/scan.h"

#include "conversion/converter.h"
#include "tests/support/forwarding_file_system.h"
#include "tests/support/peak_memory.h"
#include "tests/support/sanitizers.h"
#include "tests/support/skip_outside_ci.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/unprivileged.h"
#include "tests/support/working_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <sys/stat.h>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

using Paths = std::vector<fs::path>;

/// The found paths, in order, relative to `folder`.
std::vector<std::string> found(const fs::path& folder, const Paths& urls, bool recursive = true) {
    std::vector<std::string> names;
    for (const InputItem& item : Converter::scan(urls, recursive)) {
        names.push_back(item.url.lexically_relative(folder).native());
    }
    return names;
}

std::vector<std::string> directoriesOf(const std::vector<InputItem>& items) {
    std::vector<std::string> directories;
    for (const InputItem& item : items) {
        directories.push_back(item.relativeDirectory);
    }
    return directories;
}

TEST(Converter, AcceptsSixExtensions) {
    EXPECT_THAT(Converter::extensions, ElementsAre("jpg", "jpeg", "webp", "png", "avif", "gif"));
}

TEST(Scan, FindsNothingInNothing) {
    const TemporaryFolder folder;
    EXPECT_THAT(Converter::scan(Paths{}, true), IsEmpty());
    EXPECT_THAT(Converter::scan(Paths{folder.path()}, true), IsEmpty());
}

TEST(Scan, AcceptsFilesByTheirExtensionInAnyCase) {
    const TemporaryFolder folder;
    const std::vector<std::string> accepted = {"1.jpg", "2.jpeg", "3.webp",  "4.png",  "5.avif",
                                               "6.gif", "7.JPG",  "8.a.Png", "9.b.gIF"};
    for (const std::string& name : accepted) {
        folder.write(name, "");
    }
    for (const char* name : {"photo.tiff", "photo.heic", "jpg", "photo.jpg.txt", "photo.", "photo", "x.jpgx", "x.jp"}) {
        folder.write(name, "");
    }
    EXPECT_THAT(found(folder.path(), {folder.path()}), ElementsAreArray(accepted));

    Paths given;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder.path())) {
        given.push_back(entry.path());
    }
    EXPECT_THAT(found(folder.path(), given), ElementsAreArray(accepted)) << "the same rule for files that are given";
}

TEST(Scan, SearchesFoldersBelowOnlyWhenAsked) {
    const TemporaryFolder folder;
    folder.write("a.jpg", "");
    folder.write("sub/b.jpg", "");
    folder.write("sub/inner/c.jpg", "");
    EXPECT_THAT(found(folder.path(), {folder.path()}, false), ElementsAre("a.jpg"));
    EXPECT_THAT(found(folder.path(), {folder.path()}, true), ElementsAre("a.jpg", "sub/b.jpg", "sub/inner/c.jpg"));
}

TEST(Scan, RemembersTheFoldersBetweenTheGivenOneAndTheFile) {
    const TemporaryFolder folder;
    folder.write("a.jpg", "");
    folder.write("sub/b.jpg", "");
    folder.write("sub/inner/c.jpg", "");
    folder.write("\xff/d.jpg", "");
    const std::vector<std::string> expected = {"", "sub", "sub/inner", "\xff"};
    const WorkingFolder working(folder.path());
    const std::string path = folder.path().native();
    for (const std::string& given : {path, path + "/", path + "//", path + "/.", std::string("."), std::string("./"),
                                     "../" + folder.path().filename().native(), path + "/sub/.."}) {
        SCOPED_TRACE(given);
        EXPECT_THAT(directoriesOf(Converter::scan(Paths{given}, true)), ElementsAreArray(expected));
    }
}

TEST(Scan, RemembersNoFolderForAGivenFile) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("sub/inner/a.jpg", "");
    const std::vector<InputItem> items = Converter::scan(Paths{file}, true);
    EXPECT_THAT(items, ElementsAre(InputItem{file, ""}));
}

TEST(Scan, KeepsPathsAsTheyWereGivenOrFound) {
    const TemporaryFolder folder;
    folder.write("a.jpg", "");
    folder.write("sub/b.jpg", "");
    const WorkingFolder working(folder.path());
    const std::vector<InputItem> items = Converter::scan(Paths{"sub/../a.jpg", "./sub"}, true);
    std::vector<std::string> ids;
    for (const InputItem& item : items) {
        ids.push_back(item.id());
    }
    EXPECT_THAT(ids, testing::UnorderedElementsAre("sub/../a.jpg", "./sub/b.jpg"));
}

TEST(Scan, GivesEachFileOnce) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("sub/a.jpg", "");
    const WorkingFolder working(folder.path());
    const std::string path = folder.path().native();
    EXPECT_THAT(Converter::scan(Paths{file, file}, true), ElementsAre(InputItem{file, ""}));
    EXPECT_THAT(Converter::scan(Paths{"sub/a.jpg", file, "sub/../sub//./a.jpg"}, true),
                ElementsAre(InputItem{"sub/a.jpg", ""}));
    EXPECT_THAT(Converter::scan(Paths{path, path + "/sub", "."}, true), SizeIs(1));
}

TEST(Scan, KeepsTheFirstOfAFileAndTheFolderThatHoldsIt) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("sub/a.jpg", "");
    EXPECT_THAT(Converter::scan(Paths{file, folder.path()}, true), ElementsAre(InputItem{file, ""}));
    EXPECT_THAT(Converter::scan(Paths{folder.path(), file}, true), ElementsAre(InputItem{file, "sub"}));
}

TEST(Scan, OfSeveralPathsIsScansOfEachMerged) {
    const TemporaryFolder folder;
    for (const char* name : {"img10.png", "img2.png", "sub/PHOTO.jpg", "sub/photo.jpg", "sub/inner/Ёлка.gif"}) {
        folder.write(name, "");
    }
    const std::string path = folder.path().native();
    for (const Paths& given : std::vector<Paths>{{},
                                                 {path},
                                                 {path + "/sub", path},
                                                 {path, path + "/sub"},
                                                 {path + "/img10.png", path + "/sub/inner", path + "//img10.png"},
                                                 {path + "/sub/photo.jpg", path + "/sub/PHOTO.jpg", path + "/sub"}}) {
        std::vector<std::vector<InputItem>> findings;
        for (const fs::path& each : given) {
            findings.push_back(Converter::scan(Paths{each}, true));
        }
        EXPECT_EQ(merged(findings), Converter::scan(given, true));
    }
}

TEST(Scan, OrdersByPathAsAFileBrowserDoes) {
    const TemporaryFolder folder;
    const std::vector<std::string> ordered = {"a/1.jpg", "B.jpg", "img2.png", "IMG3.png", "img10.png", "Ёлка.jpg"};
    for (const std::string& name : ordered) {
        folder.write(name, "");
    }
    EXPECT_THAT(found(folder.path(), {folder.path()}), ElementsAreArray(ordered));
    EXPECT_THAT(found(folder.path(), {folder / "img10.png", folder / "IMG3.png", folder / "img2.png"}),
                ElementsAre("img2.png", "IMG3.png", "img10.png"))
        << "whatever the order in which they are given";
}

TEST(Scan, KeepsTheOrderOfPathsThatCompareAlike) {
    const TemporaryFolder folder;
    for (const char* name : {"photo.jpg", "PHOTO.jpg", "Photo.jpg"}) {
        folder.write(name, "");
    }
    const Paths given = {folder / "Photo.jpg", folder / "photo.jpg", folder / "PHOTO.jpg"};
    EXPECT_THAT(found(folder.path(), given), ElementsAre("Photo.jpg", "photo.jpg", "PHOTO.jpg"));
    const Paths backwards(given.rbegin(), given.rend());
    EXPECT_THAT(found(folder.path(), backwards), ElementsAre("PHOTO.jpg", "photo.jpg", "Photo.jpg"));
}

TEST(Scan, LeavesOutWhatIsHiddenLinkedOrPacked) {
    const TemporaryFolder folder;
    folder.write("shown.jpg", "");
    folder.write(".hidden.jpg", "");
    folder.write(".folder/a.jpg", "");
    folder.write("Preview.app/icon.png", "");
    folder.write("Album.photoslibrary/originals/1.jpg", "");
    fs::create_symlink("shown.jpg", folder / "link.jpg");
    fs::create_symlink("nowhere.jpg", folder / "dangling.jpg");
    fs::create_directory_symlink(".folder", folder / "link");
    EXPECT_THAT(found(folder.path(), {folder.path()}), ElementsAre("shown.jpg"));
}

TEST(Scan, LeavesOutWhatIsNoFileInSpiteOfItsName) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "folder.jpg");
    folder.write("folder.png/inside.jpg", "");
    ASSERT_EQ(::mkfifo((folder / "pipe.jpg").c_str(), 0600), 0);
    EXPECT_THAT(found(folder.path(), {folder.path()}), ElementsAre("folder.png/inside.jpg"));
    EXPECT_THAT(found(folder.path(), {folder / "pipe.jpg"}), IsEmpty());
}

TEST(Scan, SkipsGivenLinks) {
    const TemporaryFolder folder;
    folder.write("sub/a.jpg", "");
    fs::create_directory_symlink("sub", folder / "folder link");
    fs::create_symlink("sub/a.jpg", folder / "link.jpg");
    fs::create_symlink("nowhere", folder / "dangling.jpg");
    const std::string path = folder.path().native();
    EXPECT_THAT(
        Converter::scan(
            Paths{path + "/folder link", path + "/folder link/", path + "/link.jpg", path + "/dangling.jpg"}, true),
        IsEmpty());
}

TEST(Scan, SearchesAGivenPackageOrHiddenFolder) {
    const TemporaryFolder folder;
    folder.write("Album.photoslibrary/originals/1.jpg", "");
    folder.write(".hidden/2.jpg", "");
    EXPECT_THAT(found(folder.path(), {folder / "Album.photoslibrary", folder / ".hidden"}),
                testing::UnorderedElementsAre("Album.photoslibrary/originals/1.jpg", ".hidden/2.jpg"));
}

TEST(Scan, AcceptsAHiddenFileThatIsGiven) {
    const TemporaryFolder folder;
    const fs::path file = folder.write(".hidden.jpg", "");
    EXPECT_THAT(found(folder.path(), {file}), ElementsAre(".hidden.jpg"));
}

TEST(Scan, TakesNamesAsBytes) {
    const TemporaryFolder folder;
    folder.write("\xff\xfe.jpg", "");
    folder.write("caf\xe9/\x80.png", "");
    EXPECT_THAT(found(folder.path(), {folder.path()}),
                testing::UnorderedElementsAre("\xff\xfe.jpg", "caf\xe9/\x80.png"));
}

TEST(Scan, FailsForAGivenPathThatIsMissing) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("a.jpg", "");
    for (const fs::path& missing : Paths{folder / "gone", folder / "gone.jpg", folder.path() / "a.jpg" / "b.jpg", ""}) {
        SCOPED_TRACE(missing);
        try {
            Converter::scan(Paths{file, missing}, true);
            ADD_FAILURE() << "no error";
        } catch (const FileError& error) {
            EXPECT_EQ(error.code(), FileError::readNoSuchFile);
            EXPECT_EQ(error.file(), missing);
        }
    }
}

TEST(Scan, TakesNoPathToEndAtANul) {
    using namespace std::string_literals;
    const TemporaryFolder folder;
    const fs::path file = folder.write("a.png", "");
    for (const fs::path& given :
         Paths{file.native() + "\0b.png"s, file.native() + "\0"s, folder.path().native() + "\0"s}) {
        SCOPED_TRACE(given);
        try {
            Converter::scan(Paths{given}, true);
            ADD_FAILURE() << "no error";
        } catch (const FileError& error) {
            EXPECT_EQ(error.code(), FileError::readNoSuchFile);
            EXPECT_EQ(error.file(), given);
        }
    }
}

TEST(Scan, FailsForAFolderBelowThatMayNotBeRead) {
    const TemporaryFolder folder;
    folder.write("a.jpg", "");
    folder.write("closed/b.jpg", "");
    fs::permissions(folder.path(), fs::perms(0755));
    fs::permissions(folder / "closed", fs::perms::none);
    const bool ran = runUnprivileged([&] {
        EXPECT_THAT(found(folder.path(), {folder.path()}, false), ElementsAre("a.jpg"));
        try {
            Converter::scan(Paths{folder.path()}, true);
            ADD_FAILURE() << "no error";
        } catch (const FileError& error) {
            EXPECT_EQ(error.code(), FileError::readNoPermission);
            EXPECT_EQ(error.file(), folder / "closed");
        }
    });
    fs::permissions(folder / "closed", fs::perms(0755));
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("the rights of root cannot be given up here");
    }
}

TEST(Scan, NamesAGivenFolderThatMayNotBeRead) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "Отпуск");
    fs::permissions(folder.path(), fs::perms(0755));
    fs::permissions(folder / "Отпуск", fs::perms::none);
    const bool ran = runUnprivileged([&] {
        try {
            Converter::scan(Paths{folder / "Отпуск"}, true);
            ADD_FAILURE() << "no error";
        } catch (const ConversionError& error) {
            EXPECT_EQ(error.message(), "Не удалось прочитать папку: Отпуск");
            EXPECT_EQ(error.english, "Unable to read folder: Отпуск");
        }
    });
    fs::permissions(folder / "Отпуск", fs::perms(0755));
    if (!ran) {
        OVREL_SKIP_OUTSIDE_CI("the rights of root cannot be given up here");
    }
}

/// Folders as a test makes them up.
class InventedFileSystem : public ForwardingFileSystem {
public:
    using Entry = DirectoryEnumerator::Entry;

    std::map<std::string, ResourceValues> values;
    std::map<std::string, std::deque<Entry>> folders; ///< a folder that is missing here cannot be read
    int failingCode = 0;                              ///< what ends each walk, 0 for nothing
    std::vector<bool> recursiveWalks;

    ResourceValues resourceValues(const fs::path& path) override { return values.at(path.native()); }

    std::unique_ptr<DirectoryEnumerator> enumerate(const fs::path& folder, bool recursive) override {
        class Listing : public DirectoryEnumerator {
        public:
            Listing(std::deque<Entry> entries, int code) : entries_(std::move(entries)), failingCode_(code) {}
            std::optional<Entry> next() override {
                if (!entries_.empty()) {
                    Entry entry = std::move(entries_.front());
                    entries_.pop_front();
                    return entry;
                }
                if (failingCode_ != 0) {
                    throw FileError(failingCode_, "below");
                }
                return std::nullopt;
            }

        private:
            std::deque<Entry> entries_;
            int failingCode_;
        };
        recursiveWalks.push_back(recursive);
        const auto listed = folders.find(folder.native());
        if (listed == folders.end()) {
            return nullptr;
        }
        return std::make_unique<Listing>(listed->second, failingCode);
    }
};

constexpr ResourceValues directory{true, false, false};
constexpr ResourceValues regularFile{false, true, false};
constexpr ResourceValues symbolicLink{false, false, true};

TEST(Scan, NamesAnUnreadableFolderHoweverItIsWritten) {
    const TemporaryFolder working;
    fs::create_directory(working / "inner");
    const WorkingFolder inWorking(working.path());
    const std::string here = working.path().filename().native();
    const std::pair<std::string, std::string> rows[] = {
        {"/photos/holiday", "holiday"},
        {"/photos/holiday/", "holiday"},
        {"/photos/holiday//", "holiday"},
        {"/photos/holiday/.", "holiday"},
        {"/photos/holiday/sub/..", "holiday"},
        {"holiday", "holiday"},
        {"a.photos", "a.photos"},
        {".", here},
        {"./", here},
        {"inner/..", here},
        {"/", "/"},
        {"//", "/"},
        {"/photos/Море", "Море"},
        {"/photos/caf\xe9", "caf\xef\xbf\xbd"},
    };
    for (const auto& [given, name] : rows) {
        SCOPED_TRACE(given);
        InventedFileSystem fileSystem;
        fileSystem.values[given] = directory;
        try {
            scan(fileSystem, Paths{given}, true);
            ADD_FAILURE() << "no error";
        } catch (const ConversionError& error) {
            EXPECT_EQ(error.message(), "Не удалось прочитать папку: " + name);
            EXPECT_EQ(error.english, "Unable to read folder: " + name);
        }
    }
}

TEST(Scan, FailsWithTheErrorThatEndsAWalk) {
    InventedFileSystem fileSystem;
    fileSystem.values["/photos"] = directory;
    fileSystem.folders["/photos"] = {{"/photos/a.jpg", regularFile}};
    EXPECT_THAT(scan(fileSystem, Paths{"/photos"}, true), ElementsAre(InputItem{"/photos/a.jpg", ""}));
    fileSystem.failingCode = FileError::readUnknown;
    try {
        scan(fileSystem, Paths{"/photos"}, true);
        ADD_FAILURE() << "no error";
    } catch (const FileError& error) {
        EXPECT_EQ(error.code(), FileError::readUnknown);
        EXPECT_EQ(error.file(), "below");
    }
}

TEST(Scan, FailsWhenAFolderVanishesWhileItIsSearched) {
    /// Somebody else removes each folder as soon as it is listed.
    class RemovingFileSystem : public ForwardingFileSystem {
    public:
        std::unique_ptr<DirectoryEnumerator> enumerate(const fs::path& folder, bool recursive) override {
            class Removing : public DirectoryEnumerator {
            public:
                explicit Removing(std::unique_ptr<DirectoryEnumerator> walk) : walk_(std::move(walk)) {}
                std::optional<Entry> next() override {
                    std::optional<Entry> entry = walk_->next();
                    if (entry && entry->values.isDirectory) {
                        fs::remove_all(entry->path);
                    }
                    return entry;
                }

            private:
                std::unique_ptr<DirectoryEnumerator> walk_;
            };
            return std::make_unique<Removing>(ForwardingFileSystem::enumerate(folder, recursive));
        }
    };
    const TemporaryFolder folder;
    folder.write("a.jpg", "");
    folder.write("sub/b.jpg", "");
    RemovingFileSystem fileSystem;
    try {
        scan(fileSystem, Paths{folder.path()}, true);
        ADD_FAILURE() << "no error";
    } catch (const FileError& error) {
        EXPECT_EQ(error.code(), FileError::readNoSuchFile);
        EXPECT_EQ(error.file(), folder / "sub");
    }
}

TEST(Scan, KeepsNothingOfEntriesThatAreNoPictures) {
    /// One picture behind very many files of other kinds.
    class CrowdedFileSystem : public ForwardingFileSystem {
    public:
        ResourceValues resourceValues(const fs::path& /*path*/) override { return directory; }
        std::unique_ptr<DirectoryEnumerator> enumerate(const fs::path& folder, bool /*recursive*/) override {
            class Crowd : public DirectoryEnumerator {
            public:
                explicit Crowd(fs::path folder) : folder_(std::move(folder)) {}
                std::optional<Entry> next() override {
                    constexpr int others = 100'000;
                    if (told_ > others) {
                        return std::nullopt;
                    }
                    const std::string extension = told_ == others ? ".png" : ".js";
                    return Entry{folder_ / (std::to_string(told_++) + extension), regularFile};
                }

            private:
                fs::path folder_;
                int told_ = 0;
            };
            return std::make_unique<Crowd>(folder);
        }
    };
    CrowdedFileSystem fileSystem;
    std::vector<InputItem> items;
    const std::uint64_t peak = peakMemoryOf([&] { items = scan(fileSystem, Paths{"/photos"}, true); });
    EXPECT_THAT(items, ElementsAre(InputItem{"/photos/100000.png", ""}));
    if (!underAddressSanitizer) { // which holds on to what was freed
        EXPECT_LT(peak, std::uint64_t{8} << 20);
    }
}

TEST(Scan, AsksForTheWalkThatIsWanted) {
    InventedFileSystem fileSystem;
    fileSystem.values["/photos"] = directory;
    fileSystem.folders["/photos"] = {};
    scan(fileSystem, Paths{"/photos"}, true);
    scan(fileSystem, Paths{"/photos"}, false);
    EXPECT_THAT(fileSystem.recursiveWalks, ElementsAre(true, false));
}

TEST(Scan, JudgesEntriesByWhatTheyAre) {
    InventedFileSystem fileSystem;
    fileSystem.values["/photos"] = directory;
    fileSystem.folders["/photos"] = {
        {"/photos/a.jpg", regularFile},    {"/photos/link.jpg", symbolicLink},
        {"/photos/folder.jpg", directory}, {"/photos/both.jpg", ResourceValues{false, true, true}},
        {"/photos/device.jpg", {}},
    };
    EXPECT_THAT(scan(fileSystem, Paths{"/photos"}, true), ElementsAre(InputItem{"/photos/a.jpg", ""}));
}

TEST(Scan, RemembersFoldersBelowTheRoot) {
    InventedFileSystem fileSystem;
    fileSystem.values["/"] = directory;
    fileSystem.folders["/"] = {{"/a.jpg", regularFile}, {"/b/c/d.jpg", regularFile}};
    EXPECT_THAT(scan(fileSystem, Paths{"/"}, true),
                ElementsAre(InputItem{"/a.jpg", ""}, InputItem{"/b/c/d.jpg", "b/c"}));
}

TEST(Scan, DoesNotMistakeAFolderWithTheSameBeginning) {
    InventedFileSystem fileSystem;
    fileSystem.values["/photos"] = directory;
    fileSystem.folders["/photos"] = {{"/photos/photos/photos.jpg", regularFile}};
    EXPECT_THAT(scan(fileSystem, Paths{"/photos"}, true),
                ElementsAre(InputItem{"/photos/photos/photos.jpg", "photos"}));
}

} // namespace

} // namespace ovrel::test
