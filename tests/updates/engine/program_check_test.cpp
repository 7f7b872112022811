#include "tests/support/temporary_folder.h"
#include "tests/updates/engine/update_failure.h"
#include "updates/engine/machine.h"
#include "updates/engine/program_check.h"

#include "platform/linux/file_descriptor.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;

constexpr const char* refused = "4005 over 3002";

/// The first bytes of a program for 64-bit processors of this kind.
std::string header(unsigned short machine) {
    std::string bytes(sizeof(Elf64_Ehdr), '\0');
    bytes.replace(0, 7, std::string(ELFMAG) + char{ELFCLASS64} + char{ELFDATA2LSB} + char{EV_CURRENT});
    bytes[16] = char{ET_DYN};
    bytes[18] = static_cast<char>(machine & 0xff);
    bytes[19] = static_cast<char>(machine >> 8);
    bytes[20] = char{EV_CURRENT};
    return bytes;
}

class ProgramCheckTest : public testing::Test {
protected:
    void install(std::string_view bytes, fs::perms permissions = fs::perms::owner_all) const {
        fs::permissions(folder_.write("bin/ovrel", bytes), permissions);
        fs::permissions(folder_.write("bin/ovrel-installer", header(EM_X86_64)), fs::perms::owner_all);
    }

    std::string check(const QString& architecture = QStringLiteral("x86_64")) const {
        const FileDescriptor top(::open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY));
        return failureOf([&] { checkPrograms(top.get(), architecture); });
    }

    TemporaryFolder folder_;
};

TEST_F(ProgramCheckTest, TakesWhatRunsHere) {
    fs::create_directory(folder_ / "bin");
    fs::copy_file("/proc/self/exe", folder_ / "bin/ovrel");
    fs::copy_file("/proc/self/exe", folder_ / "bin/ovrel-installer");
    EXPECT_EQ(check(Machine::thisOne().architecture), "");
}

TEST_F(ProgramCheckTest, KnowsTheProcessor) {
    struct Row {
        unsigned short machine;
        const char* architecture;
        const char* result;
    };
    const Row rows[] = {
        {EM_X86_64, "x86_64", ""},       {EM_AARCH64, "aarch64", ""},     {EM_RISCV, "riscv64", ""},
        {EM_AARCH64, "x86_64", refused}, {EM_X86_64, "aarch64", refused}, {EM_386, "x86_64", refused},
        {EM_386, "i386", refused}, // it has 32 bits
        {EM_X86_64, "", refused},        {EM_X86_64, "toaster", refused}, {EM_NONE, "x86_64", refused},
    };
    for (const Row& row : rows) {
        install(header(row.machine));
        fs::copy_file(folder_ / "bin/ovrel", folder_ / "bin/ovrel-installer", fs::copy_options::overwrite_existing);
        EXPECT_EQ(check(QLatin1StringView(row.architecture)), row.result) << row.machine << ' ' << row.architecture;
    }
}

TEST_F(ProgramCheckTest, ReadsTheHeaderOfAProgram) {
    struct Row {
        const char* name;
        std::size_t place;
        char byte;
        const char* result;
    };
    const Row rows[] = {
        {"shared", 16, ET_DYN, ""},           {"fixed", 16, ET_EXEC, ""},
        {"object file", 16, ET_REL, refused}, {"core dump", 16, ET_CORE, refused},
        {"magic", 0, 'E', refused},           {"magic's end", 3, 'f', refused},
        {"32 bits", 4, ELFCLASS32, refused},  {"highest byte first", 5, ELFDATA2MSB, refused},
        {"other version", 6, 2, refused},     {"another version", 20, 2, refused},
        {"high byte", 19, 1, refused},
    };
    for (const Row& row : rows) {
        std::string bytes = header(EM_X86_64);
        bytes[row.place] = row.byte;
        install(bytes);
        EXPECT_EQ(check(), row.result) << row.name;
    }
    install(header(EM_X86_64).substr(0, 23));
    EXPECT_EQ(check(), refused);
    install(header(EM_X86_64).substr(0, 24));
    EXPECT_EQ(check(), "");
    install("#!/bin/sh\nexit 0 # a script is no program\n");
    EXPECT_EQ(check(), refused);
    install("");
    EXPECT_EQ(check(), refused);
}

