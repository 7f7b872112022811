// Kills the program at any moment and looks at what stands under a final name.

#include "conversion/converter.h"
#include "tests/cli/running_program.h"
#include "tests/faults/conversions.h"
#include "tests/faults/same_content.h"
#include "tests/support/avif_writer.h"
#include "tests/support/jpeg_writer.h"
#include "tests/support/pictures.h"
#include "tests/support/png_writer.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace ovrel::test {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

/// Files by their names below a folder.
using Files = std::map<std::string, std::string>;

Files filesOf(const fs::path& folder) {
    Files files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            files[entry.path().lexically_relative(folder).native()] = contentOf(entry.path());
        }
    }
    return files;
}

bool isHidden(const std::string& name) {
    return fs::path(name).filename().native().starts_with('.');
}

unsigned seed() {
    const char* const given = std::getenv("OVREL_KILL_SEED");
    return given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device()();
}

/// An AVIF file that takes some time to be copied. ISO/IEC 14496-12, section 8.1.2: readers pass over a box `free`.
std::string longAvif() {
    constexpr std::uint32_t length = 8U << 20U;
    std::string box{static_cast<char>(length >> 24U), static_cast<char>(length >> 16U & 0xFFU), '\0', '\0'};
    box += "free";
    box.resize(length, 'x');
    return writeAvif(smooth(40, 24)) + box;
}

struct Killing {
    const char* name;
    std::vector<std::string> options;
    int times;
};

class Kills : public testing::TestWithParam<Killing> {
protected:
    Kills() {
        in_.write("a.jpg", writeJpeg(smooth(90, 70)));
        in_.write("b.png", writePng(pngOf(smooth(80, 60, true))));
        in_.write("inner/c.gif", animatedGif());
        in_.write("inner/d.jpg", writeJpeg(gradient(70, 50)));
        in_.write("inner/e.gif", animatedGif());
        in_.write("f.png", writePng(pngOf(gradient(60, 60))));
        in_.write("g.avif", longAvif());
        in_.write("same.jpg", writeJpeg(smooth(50, 40)));
        in_.write("same.png", writePng(pngOf(smooth(50, 40)))); // follows the one above, whose name it would take
        sources_ = filesOf(in_.path());
    }

    ProgramCall call(const fs::path& out) const {
        ProgramCall call{.arguments = {"--speed", "fast", "--jobs", "2", "--skip-existing", "-o", out.native(),
                                       in_.path().native()}};
        call.arguments.insert(call.arguments.end(), GetParam().options.begin(), GetParam().options.end());
        return call;
    }

    /// Of a run. Not of one whose program and libraries are still on the disk, nor of a moment of load: delays drawn
    /// from so long a time would hardly kill a run.
    std::chrono::microseconds usualLength() const {
        auto least = std::chrono::microseconds::max();
        for (int run = 0; run < 3; ++run) {
            const TemporaryFolder out;
            const Clock::time_point start = Clock::now();
            EXPECT_EQ(runProgram(OVREL_CLI, call(out.path())).status, 0);
            least = std::min(least, std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start));
        }
        return least;
    }

    /// Every file under a final name is one of the expected ones, and whole.
    void expectWhole(const Files& found) const {
        for (const auto& [name, content] : found) {
            if (isHidden(name)) {
                continue; // what the program was writing
            }
            const auto expected = expected_.find(name);
            ASSERT_NE(expected, expected_.end()) << name;
            const bool isCopy = sources_.count(name) != 0;
            EXPECT_TRUE(isCopy ? content == expected->second : haveSameContent(content, expected->second))
                << name << ", " << content.size() << " bytes";
        }
    }

    TemporaryFolder in_;
    Files sources_;
    Files expected_;
};

TEST_P(Kills, LeaveWholeFilesUnderFinalNames) {
    const TemporaryFolder undisturbed;
    ASSERT_EQ(runProgram(OVREL_CLI, call(undisturbed.path())).status, 0);
    const std::chrono::microseconds length = usualLength();
    expected_ = filesOf(undisturbed.path());
    ASSERT_EQ(expected_.size(), sources_.size());

    const unsigned chosen = seed();
    std::cout << "OVREL_KILL_SEED=" << chosen << " brings about the same delays\n";
    std::minstd_rand random(chosen);
    std::uniform_int_distribution<long> delay(0, static_cast<long>(length.count()));
    int killed = 0;
    std::size_t published = 0;
    // Some runs end before they are killed.
    for (int round = 0; killed < GetParam().times; ++round) {
        ASSERT_LT(round, 10 * GetParam().times) << "hardly a run is killed";
        SCOPED_TRACE("round " + std::to_string(round) + " of seed " + std::to_string(chosen));
        const TemporaryFolder out;
        RunningProgram program(OVREL_CLI, call(out.path()));
        std::this_thread::sleep_for(std::chrono::microseconds(delay(random)));
        program.signal(SIGKILL);
        killed += program.wait().status == 128 + SIGKILL ? 1 : 0;

        const Files left = filesOf(out.path());
        expectWhole(left);
        EXPECT_EQ(filesOf(in_.path()), sources_);
        for (const auto& [name, content] : left) {
            published += isHidden(name) ? 0 : 1;
        }
        // Most of the time goes into runs to the end, so not every kill is followed by one.
        if (round % 10 == 0) {
            const ProgramEnd next = runProgram(OVREL_CLI, call(out.path()));
            EXPECT_EQ(next.status, 0) << next.out << next.err;
            expectWhole(filesOf(out.path()));
        }
    }
    std::cout << killed << " runs were killed; " << published << " results had been finished by then\n";
    EXPECT_GT(published, 0U);
}

std::vector<Killing> killings() {
    std::vector<Killing> all{{"OfTheCompactEncoder", {}, 200}};
    if (Converter::supported()) {
        all.push_back({"OfTheSystemsEncoder", {"-m", "system"}, 40});
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(, Kills, testing::ValuesIn(killings()),
                         [](const auto& killing) { return std::string(killing.param.name); });

} // namespace
} // namespace ovrel::test
