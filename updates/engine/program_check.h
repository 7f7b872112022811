/// \file program_check.h
/// Whether an unpacked archive holds a program that this computer can start.
#pragma once

#include <QStringView>

namespace ovrel {

/// Looks for bin/ovrel: a regular file in a real folder, executable by its owner, and an ELF program for
/// `architecture`. Its code is not looked at.
/// \param topFolder an open descriptor
/// \param architecture as in machine.h
/// \throws UpdateError installation over validation
void checkProgram(int topFolder, QStringView architecture);

} // namespace ovrel
