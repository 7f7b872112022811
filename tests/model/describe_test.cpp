#include "conversion/converter.h"
#include "model/app_language.h"
#include "tests/support/private_mounts.h"
#include "tests/support/skip_outside_ci.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/unprivileged.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <new>
#include <ostream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;

/// A message in both languages.
struct Wording {
    std::string english;
    std::string russian;

    bool operator==(const Wording&) const = default;
    friend std::ostream& operator<<(std::ostream& stream, const Wording& wording) {
        return stream << wording.english << " / " << wording.russian;
    }
};

Wording describe(const std::exception_ptr& error) {
    return {AppLanguage(AppLanguage::english).describe(error).toStdString(),
            AppLanguage(AppLanguage::russian).describe(error).toStdString()};
}

template <typename Error>
Wording describeThrown(Error error) {
    return describe(std::make_exception_ptr(std::move(error)));
}

/// What a user reads when an AVIF cannot be copied.
Wording describeCopy(const fs::path& source, const fs::path& output) {
    try {
        Converter::convert({source, ""}, output, 0.5, EncodingMode::efficient, 6);
    } catch (...) {
        return describe(std::current_exception());
    }
    return {"nothing was refused", ""};
}

const Wording missing{"The file or folder no longer exists.", "Файл или папка больше не существует."};
const Wording refused{"Access to the file or folder was denied. Check its permissions.",
                      "Нет доступа к файлу или папке. Проверьте разрешения."};
const Wording full{"There is not enough free disk space.", "Недостаточно свободного места на диске."};

} // namespace

TEST(Describe, ShowsTheConversionsOwnTexts) {
    EXPECT_EQ(describeThrown(ConversionError("Кадр 3: нет", "Frame 3: no")), (Wording{"Frame 3: no", "Кадр 3: нет"}));
    EXPECT_EQ(describeThrown(ConversionError("Не вышло")), (Wording{"Conversion failed", "Не вышло"}));
}

TEST(Describe, HasSentencesForTheCodesThatUsersMeet) {
    EXPECT_EQ(describeThrown(FileError(4, "a")), missing);
    EXPECT_EQ(describeThrown(FileError(260, "a")), missing);
    EXPECT_EQ(describeThrown(FileError(257, "a")), refused);
    EXPECT_EQ(describeThrown(FileError(513, "a")), refused);
    EXPECT_EQ(describeThrown(FileError(640, "a")), full);
}

TEST(Describe, NamesDomainAndCodeOfEverythingElse) {
    EXPECT_EQ(describeThrown(FileError(512, "a")),
              (Wording{"The file operation could not be completed (NSCocoaErrorDomain, 512).",
                       "Не удалось выполнить операцию с файлом (NSCocoaErrorDomain, 512)."}));
    EXPECT_EQ(describeThrown(FileError(642, "a")).english,
              "The file operation could not be completed (NSCocoaErrorDomain, 642).");
    // A number that means something in one domain means nothing in another.
    EXPECT_EQ(describeThrown(std::system_error(4, std::generic_category())).english,
              "The file operation could not be completed (generic, 4).");
    EXPECT_EQ(describeThrown(std::runtime_error("reason")),
              (Wording{"The file operation could not be completed (std::exception, 0).",
                       "Не удалось выполнить операцию с файлом (std::exception, 0)."}));
}

TEST(Describe, SaysWhenMemoryIsShort) {
    EXPECT_EQ(describeThrown(std::bad_alloc()),
              (Wording{"Not enough memory to process the image", "Недостаточно памяти для изображения"}));
}

TEST(Describe, SaysThatAFileIsMissing) {
    const TemporaryFolder folder;
    EXPECT_EQ(describeCopy(folder / "gone.avif", folder / "out"), missing);
}

TEST(Describe, SaysThatAFileOrFolderIsRefused) {
    const TemporaryFolder folder;
    const fs::path secret = folder.write("secret.avif", "bytes");
    const fs::path open = folder.write("open.avif", "bytes");
    fs::create_directory(folder / "out");
    fs::create_directory(folder / "locked");
    fs::permissions(folder / ".", fs::perms::all);
    fs::permissions(folder / "out", fs::perms::all);
    fs::permissions(folder / "locked", fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_exec);
    fs::permissions(open, fs::perms::all);
    fs::permissions(secret, fs::perms::none);
    Wording reading;
    Wording writing;
    if (!runUnprivileged([&] {
            reading = describeCopy(secret, folder / "out");
            writing = describeCopy(open, folder / "locked");
        })) {
        OVREL_SKIP_OUTSIDE_CI("this process cannot give up its rights");
    }
    EXPECT_EQ(reading, refused);
    EXPECT_EQ(writing, refused);
}

TEST(Describe, SaysThatTheDiskIsFull) {
    const TemporaryFolder folder;
    const fs::path source = folder.write("large.avif", std::string(1'000'000, 'a'));
    fs::create_directory(folder / "small");
    Wording wording;
    if (!runWithOwnMounts([&] {
            mountMemory(folder / "small", "size=64k");
            wording = describeCopy(source, folder / "small");
        })) {
        OVREL_SKIP_OUTSIDE_CI("this process may not mount");
    }
    EXPECT_EQ(wording, full);
}

} // namespace ovrel::test
