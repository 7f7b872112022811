/// \file running_programs.h
/// Programs that run from an installation's tree. Not all of them hold its lock: the command line's does not, one that
/// is being loaded does not hold it yet.
#pragma once

#include "platform/linux/file_descriptor.h"
#include "updates/installation/installation_place.h"

#include <string>
#include <vector>

namespace ovrel {

/// Handles (pidfd_open(2)) of the processes, this one excepted, whose executable file lies in the tree's folder of
/// programs, whatever path it was started by. Processes that this user may not look into are not seen.
/// \param folder an open directory in which the tree's name is looked up; of a tree that is not there none run
/// Throws std::system_error where that cannot be found out.
std::vector<FileDescriptor> otherProgramsOf(int folder, const std::string& tree);

/// Whether another program of the installation runs. Throws as otherProgramsOf() does.
bool othersRun(const InstallationPlace& place);

/// Waits for the end of all these processes.
void waitForEndOf(const std::vector<FileDescriptor>& processes);

} // namespace ovrel
