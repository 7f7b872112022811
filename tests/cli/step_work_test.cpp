#include "cli/step_work.h"

#include "tests/support/forwarding_file_system.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <new>

namespace ovrel::cli {
namespace {

namespace fs = std::filesystem;

/// A source of five bytes and a conversion that writes three.
class StepWork : public testing::Test {
protected:
    StepWork() {
        step_.item.url = folder_.write("photo.jpg", "12345");
        step_.result = folder_ / "photo.avif";
    }

    ConvertFunction converter() {
        return [this](const InputItem& item, Turn&) {
            EXPECT_EQ(item, step_.item);
            return ConversionResult{.file = folder_.write("photo-2.avif", "abc"), .multiImage = true};
        };
    }

    test::TemporaryFolder folder_;
    FileSystem& files_ = FileSystem::native();
    Step step_;
};

TEST_F(StepWork, TellsWhatWasWritten) {
    const Outcome outcome = carryOut(step_, converter(), files_, false);
    EXPECT_EQ(outcome.status, Outcome::Status::converted);
    EXPECT_EQ(outcome.result, folder_ / "photo-2.avif");
    EXPECT_TRUE(outcome.multiImage);
    EXPECT_EQ(outcome.sourceBytes, 5U);
    EXPECT_EQ(outcome.resultBytes, 3U);
    EXPECT_FALSE(outcome.error);
}

TEST_F(StepWork, CallsACopyACopy) {
    step_.action = Step::Action::copy;
    EXPECT_EQ(carryOut(step_, converter(), files_, false).status, Outcome::Status::copied);
}

TEST_F(StepWork, KeepsTheReasonOfAFailure) {
    const auto failing = [](const InputItem&, Turn&) -> ConversionResult { throw ConversionError("нет", "no"); };
    const Outcome outcome = carryOut(step_, failing, files_, false);
    EXPECT_EQ(outcome.status, Outcome::Status::failed);
    EXPECT_TRUE(outcome.result.empty());
    EXPECT_EQ(outcome.sourceBytes, 5U);
    EXPECT_EQ(outcome.resultBytes, std::nullopt);
    EXPECT_THROW(std::rethrow_exception(outcome.error), ConversionError);
}

TEST_F(StepWork, TellsHowLongTheConversionWaitedWhateverBecameOfIt) {
    constexpr std::chrono::hours wait(3);
    const auto patient = [this, wait](const InputItem& item, Turn& turn) {
        turn.waited = wait;
        return converter()(item, turn);
    };
    EXPECT_EQ(carryOut(step_, patient, files_, false).waited, wait);
    const auto failing = [wait](const InputItem&, Turn& turn) -> ConversionResult {
        turn.waited = wait;
        throw ConversionError("нет", "no");
    };
    EXPECT_EQ(carryOut(step_, failing, files_, false).waited, wait);
}

TEST_F(StepWork, IsNoFailureWhenItWasNotBegun) {
    std::stop_source stop;
    stop.request_stop();
    const auto waiting = [](const InputItem&, Turn& turn) -> ConversionResult {
        EXPECT_TRUE(turn.stop.stop_requested());
        throw NotBegun();
    };
    EXPECT_THROW(carryOut(step_, waiting, files_, false, stop.get_token()), NotBegun);
}

TEST_F(StepWork, GivesTheResultTheTimeOfItsSourceWhenAsked) {
    const fs::file_time_type earlier = fs::last_write_time(step_.item.url) - std::chrono::hours(1000);
    fs::last_write_time(step_.item.url, earlier);
    const Outcome untouched = carryOut(step_, converter(), files_, false);
    EXPECT_GT(fs::last_write_time(untouched.result), earlier);
    const Outcome preserved = carryOut(step_, converter(), files_, true);
    EXPECT_EQ(preserved.status, Outcome::Status::converted);
    EXPECT_EQ(fs::last_write_time(preserved.result), earlier);
}

TEST_F(StepWork, FailsButKeepsTheResultWhenItsTimeCannotBeSet) {
    const auto convertAndLoseSource = [this](const InputItem& item, Turn& turn) {
        ConversionResult result = converter()(item, turn);
        fs::remove(item.url);
        return result;
    };
    const Outcome outcome = carryOut(step_, convertAndLoseSource, files_, true);
    EXPECT_EQ(outcome.status, Outcome::Status::failed);
    EXPECT_EQ(outcome.result, folder_ / "photo-2.avif");
    EXPECT_TRUE(fs::exists(outcome.result));
    EXPECT_THROW(std::rethrow_exception(outcome.error), FileError);
}

TEST_F(StepWork, IsDoneAlsoWhenThereIsNoMemoryToAskForTheSize) {
    class Exhausted : public test::ForwardingFileSystem {
        std::uint64_t fileSize(const fs::path& /*file*/) override { throw std::bad_alloc(); }
    };
    Exhausted exhausted;
    const Outcome outcome = carryOut(step_, converter(), exhausted, false);
    EXPECT_EQ(outcome.status, Outcome::Status::converted);
    EXPECT_EQ(outcome.result, folder_ / "photo-2.avif");
    EXPECT_EQ(outcome.resultBytes, std::nullopt);
}

TEST_F(StepWork, ConvertsNothingThatIsSkippedOrImpossible) {
    const auto never = [](const InputItem&, Turn&) -> ConversionResult {
        ADD_FAILURE() << "converted";
        return {};
    };
    step_.action = Step::Action::skip;
    const Outcome skipped = carryOut(step_, never, files_, true);
    EXPECT_EQ(skipped.status, Outcome::Status::skipped);
    EXPECT_EQ(skipped.result, step_.result);
    EXPECT_EQ(skipped.sourceBytes, 5U);

    Step impossible;
    impossible.item.url = folder_ / "gone";
    impossible.action = Step::Action::fail;
    impossible.error = std::make_exception_ptr(FileError(FileError::readNoSuchFile, impossible.item.url));
    const Outcome failed = carryOut(impossible, never, files_, true);
    EXPECT_EQ(failed.status, Outcome::Status::failed);
    EXPECT_EQ(failed.error, impossible.error);
    EXPECT_EQ(failed.sourceBytes, std::nullopt);
}

TEST_F(StepWork, ForetellsWithoutWriting) {
    const Outcome conversion = foretell(step_, files_);
    EXPECT_EQ(conversion.status, Outcome::Status::wouldConvert);
    EXPECT_EQ(conversion.result, step_.result);
    EXPECT_EQ(conversion.sourceBytes, 5U);
    EXPECT_EQ(conversion.resultBytes, std::nullopt);
    step_.action = Step::Action::copy;
    EXPECT_EQ(foretell(step_, files_).status, Outcome::Status::wouldCopy);
    step_.action = Step::Action::skip;
    EXPECT_EQ(foretell(step_, files_).status, Outcome::Status::skipped);
    EXPECT_EQ(folder_.listing(), std::vector<std::string>{"photo.jpg"});
}

} // namespace
} // namespace ovrel::cli
