// Lets every call that a conversion makes fail once, and looks at what is left. See fault_library.cpp for how.

#include "tests/faults/same_content.h"
#include "tests/faults/trial.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <regex>
#include <string_view>
#include <thread>

namespace ovrel::test {
namespace {

/// What has to become of a conversion in which a call fails.
enum class Expectation {
    success, ///< the call is made again, or does not matter
    failure,
    either, ///< as the place may be
};

struct FaultRow {
    FaultClass kind;
    int error;
    Expectation expectation;
    const char* texts; ///< of failures that are told rightly, a regular expression
    bool lasts = true; ///< whether it is also tried as one that does not go away
};

// Texts of failures.
#define UNREADABLE "Unable to read the image"
#define DAMAGED "The image is damaged or unsupported"
#define NOT_CREATED                                                                                                    \
    "AVIF error: Cannot create output file|Animation encoding failed: Cannot create animation file|"                   \
    "Unable to create the AVIF file"
#define NOT_FINISHED                                                                                                   \
    "AVIF error: Cannot finish output file|Animation encoding failed: Cannot finish animation file|"                   \
    "AVIF encoding failed"
#define GONE "The file or folder no longer exists\\."
#define DENIED "Access to the file or folder was denied\\. Check its permissions\\."
#define FULL "There is not enough free disk space\\."
#define OTHER(code) "The file operation could not be completed \\(NSCocoaErrorDomain, " #code "\\)\\."
#define NO_MEMORY                                                                                                      \
    "Not enough memory to process the image|Unable to prepare GIF frame \\d+|AVIF error: .+|"                          \
    "Animation encoding failed: .+|Frame \\d+: .+|AVIF encoding failed|Unable to create the AVIF file"
#define NO_THREAD "Not enough memory to process the image|AVIF error: .+|Frame \\d+: .+|AVIF encoding failed"

constexpr Expectation success = Expectation::success;
constexpr Expectation failure = Expectation::failure;
constexpr Expectation either = Expectation::either;

const std::vector<FaultRow> faultRows{
    {FaultClass::open, ENOENT, failure, UNREADABLE "|" NOT_CREATED "|" GONE, false},
    {FaultClass::open, EACCES, failure, UNREADABLE "|" NOT_CREATED "|" DENIED, false},
    {FaultClass::open, EMFILE, failure, UNREADABLE "|" NOT_CREATED "|" OTHER(256) "|" OTHER(512), false},
    {FaultClass::open, ENFILE, failure, UNREADABLE "|" NOT_CREATED "|" OTHER(256) "|" OTHER(512), false},
    {FaultClass::open, ENOSPC, failure, UNREADABLE "|" NOT_CREATED "|" OTHER(256) "|" FULL},
    {FaultClass::open, EROFS, failure, UNREADABLE "|" NOT_CREATED "|" OTHER(256) "|" OTHER(642), false},
    {FaultClass::open, EIO, failure, UNREADABLE "|" NOT_CREATED "|" OTHER(256) "|" OTHER(512), false},
    {FaultClass::open, ENOMEM, failure, UNREADABLE "|" NOT_CREATED "|" OTHER(256) "|" OTHER(512), false},
    {FaultClass::open, EINTR, success, "", false},
    {FaultClass::read, EIO, failure, UNREADABLE "|" DAMAGED "|" OTHER(256)},
    {FaultClass::read, EINTR, success, "", false},
    {FaultClass::read, shortCall, success, ""},
    // A copy that the system does not make by itself is made by reading and writing.
    {FaultClass::write, ENOSPC, either, NOT_FINISHED "|" FULL},
    {FaultClass::write, EDQUOT, either, NOT_FINISHED "|" FULL, false},
    {FaultClass::write, EIO, either, NOT_FINISHED "|" OTHER(512)},
    {FaultClass::write, EINTR, success, "", false},
    {FaultClass::write, shortCall, success, ""},
    // Of files that were only read it does not matter.
    {FaultClass::close, EIO, either, NOT_FINISHED "|" OTHER(512)},
    {FaultClass::close, EINTR, success, "", false},
    {FaultClass::flush, EIO, failure, OTHER(512)},
    {FaultClass::flush, ENOSPC, failure, FULL},
    {FaultClass::flush, EINTR, success, "", false},
    {FaultClass::flush, EINVAL, success, ""}, // the volume knows no flushing
    {FaultClass::rename, EXDEV, failure, OTHER(512)},
    {FaultClass::rename, EACCES, failure, DENIED},
    {FaultClass::rename, ENOSPC, failure, FULL},
    {FaultClass::rename, EIO, failure, OTHER(512)},
    {FaultClass::rename, EEXIST, failure, OTHER(512)},
    {FaultClass::rename, EINVAL, either, OTHER(512)}, // the volume lacks the call, and there are others unless it lasts
    {FaultClass::makeFolder, ENOSPC, failure, FULL},
    {FaultClass::makeFolder, EACCES, failure, DENIED, false},
    {FaultClass::makeFolder, EROFS, failure, OTHER(642), false},
    {FaultClass::makeFolder, EIO, failure, OTHER(512), false},
    {FaultClass::memory, ENOMEM, either, NO_MEMORY, false},
    {FaultClass::thread, EAGAIN, either, NO_THREAD},
};

/// Libraries that do not look whether they got the memory that they asked for, and end the program with them. Seen with
/// the versions of Debian 12 (libavif and libaom of Debian 13 and later):
///
///   libaom 3.14.1   cleans up after a failed aom_codec_enc_init_ver() what was never made
///   libavif 1.2.1   avifEncoderDestroy() releases samples (avifRWDataFree) that were never added
///   liblcms2 2.14   cmsCreateProfilePlaceholder(), cmsCreateTransform() while it optimises
///   libwebp 1.2.4   WebPDecode() of a picture with lossless alpha
///   libheif 1.15.1  writes into the colour profile that heif_nclx_color_profile_alloc() did not give it
///
/// These are blocks of some dozens to some thousands of bytes, which Linux refuses to a process only below a resource
/// limit. The large ones, for pixels, are none of them.
constexpr std::array<std::string_view, 5> crashWithoutMemory{"libaom", "libavif", "liblcms2", "libwebp", "libheif"};

/// libde265 1.0.11 waits for ever for a picture whose decoding none of its threads could begin. The first three threads
/// are the program's own; the last of them shows that there are threads to be had.
bool isKnownToHang(const Conversion& conversion, FaultClass kind, std::uint32_t number) {
    return conversion.name.starts_with("heif") &&
           (kind == FaultClass::memory || (kind == FaultClass::thread && number > 3));
}

bool isKnownToCrash(const TrialEnd& end, const Fault& fault) {
    return fault.kind == FaultClass::memory &&
           std::find(crashWithoutMemory.begin(), crashWithoutMemory.end(), end.crashedIn) != crashWithoutMemory.end();
}

/// Whether a library that is no part of the project is to blame for how a run has ended.
bool isExcused(const TrialEnd& end, const Conversion& conversion, const Fault& fault) {
    return (end.hangs && isKnownToHang(conversion, fault.kind, fault.number)) || isKnownToCrash(end, fault);
}

/// Nobody needs to wait as long for what is excused in any case.
unsigned secondsFor(const Conversion& conversion, const Fault& fault) {
    constexpr unsigned fewSeconds = 3;
    return isKnownToHang(conversion, fault.kind, fault.number) ? fewSeconds : usualSeconds;
}

/// A row for one number.
struct Trial {
    const FaultRow* row;
    Fault fault;
};

/// What the program says when no file is to blame.
bool isToldOfProgram(const TrialEnd& end, const Fault& fault) {
    return (fault.kind == FaultClass::memory &&
            end.program.err == "ovrel-cli: Not enough memory to process the image\n") ||
           (fault.kind == FaultClass::thread &&
            end.program.err == "ovrel-cli: The file operation could not be completed (generic, 11).\n");
}

bool isTold(const TrialEnd& end, const std::filesystem::path& source, const char* texts) {
    const std::string beginning = source.native() + ": Error: ";
    const std::string rest = "\nDone: 0 successful, 1 failed\n";
    const std::string& out = end.program.out;
    return out.size() > beginning.size() + rest.size() && out.starts_with(beginning) && out.ends_with(rest) &&
           std::regex_match(out.substr(beginning.size(), out.size() - beginning.size() - rest.size()),
                            std::regex(texts));
}

/// \return what is wrong with how a run has ended; empty when nothing is
std::vector<std::string> complaintsOf(const TrialEnd& end, const Conversion& conversion, const Trial& trial,
                                      const std::filesystem::path& source, const std::string& reference) {
    std::vector<std::string> complaints = end.complaints;
    if (end.result && !haveSameContent(*end.result, reference)) {
        complaints.emplace_back("leaves a result that is not whole");
    }
    if (isExcused(end, conversion, trial.fault)) {
        return complaints;
    }
    if (end.hangs) {
        complaints.emplace_back("hangs");
    }
    if (!end.crashedIn.empty()) {
        complaints.push_back("crashes in " + end.crashedIn);
    }
    for (const std::string& name : end.leftovers) {
        complaints.push_back("leaves " + name);
    }
    if (end.program.status == 0) {
        if (!end.result) {
            complaints.emplace_back("tells of success without a result");
        }
        if (trial.row->expectation == Expectation::failure) {
            complaints.emplace_back("succeeds");
        }
    } else if (trial.row->expectation == Expectation::success) {
        complaints.emplace_back("fails");
    } else if (end.program.status != 1 ||
               !(isToldOfProgram(end, trial.fault) || (!end.result && isTold(end, source, trial.row->texts)))) {
        complaints.emplace_back("is not told rightly");
    }
    return complaints;
}

/// Whether each call is let fail, however long that takes.
bool everyFault() {
    const char* const extent = std::getenv("OVREL_FAULTS");
    return extent != nullptr && std::string_view(extent) == "all";
}

/// Of the many calls that take memory a test has time for the first ones, which open the source, and some of the rest;
/// for those that are known to hang it has none. One kind is tried whole, with a profile and the system's encoder:
/// without a small block libheif writes other colours there and calls it a success.
bool isTried(const Conversion& conversion, FaultClass kind, std::uint32_t number) {
    constexpr std::uint32_t first = 16;
    constexpr std::uint32_t stride = 53;
    if (everyFault() || conversion.name == "jpeg, system") {
        return true;
    }
    return kind == FaultClass::memory ? number <= first || number % stride == 0
                                      : !isKnownToHang(conversion, kind, number);
}

std::uint32_t callsOf(FaultClass kind, const TrialEnd& end) {
    return end.calls.at(static_cast<std::size_t>(kind));
}

class Faults : public testing::TestWithParam<Conversion> {
protected:
    /// Adds the trials of a class for all of its calls.
    void plan(FaultClass kind, const CallCounts& calls) {
        for (const FaultRow& row : faultRows) {
            const std::uint32_t count = row.kind == kind ? calls.at(static_cast<std::size_t>(kind)) : 0;
            for (std::uint32_t number = 1; number <= count; ++number) {
                if (!isTried(GetParam(), kind, number)) {
                    continue;
                }
                trials_.push_back({&row, {kind, number, row.error, 1}});
                if (row.lasts) {
                    trials_.push_back({&row, {kind, number, row.error, lasting}});
                }
            }
        }
    }

