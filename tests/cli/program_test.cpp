#include "platform/image_source.h"
#include "tests/cli/running_program.h"
#include "tests/support/gif_writer.h"
#include "tests/support/jpeg_writer.h"
#include "tests/support/png_writer.h"
#include "tests/support/temporary_folder.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace ovrel::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using Words = std::vector<std::string>;

Image picture(std::uint32_t width, std::uint32_t height) {
    Image image;
    image.width = width;
    image.height = height;
    image.samples = PixelBuffer::zeroed(height, image.bytesPerRow());
    std::minstd_rand random; // hard to encode
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x) {
            std::uint8_t* const pixel = image.row(y) + std::size_t{4} * x;
            for (int channel = 0; channel < 3; ++channel) {
                pixel[channel] = static_cast<std::uint8_t>(random() >> 8);
            }
            pixel[3] = 255;
        }
    }
    return image;
}

std::string png(std::uint32_t width = 4, std::uint32_t height = 4) {
    return writePng(pngOf(picture(width, height)));
}
std::string jpeg() {
    return writeJpeg(picture(16, 16));
}

std::string animatedGif() {
    GifContent content;
    content.width = 4;
    content.height = 4;
    content.palette = {{255, 0, 0}, {0, 255, 0}};
    for (const std::uint8_t color : {std::uint8_t{0}, std::uint8_t{1}}) {
        GifFrameBlock frame;
        frame.width = 4;
        frame.height = 4;
        frame.pixels.assign(16, color);
        frame.control = GifControl{.delayHundredths = 10, .disposal = 1, .transparentIndex = {}};
        content.frames.push_back(frame);
    }
    return writeGif(content);
}

