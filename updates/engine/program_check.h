/// \file program_check.h
/// Whether an unpacked archive holds a program that this computer can start, and that can be updated again.
#pragma once

#include <QStringView>

namespace ovrel {

/// Looks for bin/ovrel and bin/ovrel-installer: regular files in a real folder, executable by their owner, and ELF
/// programs for `architecture`. Their code is not looked at.
/// \param topFolder an open descriptor
/// \param architecture as in machine.h
/// \throws UpdateError installation over validation
void checkPrograms(int topFolder, QStringView architecture);

/// Looks for what makes the folder a portable installation of `application`, and for the list of what it brings: a
/// version without the one could never be confirmed or replaced, without the other never be removed. Beside the
/// programs there must be no file that makes them a packager's or their folder an installation, which has the same
/// effect.
/// \param topFolder an open descriptor
/// \throws UpdateError installation over validation
void checkInstallation(int topFolder, QStringView application);

} // namespace ovrel
