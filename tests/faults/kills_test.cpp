// Kills the program at any moment and looks at what stands under a final name.

#include "tests/cli/running_program.h"
#include "tests/faults/conversions.h"
#include "tests/faults/same_content.h"
#include "tests/support/jpeg_writer.h"
#include "tests/support/pictures.h"
#include "tests/support/png_writer.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <random>
#include <string>
#include <thread>

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

class Kills : public testing::Test {
protected:
    Kills() {
        in_.write("a.jpg", writeJpeg(smooth(90, 70)));
        in_.write("b.png", writePng(pngOf(smooth(80, 60, true))));
        in_.write("inner/c.gif", animatedGif());
        in_.write("inner/d.jpg", writeJpeg(gradient(70, 50)));
        in_.write("inner/e.gif", animatedGif());
        in_.write("f.png", writePng(pngOf(gradient(60, 60))));
        in_.write("same.jpg", writeJpeg(smooth(50, 40)));
        in_.write("same.png", writePng(pngOf(smooth(50, 40)))); // follows the one above, whose name it would take
        sources_ = filesOf(in_.path());
    }

    ProgramCall call(const fs::path& out) const {
        return {.arguments = {"--speed", "fast", "--jobs", "2", "--skip-existing", "-o", out.native(),
                              in_.path().native()}};
    }

    /// Every file under a final name is one of the expected ones, and whole.
    void expectWhole(const Files& found) const {
        for (const auto& [name, content] : found) {
            if (isHidden(name)) {
                continue; // what the program was writing
            }
            const auto expected = expected_.find(name);
            ASSERT_NE(expected, expected_.end()) << name;
            EXPECT_TRUE(haveSameContent(content, expected->second)) << name << ", " << content.size() << " bytes";
        }
    }

    TemporaryFolder in_;
    Files sources_;
    Files expected_;
};

TEST_F(Kills, LeaveWholeFilesUnderFinalNames) {
    const TemporaryFolder undisturbed;
    const Clock::time_point start = Clock::now();
    ASSERT_EQ(runProgram(OVREL_CLI, call(undisturbed.path())).status, 0);
    const auto length = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
    expected_ = filesOf(undisturbed.path());
    ASSERT_EQ(expected_.size(), sources_.size());

    const unsigned chosen = seed();
    std::cout << "OVREL_KILL_SEED=" << chosen << " brings about the same delays\n";
    std::minstd_rand random(chosen);
    std::uniform_int_distribution<long> delay(0, static_cast<long>(length.count()));
    int killed = 0;
    std::size_t published = 0;
    for (int round = 0; round < 200; ++round) {
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
    std::cout << killed << " of 200 runs were killed; " << published << " results had been finished by then\n";
    EXPECT_GT(killed, 0);
    EXPECT_GT(published, 0U);
}

} // namespace
} // namespace ovrel::test
