/// \file child_process.h
/// Work in another process.
#pragma once

#include <cstdint>
#include <functional>

#include <sys/types.h>

namespace ovrel::test {

/// Runs a function in a copy of this process, side by side with it. Begin one only while no other thread runs.
class ChildProcess {
public:
    /// \param body returns the exit status, 0 … 125; an exception ends the process with 126
    explicit ChildProcess(const std::function<int()>& body);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Waits for the end.
    /// \return the exit status, or 128 + the number of the signal that ended it
    int wait();

    /// What it had resident at most. After wait().
    std::uint64_t peakBytes() const { return peakBytes_; }

private:
    pid_t process_ = -1;
    std::uint64_t peakBytes_ = 0;
};

} // namespace ovrel::test
