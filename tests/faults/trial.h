/// \file trial.h
/// Runs of ovrel-cli in which a call fails.
#pragma once

#include "tests/cli/running_program.h"
#include "tests/faults/conversions.h"
#include "tests/faults/fault.h"
#include "tests/support/temporary_folder.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace ovrel::test {

/// Which calls fail, and how.
struct Fault {
    FaultClass kind = FaultClass::open;
    std::uint32_t number = 0; ///< of the first call that fails, from 1; 0 for none
    int error = 0;            ///< errno, or shortCall
    std::uint32_t times = 1;  ///< how many calls fail
};

/// Every call from a fault's number on.
inline constexpr std::uint32_t lasting = 1'000'000'000;

/// For messages: "open 3 fails with EACCES".
std::string textOf(const Fault& fault);

/// How many calls a run made, in the order of FaultClass.
using CallCounts = std::array<std::uint32_t, faultClassNames.size()>;

/// What a run left.
struct TrialEnd {
    ProgramEnd program;
    CallCounts calls{};
    bool hangs = false;                  ///< was ended because it took far longer than any run does
    std::string crashedIn;               ///< the library that it crashed in, without version; empty when it did not
    std::optional<std::string> result;   ///< the content of the result
    std::vector<std::string> leftovers;  ///< names of further files among the results
    std::vector<std::string> complaints; ///< of what may not happen even to a program that crashes
};

/// Some hundred times what a run takes, so that only one that hangs meets it.
inline constexpr unsigned usualSeconds = 20;

/// Runs one conversion again and again in folders of its own. One thread at a time.
class Stage {
public:
    /// \param conversion must live as long
    /// \param freshFolder whether the folder for results does not exist beforehand; else a file stands there already
    ///                    that has the name that the result would get
    Stage(const Conversion& conversion, bool freshFolder);

    /// \param mostSeconds of a run, which is ended then
    TrialEnd run(const Fault& fault, unsigned mostSeconds = usualSeconds) const;

    const std::filesystem::path& source() const { return source_; }

private:
    void prepare() const;
    void lookAtFolders(TrialEnd& end) const;

    const Conversion& conversion_;
    TemporaryFolder in_;
    TemporaryFolder out_;
    TemporaryFolder notes_;
    std::filesystem::path source_;
    std::filesystem::path target_;   ///< folder of results
    std::filesystem::path result_;   ///< the result's name
    std::filesystem::path occupied_; ///< the file that stands there before; empty for none
    std::filesystem::file_time_type sourceTime_;
};

} // namespace ovrel::test
