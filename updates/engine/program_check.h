/// \file program_check.h
/// Whether an unpacked archive holds a program that this computer can start.
#pragma once

#include <QString>
#include <QStringView>

namespace ovrel {

/// Where the program lies in the top folder of an archive; never told by the archive.
inline constexpr const char* programFolder = "bin";
inline constexpr const char* programName = "ovrel";

/// For which processor this program was built: "x86_64", "aarch64", "riscv64", "i386" …, as archives name it.
QString ownArchitecture();

/// Looks for bin/ovrel: a regular file in a real folder, executable by its owner, and an ELF program for
/// `architecture`. Its code is not looked at.
/// \param topFolder an open descriptor
/// \throws UpdateError installation over validation
void checkProgram(int topFolder, QStringView architecture);

} // namespace ovrel