TEST_F(ProgramCheckTest, WantsAnInstaller) {
    install(header(EM_X86_64));
    for (const std::string& bytes : {std::string("#!/bin/sh\n"), std::string(), header(EM_AARCH64)}) {
        folder_.write("bin/ovrel-installer", bytes);
        EXPECT_EQ(check(), refused);
    }
    folder_.write("bin/ovrel-installer", header(EM_X86_64));
    EXPECT_EQ(check(), "");
    fs::permissions(folder_ / "bin/ovrel-installer", fs::perms::owner_read);
    EXPECT_EQ(check(), refused);
    fs::remove(folder_ / "bin/ovrel-installer");
    EXPECT_EQ(check(), refused);
}

TEST_F(ProgramCheckTest, WantsTheFilesOfAPortableInstallation) {
    const auto checkFiles = [this] {
        const FileDescriptor top(::open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY));
        return failureOf([&] { checkInstallation(top.get(), u"example.ovrel.Ovrel"); });
    };
    const auto write = [this] {
        folder_.write("portable-installation", "example.ovrel.Ovrel\n");
        folder_.write("installed-files.txt", "bin/ovrel\n");
    };
    write();
    EXPECT_EQ(checkFiles(), "");
    for (const char* const name : {"portable-installation", "installed-files.txt"}) {
        write();
        folder_.write(name, "");
        EXPECT_EQ(checkFiles(), refused) << name;
        fs::rename(folder_ / name, folder_ / "elsewhere");
        EXPECT_EQ(checkFiles(), refused) << name;
        write();
        fs::rename(folder_ / name, folder_ / "elsewhere");
        fs::create_symlink("elsewhere", folder_ / name);
        EXPECT_EQ(checkFiles(), refused) << name;
        fs::remove(folder_ / name);
        ASSERT_EQ(::mkfifo((folder_ / name).c_str(), 0600), 0);
        EXPECT_EQ(checkFiles(), refused) << name;
        fs::remove(folder_ / name);
    }
    for (const char* const name : {"bin/managed-by", "bin/portable-installation"}) {
        write();
        folder_.write(name, "example.ovrel.Ovrel\n");
        EXPECT_EQ(checkFiles(), refused) << name;
        fs::remove(folder_ / name);
        fs::create_symlink("nowhere", folder_ / name);
        EXPECT_EQ(checkFiles(), refused) << name;
        fs::remove(folder_ / name);
    }
    write();
    EXPECT_EQ(checkFiles(), "");
    for (const char* const other : {"example.other.Ovrel\n", "example.ovrel.Ovrel2\n", "\nexample.ovrel.Ovrel\n"}) {
        folder_.write("portable-installation", other);
        EXPECT_EQ(checkFiles(), refused) << other;
    }
}

TEST_F(ProgramCheckTest, WantsAnExecutableFileInAFolder) {
    EXPECT_EQ(check(), refused);
    install(header(EM_X86_64));
    EXPECT_EQ(check(), "");
    install(header(EM_X86_64), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(check(), refused);

    fs::rename(folder_ / "bin", folder_ / "elsewhere");
    fs::permissions(folder_ / "elsewhere/ovrel", fs::perms::owner_all);
    fs::create_directory_symlink("elsewhere", folder_ / "bin");
    EXPECT_EQ(check(), refused);
    fs::remove(folder_ / "bin");
    fs::create_directory(folder_ / "bin");
    fs::copy_file(folder_ / "elsewhere/ovrel-installer", folder_ / "bin/ovrel-installer");
    fs::create_symlink("../elsewhere/ovrel", folder_ / "bin/ovrel");
    EXPECT_EQ(check(), refused);
    fs::remove(folder_ / "bin/ovrel");
    fs::create_directory(folder_ / "bin/ovrel");
    EXPECT_EQ(check(), refused);
    fs::remove(folder_ / "bin/ovrel");
    ASSERT_EQ(::mkfifo((folder_ / "bin/ovrel").c_str(), 0700), 0);
    EXPECT_EQ(check(), refused);
}

} // namespace

} // namespace ovrel::test