Words linesOf(const std::string& text) {
    Words lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<QJsonObject> objectsOf(const std::string& text) {
    std::vector<QJsonObject> objects;
    for (const std::string& line : linesOf(text)) {
        QJsonParseError error;
        objects.push_back(QJsonDocument::fromJson(QByteArray::fromStdString(line), &error).object());
        EXPECT_EQ(error.error, QJsonParseError::NoError) << line;
    }
    return objects;
}

/// The program with a folder of sources and one for results.
class ProgramTest : public testing::Test {
protected:
    ProgramEnd run(const Words& arguments) { return runCall({.arguments = arguments}); }
    ProgramEnd runCall(const ProgramCall& call) { return runProgram(OVREL_CLI, call); }

    std::string in(const std::string& name = {}) const { return (in_.path() / name).native(); }
    std::string out(const std::string& name = {}) const { return (out_.path() / name).native(); }

    TemporaryFolder in_;
    TemporaryFolder out_;
};

TEST_F(ProgramTest, ConvertsAFolderIntoTheSameLayout) {
    in_.write("photo.jpg", jpeg());
    in_.write("sub/inner/graphic.png", png());
    in_.write("sub/moving.gif", animatedGif());
    in_.write("notes.txt", "no image");
    const ProgramEnd end = run({"-s", "fast", "-o", out(), in_.path()});
    EXPECT_EQ(end.status, 0);
    EXPECT_THAT(linesOf(end.out),
                ElementsAre(in("photo.jpg") + ": ✓ photo.avif", in("sub/inner/graphic.png") + ": ✓ graphic.avif",
                            in("sub/moving.gif") + ": ✓ moving.avif · animated", "Done: 3 successful, 0 failed"));
    EXPECT_EQ(end.err, "");
    EXPECT_THAT(out_.listing(),
                ElementsAre("photo.avif", "sub", "sub/inner", "sub/inner/graphic.avif", "sub/moving.avif"));
    const auto moving = ImageSource::open(out_ / "sub/moving.avif");
    ASSERT_NE(moving, nullptr);
    EXPECT_EQ(moving->format(), ImageFormat::avif);
    EXPECT_EQ(moving->count(), 2U);
}

TEST_F(ProgramTest, LeavesFoldersInsideOutWhenAsked) {
    in_.write("a.png", png());
    in_.write("sub/b.png", png());
    EXPECT_EQ(run({"--no-recursive", "-o", out(), in()}).status, 0);
    EXPECT_THAT(out_.listing(), ElementsAre("a.avif"));
}

TEST_F(ProgramTest, CopiesAvifAndNeverReplacesAnything) {
    in_.write("a.png", png());
    ASSERT_EQ(run({"-o", in(), in("a.png")}).status, 0);
    const std::string avif = contentOf(in_ / "a.avif");
    out_.write("a.avif", "precious");
    const ProgramEnd end = run({"-o", out(), in("a.avif")});
    EXPECT_EQ(end.status, 0);
    EXPECT_THAT(linesOf(end.out), ElementsAre(in("a.avif") + ": ✓ a-2.avif · copied", "Done: 1 successful, 0 failed"));
    EXPECT_EQ(contentOf(out_ / "a.avif"), "precious");
    EXPECT_EQ(contentOf(out_ / "a-2.avif"), avif);
}

TEST_F(ProgramTest, TellsOfFailuresInTheChosenLanguage) {
    in_.write("bad.png", "no picture");
    in_.write("good.png", png());
    const ProgramEnd english = run({"-o", out(), in()});
    EXPECT_EQ(english.status, 1);
    EXPECT_THAT(linesOf(english.out), ElementsAre(in("bad.png") + ": Error: Unable to read the image",
                                                  in("good.png") + ": ✓ good.avif", "Done: 1 successful, 1 failed"));
    const ProgramEnd russian = runCall({.arguments = {"-o", out(), in()}, .environment = {"LC_ALL=ru_RU.UTF-8"}});
    EXPECT_EQ(russian.status, 1);
    EXPECT_THAT(linesOf(russian.out),
                ElementsAre(in("bad.png") + ": Ошибка: Не удалось прочитать изображение",
                            in("good.png") + ": ✓ good-2.avif", "Готово: 1 успешно, 1 с ошибками"));
    EXPECT_THAT(out_.listing(), ElementsAre("good-2.avif", "good.avif"));
}

TEST_F(ProgramTest, ConvertsWithTheSystemsWriterBeforeAnythingElseHasUsedIt) {
    in_.write("a.png", png());
    const ProgramEnd end = run({"-m", "system", "-o", out(), in()});
    EXPECT_THAT(linesOf(end.out), ElementsAre(in("a.png") + ": ✓ a.avif", "Done: 1 successful, 0 failed"));
}

TEST_F(ProgramTest, ConvertsTheRestWhenAPathIsMissing) {
    in_.write("a.png", png());
    const ProgramEnd end = run({"-o", out(), in("gone.png"), in("a.png")});
    EXPECT_EQ(end.status, 1);
    EXPECT_THAT(linesOf(end.out), ElementsAre(in("gone.png") + ": Error: The file or folder no longer exists.",
                                              in("a.png") + ": ✓ a.avif", "Done: 1 successful, 1 failed"));
}

TEST_F(ProgramTest, SaysWhenThereIsNothingToConvert) {
    in_.write("notes.txt", "no image");
    const ProgramEnd end = run({"-o", out(), in()});
    EXPECT_EQ(end.status, 3);
    EXPECT_EQ(end.out, "");
    EXPECT_THAT(end.err, StartsWith("ovrel-cli: Nothing to convert"));
}

TEST_F(ProgramTest, RefusesWrongUsage) {
    const ProgramEnd end = run({"-q", "0", "-o", out(), in()});
    EXPECT_EQ(end.status, 2);
    EXPECT_EQ(end.out, "");
    EXPECT_THAT(end.err, HasSubstr("--quality"));
    const ProgramEnd hostile = run({"-o", out(), in(), "--\x1b[2J\n"});
    EXPECT_EQ(hostile.status, 2);
    EXPECT_EQ(hostile.err, "ovrel-cli: Unknown option: --�[2J�\novrel-cli --help explains the usage.\n");
}

TEST_F(ProgramTest, ExplainsItself) {
    const ProgramEnd version = run({"--version"});
    EXPECT_EQ(version.status, 0);
    const Words lines = linesOf(version.out);
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0], "Ovrel " OVREL_VERSION);
    EXPECT_THAT(version.out, HasSubstr("\nlibavif "));
    EXPECT_THAT(version.out, HasSubstr("\nlibheif "));
    const ProgramEnd help = run({"--help", "--language=ru"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, HasSubstr("Использование: ovrel-cli"));
}

TEST_F(ProgramTest, PrintsAnObjectForEachImage) {
    in_.write("a.gif", animatedGif());
    in_.write("b.png", "no picture");
    const ProgramEnd end = run({"--json", "-o", out(), in()});
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(end.err, "Done: 1 successful, 1 failed\n");
    const std::vector<QJsonObject> objects = objectsOf(end.out);
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[0]["source"].toString().toStdString(), in("a.gif"));
    EXPECT_EQ(objects[0]["result"].toString().toStdString(), out("a.avif"));
    EXPECT_EQ(objects[0]["status"].toString(), QString("converted"));
    EXPECT_TRUE(objects[0]["multiImage"].toBool());
    EXPECT_EQ(objects[0]["sourceBytes"].toInteger(), static_cast<qint64>(fs::file_size(in_ / "a.gif")));
    EXPECT_EQ(objects[0]["resultBytes"].toInteger(), static_cast<qint64>(fs::file_size(out_ / "a.avif")));
    EXPECT_EQ(objects[1]["status"].toString(), QString("failed"));
    EXPECT_EQ(objects[1]["error"].toString(), QString("Unable to read the image"));
    EXPECT_TRUE(objects[1]["result"].isNull());
}

