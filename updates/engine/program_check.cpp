#include "updates/engine/program_check.h"

#include "updates/engine/installation_error.h"
#include "updates/installation/installed_layout.h"
#include "updates/installation/open_folder.h"
#include "updates/installation/read_file.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <optional>

#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace ovrel {

namespace {

struct Architecture {
    QLatin1StringView name;
    quint16 machine;
};

/// All of them have 64 bits and keep the lowest byte first.
constexpr std::array<Architecture, 3> architectures{{
    {QLatin1StringView("x86_64"), EM_X86_64},
    {QLatin1StringView("aarch64"), EM_AARCH64},
    {QLatin1StringView("riscv64"), EM_RISCV},
}};

/// As far as its fields tell the kind of a file (System V gABI, chapter 4, "ELF Header").
using Header = std::array<unsigned char, EI_NIDENT + 8>;
constexpr std::size_t typeAt = offsetof(Elf64_Ehdr, e_type);
constexpr std::size_t machineAt = offsetof(Elf64_Ehdr, e_machine);
constexpr std::size_t versionAt = offsetof(Elf64_Ehdr, e_version);

FileDescriptor openFile(int folder, const char* name) {
    return FileDescriptor(::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

std::optional<Header> programHeader(int folder, const char* name) {
    const FileDescriptor file = openFile(folder, name);
    struct stat facts {};
    Header header{};
    if (!file || ::fstat(file.get(), &facts) != 0 || !S_ISREG(facts.st_mode) || (facts.st_mode & S_IXUSR) == 0 ||
        uninterrupted([&] { return ::pread(file.get(), header.data(), header.size(), 0); }) !=
            static_cast<ssize_t>(header.size())) {
        return std::nullopt;
    }
    return header;
}

bool isProgramFor(const Header& header, QStringView name) {
    const auto* const found = std::find_if(architectures.begin(), architectures.end(),
                                           [&](const Architecture& one) { return name == one.name; });
    const auto type = qFromLittleEndian<quint16>(header.data() + typeAt);
    return found != architectures.end() && std::equal(ELFMAG, ELFMAG + SELFMAG, header.begin()) &&
           header[EI_CLASS] == ELFCLASS64 && header[EI_DATA] == ELFDATA2LSB && header[EI_VERSION] == EV_CURRENT &&
           (type == ET_EXEC || type == ET_DYN) &&
           qFromLittleEndian<quint16>(header.data() + machineAt) == found->machine &&
           qFromLittleEndian<quint32>(header.data() + versionAt) == EV_CURRENT;
}

/// Whether a folder holds something of this name, whatever it is.
bool has(const FileDescriptor& folder, const char* name) {
    struct stat facts {};
    return folder && (::fstatat(folder.get(), name, &facts, AT_SYMLINK_NOFOLLOW) == 0 || errno != ENOENT);
}

} // namespace

void checkPrograms(int topFolder, QStringView architecture) {
    const FileDescriptor folder = openFolder(topFolder, programFolder);
    for (const char* const name : {programName, installerName}) {
        const std::optional<Header> header = folder ? programHeader(folder.get(), name) : std::nullopt;
        if (!header || !isProgramFor(*header, architecture)) {
            throw installationError(UpdateError(SUError::validation,
                                                QStringLiteral("В обновлении нет программы для этого компьютера."),
                                                QStringLiteral("The update holds no program for this computer.")));
        }
    }
}

void checkInstallation(int topFolder, QStringView application) {
    const FileDescriptor list = openFile(topFolder, installedFilesName);
    const FileDescriptor marker = openFile(topFolder, portableMarkerName);
    struct stat facts {};
    const bool isListed = list && ::fstat(list.get(), &facts) == 0 && S_ISREG(facts.st_mode) && facts.st_size > 0;
    // Beside the programs, these make the installation a packager's, or the folder of programs an installation.
    const FileDescriptor programs = openFolder(topFolder, programFolder);
    const bool isMisled = has(programs, packagerMarkerName) || has(programs, portableMarkerName);
    if (isMisled || !isListed || !marker || readFirstLine(marker.get()) != application.toUtf8().toStdString()) {
        throw installationError(UpdateError(
            SUError::validation, QStringLiteral("В обновлении нет файлов, без которых его нельзя будет обновить."),
            QStringLiteral("The update lacks files without which it could not be updated again.")));
    }
}

} // namespace ovrel
