#include "cli/progress_line.h"

#include "cli/display_text.h"

#include <gtest/gtest.h>

#include <clocale>

namespace ovrel::cli {
namespace {

using std::chrono::milliseconds;

class ProgressLine : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
        step_.item.url = "holiday/beach.jpg";
        progress_ = {
            .current = &step_, .completed = 2, .steps = 10, .worked = 2, .work = 8, .elapsed = milliseconds(4000)};
    }
    void TearDown() override { std::setlocale(LC_CTYPE, "C"); }

    Step step_;
    BatchProgress progress_;
};

TEST_F(ProgressLine, ShowsCountNameSpeedAndTimeLeft) {
    EXPECT_EQ(progressLine(progress_, AppLanguage::english, 80), "Converting 3 of 10: beach.jpg · 30/min · 0:12 left");
    EXPECT_EQ(progressLine(progress_, AppLanguage::russian, 80),
              "Преобразую 3 из 10: beach.jpg · 30/мин · осталось 0:12");
}

TEST_F(ProgressLine, ShowsNoSpeedBeforeTheFirstImageIsDone) {
    progress_.worked = 0;
    EXPECT_EQ(progressLine(progress_, AppLanguage::english, 80), "Converting 3 of 10: beach.jpg");
    progress_.worked = 1;
    progress_.elapsed = milliseconds(0);
    EXPECT_EQ(progressLine(progress_, AppLanguage::english, 80), "Converting 3 of 10: beach.jpg");
}

TEST_F(ProgressLine, SaysWhatIsCopiedAndThatItStops) {
    step_.action = Step::Action::copy;
    progress_.worked = 0;
    EXPECT_EQ(progressLine(progress_, AppLanguage::english, 80), "Copying 3 of 10: beach.jpg");
    progress_.stopping = true;
    EXPECT_EQ(progressLine(progress_, AppLanguage::english, 80), "Stopping… Copying 3 of 10: beach.jpg");
}

TEST_F(ProgressLine, CountsTheLastStepOnceAllAreDone) {
    progress_.completed = 10;
    progress_.worked = 0;
    EXPECT_EQ(progressLine(progress_, AppLanguage::english, 80), "Converting 10 of 10: beach.jpg");
}

TEST_F(ProgressLine, CutsTheNameFirstThenTheLine) {
    step_.item.url = "a-very-long-name-from-a-camera-20260101-120000.jpg";
    const struct {
        std::size_t columns;
        std::string line;
    } rows[] = {
        {60, "Converting 3 of 10: a-very-long-name-f… · 30/min · 0:12 left"},
        {49, "Converting 3 of 10: a-very-… · 30/min · 0:12 left"},
        {48, "Converting 3 of 10: a-very-long-name-from-a-cam…"},
        {10, "Convertin…"},
        {0, ""},
    };
    for (const auto& row : rows) {
        const std::string line = progressLine(progress_, AppLanguage::english, row.columns);
        EXPECT_EQ(line, row.line);
        EXPECT_LE(columnsOf(line), row.columns);
    }
}

TEST_F(ProgressLine, NeverHoldsAControlCharacter) {
    step_.item.url = "a\x1b[2J\nb.jpg";
    progress_.worked = 0;
    EXPECT_EQ(progressLine(progress_, AppLanguage::english, 80), "Converting 3 of 10: a�[2J�b.jpg");
}

} // namespace
} // namespace ovrel::cli
