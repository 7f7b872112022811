// Whole programs with a model: how they end, and that the command line tells the same of the same files.

#include "tests/support/avif_writer.h"
#include "tests/support/jpeg_writer.h"
#include "tests/support/pictures.h"
#include "tests/support/png_writer.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/webp_writer.h"

#include <QProcess>

#include <gmock/gmock.h>

#include <sstream>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

std::string png(std::uint32_t side) {
    return writePng(pngOf(smooth(side, side)));
}

/// The lines that a program prints. Fails the test unless it ends with `status`.
std::vector<std::string> linesOf(const char* program, const std::vector<std::string>& arguments, int status = 0) {
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QStringList words;
    for (const std::string& argument : arguments) {
        words << QString::fromStdString(argument);
    }
    process.start(QString::fromUtf8(program), words);
    EXPECT_TRUE(process.waitForFinished(-1));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), status);
    std::vector<std::string> lines;
    std::istringstream stream(process.readAllStandardOutput().toStdString());
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// A folder with a little of everything.
void writeSources(const TemporaryFolder& folder) {
    folder.write("in/1.png", png(40));
    folder.write("in/2.jpg", writeJpeg(smooth(33, 20)));
    folder.write("in/3.png", "damaged");
    folder.write("in/sub/4.avif", writeAvif(smooth(8, 8)));
    folder.write("in/sub/5.webp", writeWebp(smooth(16, 16)));
}

TEST(ModelAndCommandLine, AgreeOnResultsStatusesAndSummary) {
    TemporaryFolder folder;
    writeSources(folder);
    const std::vector<std::string> model = linesOf(OVREL_RUN_MODEL, {"--output", folder / "model", folder / "in"});
    for (const char* language : {"en", "ru"}) {
        const std::string output = std::string("cli-") + language;
        const std::vector<std::string> cli =
            linesOf(OVREL_CLI, {"--jobs", "1", "--language", language, "--output", folder / output, folder / "in"}, 1);
        ASSERT_EQ(cli.size(), 6U);
        ASSERT_EQ(model.size(), 9U);
        const bool english = std::string(language) == "en";
        for (std::size_t item = 0; item < 5; ++item) {
            const std::string& both = model[2 + item];
            const std::size_t name = both.find(": ") + 2;
            const std::size_t bar = both.find(" | ");
            const std::string status = english ? both.substr(name, bar - name) : both.substr(bar + 3);
            EXPECT_EQ(cli[item], both.substr(0, name) + status);
        }
        EXPECT_EQ(cli[5], model[english ? 8 : 7].substr(4));
        const std::vector<std::string> results{"1.avif", "2.avif", "sub/4.avif", "sub/5.avif"};
        for (const std::string& result : results) {
            EXPECT_EQ(contentOf(folder / output / result), contentOf(folder / "model" / result)) << result;
        }
    }
    EXPECT_EQ(model[0], "ru: В очереди: 5");
    EXPECT_EQ(model[1], "en: Files queued: 5");
    EXPECT_EQ(model[7], "ru: Готово: 4 успешно, 1 с ошибками");
    EXPECT_EQ(model[8], "en: Done: 4 successful, 1 failed");
}

TEST(ModelProgram, EndsAfterTheImageInHandWhenItsWindowIsClosed) {
    TemporaryFolder folder;
    writeSources(folder);
    const std::vector<std::string> lines =
        linesOf(OVREL_RUN_MODEL, {"--output", folder / "out", "--close-at", "2", folder / "in"});
    EXPECT_EQ(lines.back(), "en: Stopped: 2 successful, 0 failed, 3 remaining");
    EXPECT_TRUE(fs::exists(folder / "out/2.avif"));
    EXPECT_FALSE(fs::exists(folder / "out/sub"));
}

TEST(ModelProgram, LeavesAtOnceWhenItsWindowIsClosedTwiceAndTakesTheHiddenFileAlong) {
    TemporaryFolder folder;
    writeSources(folder);
    fs::create_directory(folder / "out");
    linesOf(OVREL_RUN_MODEL, {"--output", folder / "out", "--leave-at", "2", folder / "in"});
    std::vector<std::string> results;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder / "out")) {
        results.push_back(entry.path().filename());
    }
    EXPECT_THAT(results, ElementsAre("1.avif"));
}

TEST(ModelProgram, FinishesTheImageInHandWhenItsModelEnds) {
    TemporaryFolder folder;
    folder.write("in/1.png", png(400));
    folder.write("in/2.png", png(400));
    linesOf(OVREL_RUN_MODEL, {"--output", folder / "out", "--end-at", "1", folder / "in"});
    EXPECT_THAT(folder.listing(), ElementsAre("in", "in/1.png", "in/2.png", "out", "out/1.avif"));
}

} // namespace

} // namespace ovrel::test
