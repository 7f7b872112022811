#include "tests/conversion/bombs/limited_conversion.h"

#include "conversion/converter.h"
#include "tests/support/child_process.h"
#include "tests/support/sanitizers.h"
#include "tests/support/temporary_folder.h"

#include <fstream>
#include <stdexcept>

#include <sys/resource.h>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;

void limit(__rlimit_resource resource, rlim_t most) {
    const rlimit both{most, most};
    if (::setrlimit(resource, &both) != 0) {
        throw std::runtime_error("resources cannot be limited");
    }
}

/// Leaves the texts of a refusal in `note`, a line each; both lines are empty when there is a result.
int convertInThisProcess(const fs::path& file, const fs::path& output, const fs::path& note) {
    if (canLimitMemory) {
        limit(RLIMIT_DATA, mostMemoryBytes);
        limit(RLIMIT_CPU, mostSeconds);
    }
    limit(RLIMIT_CORE, 0);
    constexpr double quality = 0.5;
    constexpr int fastest = 10;
    std::string english;
    std::string russian;
    try {
        Converter::convert({file, ""}, output, quality, EncodingMode::efficient, fastest);
    } catch (const ConversionError& error) {
        english = error.english;
        russian = error.message();
    }
    std::ofstream(note) << english << '\n' << russian << '\n';
    return 0;
}

} // namespace

LimitedOutcome convertWithinLimits(const fs::path& file, const fs::path& output) {
    const TemporaryFolder folder;
    const fs::path note = folder / "note";
    ChildProcess process([&] { return convertInThisProcess(file, output, note); });
    LimitedOutcome outcome;
    outcome.status = process.wait();
    outcome.peakBytes = process.peakBytes();
    std::ifstream stream(note);
    std::getline(stream, outcome.english);
    std::getline(stream, outcome.russian);
    return outcome;
}

} // namespace ovrel::test
