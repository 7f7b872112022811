/// \file running_program.h
/// A program that a test runs from the outside.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace ovrel::test {

/// How a program is started and what it finds. Without further ado it speaks English, has nothing to read, and its
/// output is kept.
struct ProgramCall {
    std::vector<std::string> arguments;     ///< without the program's name
    std::vector<std::string> environment{}; ///< NAME=value, on top of the test's own without its language
    std::string input{};                    ///< standard input
    std::string outputFile{};               ///< standard output goes there when it is not empty
    bool outputClosed = false;              ///< standard output is no open file
};

/// How a program ended.
struct ProgramEnd {
    int status = -1; ///< exit status, or 128 and the number of the signal
    std::string out;
    std::string err;
};

/// A running program. Throws std::system_error when the system refuses.
class RunningProgram {
public:
    RunningProgram(const std::string& program, const ProgramCall& call);
    ~RunningProgram();
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    /// The next line of standard output without its end; empty at the end of the output. A program that prints more
    /// than 4 KiB waits until they are read.
    std::string readLine();

    void signal(int number);

    /// Waits for the end. `out` holds what readLine() has not given.
    ProgramEnd wait();

private:
    bool readMore();

    pid_t process_ = -1;
    int output_ = -1;
    int errors_ = -1;
    std::string unread_;
};

/// Runs a program to its end.
ProgramEnd runProgram(const std::string& program, const ProgramCall& call);

/// Runs a program whose standard output and standard error are a terminal of `columns` columns.
/// \return all that it wrote there, as `out`
ProgramEnd runOnTerminal(const std::string& program, const std::vector<std::string>& arguments, unsigned short columns);

} // namespace ovrel::test
