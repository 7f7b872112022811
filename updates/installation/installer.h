/// \file installer.h
/// The installer's work: to wait for the program's end, to exchange the trees, to start the program again and to take
/// the new version back when it does not start.
#pragma once

#include "platform/linux/file_descriptor.h"
#include "updates/installation/installation_place.h"
#include "updates/installation/installer_order.h"
#include "updates/installation/tree_calls.h"

namespace ovrel {

/// What the installer has inherited.
struct InstallerInheritance {
    FileDescriptor lock;        ///< the lock file with the update's lock
    FileDescriptor words;       ///< the reading end of the pipe
    FileDescriptor program;     ///< a pidfd
    FileDescriptor environment; ///< a file
    FileDescriptor staging;     ///< the update's private folder
};

/// Does an order to its end and returns. The trees are exchanged by a child process: should it be killed in the middle,
/// this one ends what it began. Should this one be killed, the child goes on. Prints nothing.
///
/// It waits without a limit for everything that runs from the installation. The program is not started again where a
/// window was opened meanwhile: its user closes it and expects none. Wherever it is not started again, it is asked for
/// its version, and taken back when it cannot even be loaded.
void runInstaller(TreeCalls& calls, const InstallationPlace& place, const InstallerOrder& order,
                  InstallerInheritance inherited);

/// The program `ovrel-installer`: takes its order from the command line and its descriptors, goes into the background
/// and runs it there. \return the exit status of the foreground: 0 when the order was accepted, otherwise 2
int installerMain(TreeCalls& calls, int argumentCount, char** arguments);

} // namespace ovrel