TEST_F(ProgramTest, WritesNothingInADryRun) {
    in_.write("a.jpg", "never opened");
    in_.write("a.png", "never opened");
    in_.write("sub/b.avif", "never opened");
    const std::string output = out("new");
    const ProgramEnd end = run({"-n", "-o", output, in()});
    EXPECT_EQ(end.status, 0);
    EXPECT_THAT(linesOf(end.out), ElementsAre(in("a.jpg") + ": would be converted to " + output + "/a.avif",
                                              in("a.png") + ": would be converted to " + output + "/a-2.avif",
                                              in("sub/b.avif") + ": would be copied to " + output + "/sub/b.avif",
                                              "Dry run: 3 to do, 0 failed"));
    EXPECT_THAT(out_.listing(), IsEmpty());
}

TEST_F(ProgramTest, DoesWhatTheDryRunSaid) {
    in_.write("a-2.png", png());
    in_.write("a.jpg", jpeg());
    in_.write("a.png", png());
    in_.write("sub/a.gif", animatedGif());
    out_.write("a-3.avif", "taken");
    const auto resultsOf = [](const std::string& text) {
        std::map<QString, QString> results;
        for (const QJsonObject& object : objectsOf(text)) {
            results[object["source"].toString()] = object["result"].toString();
        }
        return results;
    };
    const auto planned = resultsOf(run({"-n", "--json", "-o", out(), in()}).out);
    EXPECT_EQ(planned.size(), 4U);
    EXPECT_EQ(resultsOf(run({"--json", "-j", "4", "-o", out(), in()}).out), planned);
}

TEST_F(ProgramTest, SkipsWhatIsThere) {
    in_.write("a.png", png());
    in_.write("b.jpg", jpeg());
    in_.write("b.png", png());
    EXPECT_THAT(run({"--skip-existing", "-o", out(), in()}).out,
                HasSubstr("\nDone: 3 successful, 0 failed, 0 skipped\n"));
    in_.write("c.png", png());
    const ProgramEnd end = run({"--skip-existing", "-o", out(), in()});
    EXPECT_EQ(end.status, 0);
    EXPECT_THAT(linesOf(end.out), ElementsAre(in("a.png") + ": skipped, there is already " + out("a.avif"),
                                              in("b.jpg") + ": skipped, there is already " + out("b.avif"),
                                              in("b.png") + ": skipped, there is already " + out("b.avif"),
                                              in("c.png") + ": ✓ c.avif", "Done: 1 successful, 0 failed, 3 skipped"));
    EXPECT_THAT(out_.listing(), ElementsAre("a.avif", "b-2.avif", "b.avif", "c.avif"));
}

TEST_F(ProgramTest, PreservesTimes) {
    const fs::path source = in_.write("a.png", png());
    const fs::file_time_type time = fs::last_write_time(source) - std::chrono::hours(5000);
    fs::last_write_time(source, time);
    EXPECT_EQ(run({"-o", out(), in()}).status, 0);
    EXPECT_GT(fs::last_write_time(out_ / "a.avif"), time);
    EXPECT_EQ(run({"--preserve-times", "-o", out(), in()}).status, 0);
    EXPECT_EQ(fs::last_write_time(out_ / "a-2.avif"), time);
}

TEST_F(ProgramTest, TakesPathsFromAList) {
    using namespace std::string_literals;
    in_.write("a.png", png());
    in_.write("b.png", png());
    in_.write("c\nd.png", png());
    in_.write("e.png", png());
    const ProgramEnd lines = runCall({.arguments = {"-n", "-o", out(), "--files-from", "-", in("e.png")},
                                      .input = in("b.png") + "\n\n" + in("a.png")});
    EXPECT_EQ(lines.status, 0);
    EXPECT_THAT(linesOf(lines.out), ElementsAre(StartsWith(in("a.png")), StartsWith(in("b.png")),
                                                StartsWith(in("e.png")), "Dry run: 3 to do, 0 failed"));

    const fs::path list = in_.write("list", in("c\nd.png") + "\0"s + in("a.png") + "\0"s);
    const ProgramEnd nuls = run({"-o", out(), "-0", "--files-from", list});
    EXPECT_EQ(nuls.status, 0);
    EXPECT_THAT(out_.listing(), ElementsAre("a.avif", "c\nd.avif"));

    const ProgramEnd missing = run({"-o", out(), "--files-from", in("gone")});
    EXPECT_EQ(missing.status, 2);
    EXPECT_EQ(missing.err, "ovrel-cli: " + in("gone") + ": The file or folder no longer exists.\n");
    EXPECT_EQ(run({"-o", out(), "--files-from", "-"}).status, 3);
}

