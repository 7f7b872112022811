#include "tests/encoder/outcome.h"
#include "tests/encoder/pictures.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

namespace ovrel::test {

namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;

bool isInstalled(const std::string& program) {
    return std::system(("command -v " + program + " >/dev/null 2>&1").c_str()) == 0;
}

/// What a command prints. Throws when it fails.
std::string outputOf(const std::string& command) {
    std::FILE* const pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) {
        throw std::runtime_error("cannot run " + command);
    }
    std::string output;
    std::array<char, 4096> part{};
    for (std::size_t count = 0; (count = std::fread(part.data(), 1, part.size(), pipe)) > 0;) {
        output.append(part.data(), count);
    }
    if (::pclose(pipe) != 0) {
        throw std::runtime_error("failed: " + command + "\n" + output);
    }
    return output;
}

/// A still picture and an animation, both 40x30 with alpha.
class OutsidePrograms : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(encodeStill(noisePicture(40, 30, 1), still_), "written");
        Message message;
        avif_sequence* const sequence = avif_sequence_create(50, 10, 2, message.data(), message.capacity());
        ASSERT_NE(sequence, nullptr);
        EXPECT_EQ(addFrame(sequence, noisePicture(40, 30, 1), 100), "written");
        EXPECT_EQ(addFrame(sequence, noisePicture(40, 30, 2), 150), "written");
        EXPECT_EQ(addFrame(sequence, noisePicture(40, 30, 3), 2000), "written");
        EXPECT_EQ(finish(sequence, animation_), "written");
        avif_sequence_destroy(sequence);
    }

    TemporaryFolder folder_;
    const std::filesystem::path still_ = folder_ / "still.avif";
    const std::filesystem::path animation_ = folder_ / "animation.avif";
};

TEST_F(OutsidePrograms, AvifdecReadsWhatWasAskedFor) {
    if (!isInstalled("avifdec")) {
        GTEST_SKIP() << "avifdec is not installed";
    }
    const auto describesThePicture =
        AllOf(ContainsRegex("Resolution +: 40x30"), ContainsRegex("Bit Depth +: 8"), ContainsRegex("Format +: YUV420"),
              ContainsRegex("Alpha +: Not premultiplied"), ContainsRegex("Range +: Full"),
              ContainsRegex("Color Primaries *: 1\n"), ContainsRegex("Transfer Char. *: 13\n"),
              ContainsRegex("Matrix Coeffs. *: 6\n"), ContainsRegex("ICC Profile +: Absent"));
    EXPECT_THAT(outputOf("avifdec --info " + still_.native()), describesThePicture);
    EXPECT_THAT(outputOf("avifdec --info " + animation_.native()),
                AllOf(describesThePicture, ContainsRegex("Repeat Count +: 2\n"),
                      ContainsRegex("1000 timescales per second.*2250 timescales.*3 frames"),
                      HasSubstr("(100 timescales)] [40x30]"), HasSubstr("(150 timescales)] [40x30]"),
                      HasSubstr("(2000 timescales)] [40x30]")));
}

TEST_F(OutsidePrograms, FfprobeReadsWhatWasAskedFor) {
    if (!isInstalled("ffprobe")) {
        GTEST_SKIP() << "ffprobe is not installed";
    }
    const std::string command = "ffprobe -v error -select_streams v:0 -show_streams -show_packets -of flat ";
    const auto describesThePicture =
        AllOf(HasSubstr("codec_name=\"av1\""), HasSubstr(".width=40\n"), HasSubstr(".height=30\n"),
              HasSubstr("pix_fmt=\"yuv420p\""), HasSubstr("color_range=\"pc\""),
              HasSubstr("color_space=\"smpte170m\""), // the name of BT.601's matrix
              HasSubstr("color_transfer=\"iec61966-2-1\""), HasSubstr("color_primaries=\"bt709\""));
    EXPECT_THAT(outputOf(command + still_.native()), describesThePicture);
    EXPECT_THAT(outputOf(command + animation_.native()),
                AllOf(describesThePicture, HasSubstr("time_base=\"1/1000\""), HasSubstr("nb_frames=\"3\""),
                      HasSubstr("packet.0.duration=100\n"), HasSubstr("packet.1.duration=150\n"),
                      HasSubstr("packet.2.duration=2000\n")));
}

} // namespace

} // namespace ovrel::test