    /// Carries the trials out, two at a time.
    void carryOut(bool freshFolder, const std::string& reference) {
        std::atomic<std::size_t> next{0};
        std::atomic<std::size_t> excused{0};
        const auto work = [&] {
            const Stage stage(GetParam(), freshFolder);
            for (std::size_t index = next++; index < trials_.size(); index = next++) {
                const Trial& trial = trials_[index];
                const TrialEnd end = stage.run(trial.fault, secondsFor(GetParam(), trial.fault));
                excused += isExcused(end, GetParam(), trial.fault) ? 1 : 0;
                for (const std::string& complaint : complaintsOf(end, GetParam(), trial, stage.source(), reference)) {
                    const std::lock_guard lock(mutex_);
                    ADD_FAILURE() << GetParam().name << ": when " << textOf(trial.fault) << ", it " << complaint
                                  << "\nstatus " << end.program.status << "\n"
                                  << end.program.out << end.program.err;
                }
            }
        };
        {
            const std::jthread other(work);
            work();
        }
        RecordProperty("faults", std::to_string(trials_.size()));
        RecordProperty("faults-excused", std::to_string(excused));
        trials_.clear();
    }

    std::vector<Trial> trials_;
    std::mutex mutex_;
};

TEST_P(Faults, AreToldAndLeaveNothing) {
    const TrialEnd undisturbed = Stage(GetParam(), false).run({});
    ASSERT_EQ(undisturbed.program.status, 0) << undisturbed.program.out << undisturbed.program.err;
    ASSERT_TRUE(undisturbed.result);
    for (const FaultClass kind : {FaultClass::open, FaultClass::read, FaultClass::write, FaultClass::close,
                                  FaultClass::flush, FaultClass::rename, FaultClass::memory, FaultClass::thread}) {
        EXPECT_GT(callsOf(kind, undisturbed), 0U) << faultClassNames.at(static_cast<std::size_t>(kind));
        plan(kind, undisturbed.calls);
    }
    carryOut(false, *undisturbed.result);
}

TEST_P(Faults, OfMissingFoldersAreToldAndLeaveNothing) {
    const TrialEnd undisturbed = Stage(GetParam(), true).run({});
    ASSERT_EQ(undisturbed.program.status, 0) << undisturbed.program.out << undisturbed.program.err;
    ASSERT_TRUE(undisturbed.result);
    EXPECT_GT(callsOf(FaultClass::makeFolder, undisturbed), 0U);
    plan(FaultClass::makeFolder, undisturbed.calls);
    carryOut(true, *undisturbed.result);
}

std::string nameOf(const testing::TestParamInfo<Conversion>& conversion) {
    std::string name = conversion.param.name;
    std::replace_if(
        name.begin(), name.end(), [](unsigned char letter) { return std::isalnum(letter) == 0; }, '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Each, Faults, testing::ValuesIn(everyConversion()), nameOf);

using FaultsOfThreads = Faults;

// Only a large picture's colours are converted side by side.
TEST_P(FaultsOfThreads, AreToldAndLeaveNothing) {
    const TrialEnd undisturbed = Stage(GetParam(), false).run({});
    ASSERT_TRUE(undisturbed.result);
    plan(FaultClass::thread, undisturbed.calls);
    carryOut(false, *undisturbed.result);
}

INSTANTIATE_TEST_SUITE_P(Each, FaultsOfThreads, testing::Values(largeConversion()), nameOf);

} // namespace
} // namespace ovrel::test