TEST_F(ProgramTest, AsksForTheOptionWhereNulsEndThePathsOfAList) {
    using namespace std::string_literals;
    const fs::path list = in_.write("list", in("a.png") + "\0"s + in("b.png") + "\0"s);
    const ProgramEnd english = run({"-o", out(), "--files-from", list});
    EXPECT_EQ(english.status, 2);
    EXPECT_EQ(english.out, "");
    EXPECT_EQ(english.err, "ovrel-cli: " + list.native() + ": The list holds NUL bytes; use -0\n");
    EXPECT_EQ(run({"--language=ru", "-o", out(), "--files-from", list}).err,
              "ovrel-cli: " + list.native() + ": В списке есть нулевые байты; используйте -0\n");
    EXPECT_THAT(out_.listing(), IsEmpty());
}

TEST_F(ProgramTest, SurvivesAnyName) {
    const Words names{"-dash.png", "[a,b].png", "caf\xE9.png", "line\nbreak\x1b[2J.png", "отпуск 日本.png"};
    for (const std::string& name : names) {
        in_.write(name, png());
    }
    in_.write("[x]/in.png", png());
    const ProgramEnd end = run({"--json", "-o", out(), in()});
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(QString::fromUtf8(end.out.c_str()).toStdString(), end.out) << "not UTF-8";
    std::vector<std::string> sources;
    for (const QJsonObject& object : objectsOf(end.out)) {
        sources.push_back(object.contains("sourceBase64")
                              ? QByteArray::fromBase64(object["sourceBase64"].toString().toLatin1()).toStdString()
                              : object["source"].toString().toStdString());
        EXPECT_TRUE(object["status"] == QJsonValue("converted"));
    }
    Words expected{in("[x]/in.png")};
    for (const std::string& name : names) {
        expected.push_back(in(name));
    }
    EXPECT_THAT(sources, testing::UnorderedElementsAreArray(expected));
    for (const char* const result :
         {"-dash.avif", "[a,b].avif", "caf\xE9.avif", "line\nbreak\x1b[2J.avif", "[x]/in.avif"}) {
        EXPECT_TRUE(fs::exists(out_ / result)) << result;
    }
    const ProgramEnd lines = run({"-n", "-o", out(), in("line\nbreak\x1b[2J.png"), in("[x]")});
    EXPECT_THAT(linesOf(lines.out), ElementsAre(StartsWith(in("[x]/in.png: ")), StartsWith(in("line�break�[2J.png: ")),
                                                StartsWith("Dry run")));
}

TEST_F(ProgramTest, MayWriteIntoTheFolderThatItSearches) {
    in_.write("a.png", png());
    in_.write("sub/b.png", png());
    const ProgramEnd end = run({"-o", in("avif"), in()});
    EXPECT_EQ(end.status, 0);
    EXPECT_THAT(in_.listing(),
                ElementsAre("a.png", "avif", "avif/a.avif", "avif/sub", "avif/sub/b.avif", "sub", "sub/b.png"));
}

TEST_F(ProgramTest, GivesTheSameResultsWithSeveralJobs) {
    for (std::uint32_t number = 0; number < 6; ++number) {
        in_.write("picture" + std::to_string(number) + ".png", png(16 + 8 * number, 24));
        in_.write("picture" + std::to_string(number) + ".jpg", jpeg());
    }
    in_.write("picture3.gif", "damaged");
    const TemporaryFolder other;
    const ProgramEnd one = run({"-s", "fast", "-j", "1", "-o", out(), in()});
    const ProgramEnd several = run({"-s", "fast", "-j", "3", "-o", other.path(), in()});
    EXPECT_EQ(one.status, 1);
    EXPECT_EQ(several.status, 1);
    EXPECT_EQ(several.out, one.out);
    EXPECT_EQ(other.listing(), out_.listing());
    for (const std::string& name : out_.listing()) {
        EXPECT_EQ(contentOf(other / name), contentOf(out_ / name)) << name;
    }
}

