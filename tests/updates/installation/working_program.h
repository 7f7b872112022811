/// \file working_program.h
/// A program of an installation that knows nothing of updates and holds no lock, as the command line's.
#pragma once

#include "platform/linux/file_descriptor.h"

#include <filesystem>

#include <sys/types.h>

namespace ovrel::test {

/// Put into a tree, listed among what the tree has brought, and running until the end of this object.
class WorkingProgram {
public:
    /// Returns when it works.
    explicit WorkingProgram(const std::filesystem::path& tree);
    ~WorkingProgram();
    pid_t process() const { return process_; }
    WorkingProgram(const WorkingProgram&) = delete;
    WorkingProgram& operator=(const WorkingProgram&) = delete;

private:
    pid_t process_ = -1;
    FileDescriptor input_;
};

} // namespace ovrel::test
