#include "tests/faults/trial.h"

#include <sys/mman.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view occupant = "was here before";

/// The counts that a program writes into a file.
class MappedCounts {
public:
    explicit MappedCounts(const fs::path& file) {
        const int descriptor = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
        if (descriptor < 0 || ::ftruncate(descriptor, sizeof(FaultCounts)) != 0) {
            throw std::runtime_error("cannot make " + file.native());
        }
        void* const mapped = ::mmap(nullptr, sizeof(FaultCounts), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
        ::close(descriptor);
        if (mapped == MAP_FAILED) {
            throw std::runtime_error("cannot map " + file.native());
        }
        counts_.reset(static_cast<FaultCounts*>(mapped));
        for (std::atomic<std::uint32_t>& count : *counts_) {
            count = 0;
        }
    }

    CallCounts take() const {
        CallCounts taken{};
        std::copy(counts_->begin(), counts_->end(), taken.begin());
        return taken;
    }

private:
    struct Unmap {
        void operator()(FaultCounts* counts) const { ::munmap(counts, sizeof(FaultCounts)); }
    };
    std::unique_ptr<FaultCounts, Unmap> counts_;
};

/// The first library in the crash's own words that is no part of the C and C++ run time, up to its ".so".
std::string crashedIn(const std::string& errors) {
    std::istringstream words(errors.substr(std::min(errors.find("crashed in"), errors.size())));
    for (std::string word; words >> word;) {
        const std::string module = word.substr(0, word.find(':'));
        const std::string name = module.substr(0, module.find(".so"));
        const std::array runtime{"crashed", "in", "libfaults", "libc", "libstdc++", "libm", "libgcc_s"};
        if (std::find(runtime.begin(), runtime.end(), name) == runtime.end()) {
            return name;
        }
    }
    return "an unknown place";
}

std::string variable(const char* name, const std::string& value) {
    return std::string(name) + "=" + value;
}

} // namespace

std::string textOf(const Fault& fault) {
    const std::string how =
        fault.error == shortCall ? "falls short" : std::string("fails with ") + ::strerrorname_np(fault.error);
    return std::string(faultClassNames.at(static_cast<std::size_t>(fault.kind))) + " " + std::to_string(fault.number) +
           " " + how + (fault.times > 1 ? " from there on" : "");
}

Stage::Stage(const Conversion& conversion, bool freshFolder)
    : conversion_(conversion)
    , source_(in_.write(conversion.file, conversion.content))
    , target_(freshFolder ? out_ / "new/folder" : out_.path())
    , result_(target_ / (source_.stem().native() + (freshFolder ? ".avif" : "-2.avif")))
    , occupied_(freshFolder ? fs::path() : target_ / (source_.stem().native() + ".avif")) {
    // A time that no run could set by chance.
    fs::last_write_time(source_, fs::last_write_time(source_) - std::chrono::hours(1000));
    sourceTime_ = fs::last_write_time(source_);
}

void Stage::prepare() const {
    for (const fs::directory_entry& entry : fs::directory_iterator(out_.path())) {
        fs::remove_all(entry.path());
    }
    if (!occupied_.empty()) {
        out_.write(occupied_.filename(), occupant);
    }
}

TrialEnd Stage::run(const Fault& fault, unsigned mostSeconds) const {
    prepare();
    const MappedCounts counts(notes_ / "counts");
    ProgramCall call;
    call.arguments = {"--speed", "fast", "--jobs", "1", "-o", target_.native(), source_.native()};
    call.arguments.insert(call.arguments.end(), conversion_.options.begin(), conversion_.options.end());
    call.environment = {variable("LD_PRELOAD", OVREL_FAULT_LIBRARY), variable(faultFolderVariable, in_.path().native()),
                        variable(faultCountsVariable, (notes_ / "counts").native()),
                        variable(faultDeadlineVariable, std::to_string(mostSeconds))};
    if (fault.number > 0) {
        call.environment.push_back(
            variable(faultVariable, std::to_string(static_cast<int>(fault.kind)) + " " + std::to_string(fault.number) +
                                        " " + std::to_string(fault.error) + " " + std::to_string(fault.times)));
    }
    TrialEnd end;
    end.program = runProgram(OVREL_CLI, call);
    end.calls = counts.take();
    end.hangs = end.program.status == 128 + SIGALRM;
    if (end.program.status > 128 && !end.hangs) {
        end.crashedIn = crashedIn(end.program.err);
    }
    lookAtFolders(end);
    return end;
}

void Stage::lookAtFolders(TrialEnd& end) const {
    if (in_.listing() != std::vector<std::string>{source_.filename().native()} ||
        contentOf(source_) != conversion_.content || fs::last_write_time(source_) != sourceTime_) {
        end.complaints.emplace_back("the source is changed or has company");
    }
    if (!occupied_.empty() && contentOf(occupied_) != occupant) {
        end.complaints.emplace_back("what stood there before is overwritten");
    }
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(out_.path())) {
        if (entry.path() == result_) {
            end.result = contentOf(result_);
        } else if (!entry.is_directory() && entry.path() != occupied_) {
            end.leftovers.push_back(entry.path().filename().native());
        }
    }
}

} // namespace ovrel::test