TEST_F(ProgramTest, StopsAfterTheImageInHand) {
    // The pipe holds few of these lines, and only so many images are converted ahead of what is told, so that the end
    // of the list is never reached before the signal.
    constexpr int count = 1500;
    const std::string source = png(1, 1);
    for (int number = 0; number < count; ++number) {
        in_.write("an image with a rather long name " + std::to_string(number) + ".png", source);
    }
    for (const int signal : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(signal);
        const TemporaryFolder results;
        RunningProgram program(OVREL_CLI, {.arguments = {"-s", "fast", "-o", results.path(), in()}});
        EXPECT_THAT(program.readLine(), HasSubstr("long name 0.png: ✓ an image"));
        program.signal(signal);
        const ProgramEnd end = program.wait();
        EXPECT_EQ(end.status, 130);
        const Words lines = linesOf(end.out);
        const std::size_t done = lines.size(); // the first was read before, the last is the summary
        EXPECT_LT(done, std::size_t{count});
        EXPECT_EQ(lines.back(), "Stopped: " + std::to_string(done) + " successful, 0 failed, " +
                                    std::to_string(count - done) + " remaining");
        EXPECT_EQ(results.listing().size(), done);
    }
}

TEST_F(ProgramTest, LeavesAtOnceAtTheSecondSignal) {
    in_.write("a.png", png());
    in_.write("b.png", png(1600, 1200)); // takes longer than two signals
    RunningProgram program(OVREL_CLI, {.arguments = {"-s", "thorough", "-o", out(), in()}});
    EXPECT_EQ(program.readLine(), in("a.png") + ": ✓ a.avif");
    program.signal(SIGINT);
    program.signal(SIGTERM); // two of one kind may arrive as one
    const ProgramEnd end = program.wait();
    EXPECT_EQ(end.status, 130);
    EXPECT_EQ(end.out, "");
    EXPECT_THAT(out_.listing(), ElementsAre("a.avif"));
}

TEST_F(ProgramTest, EndsWhenItsOutputIsLost) {
    in_.write("a.png", png());
    const ProgramEnd full = runCall({.arguments = {"-o", out(), in()}, .outputFile = "/dev/full"});
    EXPECT_EQ(full.status, 1);
    EXPECT_THAT(full.err, StartsWith("ovrel-cli: Unable to write to standard output: "));
    const ProgramEnd closed = runCall({.arguments = {"-o", out(), in()}, .outputClosed = true});
    EXPECT_EQ(closed.status, 1);
    EXPECT_THAT(closed.err, StartsWith("ovrel-cli: Unable to write to standard output: "));
    EXPECT_THAT(out_.listing(), ElementsAre("a-2.avif", "a.avif"));
    for (const char* const result : {"a.avif", "a-2.avif"}) {
        const auto source = ImageSource::open(out_ / result);
        ASSERT_NE(source, nullptr);
        EXPECT_TRUE(source->decode(0).has_value()) << result;
    }
    EXPECT_EQ(runCall({.arguments = {"--help"}, .outputFile = "/dev/full"}).status, 1);
    EXPECT_EQ(runCall({.arguments = {"--quiet", "-o", out(), in()}, .outputClosed = true}).status, 0);
}

TEST_F(ProgramTest, PrintsOnlyFailuresWhenQuiet) {
    in_.write("a.png", png());
    in_.write("b.png", "no picture");
    const ProgramEnd end = run({"--quiet", "-o", out(), in()});
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(end.out, "");
    EXPECT_EQ(end.err, in("b.png") + ": Error: Unable to read the image\n");
}

TEST_F(ProgramTest, RedrawsOneLineOnATerminal) {
    in_.write("a picture with a name that is far too long.png", png(1000, 800)); // long enough in hand to be shown
    in_.write("b.png", "no picture");
    const ProgramEnd end = runOnTerminal(OVREL_CLI, {"-s", "fast", "-o", out(), in()}, 40);
    EXPECT_EQ(end.status, 1);
    EXPECT_THAT(end.out, StartsWith("\r\x1b[KConverting 1 of 2: a picture with a na…\r\x1b[K"));
    EXPECT_THAT(end.out, testing::EndsWith("\r\x1b[K" + in("b.png") +
                                           ": Error: Unable to read the image\r\nDone: 1 successful, 1 failed\r\n"));
    EXPECT_THAT(end.out, testing::Not(HasSubstr("✓")));
}

} // namespace
} // namespace ovrel::test
