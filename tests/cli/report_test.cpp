#include "cli/report.h"

#include "conversion/conversion_error.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace ovrel::cli {
namespace {

using std::chrono::milliseconds;

class TextOutput : public Output {
public:
    bool write(std::string_view written) override {
        if (!broken) {
            text += written;
        }
        return !broken;
    }

    std::string text;
    bool broken = false;
};

Step stepFor(const std::string& source) {
    Step step;
    step.item.url = source;
    return step;
}

Outcome converted(const std::string& result) {
    Outcome outcome;
    outcome.status = Outcome::Status::converted;
    outcome.result = result;
    outcome.sourceBytes = 5000000000;
    outcome.resultBytes = 1234;
    outcome.duration = milliseconds(56);
    return outcome;
}

Outcome failed() {
    Outcome outcome;
    outcome.error = std::make_exception_ptr(ConversionError("Кадр 2", "Frame 2"));
    return outcome;
}

QJsonObject parsed(const QByteArray& line) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(line, &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << line.toStdString();
    return document.object();
}

TEST(ItemLine, NamesTheSourceAndWhatBecameOfIt) {
    EXPECT_EQ(itemLine(stepFor("in/photo.jpg"), converted("out/photo.avif"), AppLanguage::english),
              "in/photo.jpg: ✓ photo.avif");
    EXPECT_EQ(itemLine(stepFor("photo.jpg"), failed(), AppLanguage::english), "photo.jpg: Error: Frame 2");
    EXPECT_EQ(itemLine(stepFor("photo.jpg"), failed(), AppLanguage::russian), "photo.jpg: Ошибка: Кадр 2");

    Outcome animated = converted("out/a.avif");
    animated.multiImage = true;
    EXPECT_EQ(itemLine(stepFor("a.GIF"), animated, AppLanguage::english), "a.GIF: ✓ a.avif · animated");
    EXPECT_EQ(itemLine(stepFor("a.webp"), animated, AppLanguage::english), "a.webp: ✓ a.avif · first frame only");

    Outcome outcome = converted("out/a.avif");
    outcome.status = Outcome::Status::copied;
    EXPECT_EQ(itemLine(stepFor("a.avif"), outcome, AppLanguage::english), "a.avif: ✓ a.avif · copied");
    outcome.status = Outcome::Status::skipped;
    EXPECT_EQ(itemLine(stepFor("a.jpg"), outcome, AppLanguage::english), "a.jpg: skipped, there is already out/a.avif");
    outcome.status = Outcome::Status::wouldConvert;
    EXPECT_EQ(itemLine(stepFor("a.jpg"), outcome, AppLanguage::english), "a.jpg: would be converted to out/a.avif");
    outcome.status = Outcome::Status::wouldCopy;
    EXPECT_EQ(itemLine(stepFor("a.avif"), outcome, AppLanguage::english), "a.avif: would be copied to out/a.avif");
}

TEST(ItemLine, IsOneLineWhateverTheNames) {
    EXPECT_EQ(itemLine(stepFor("a\nb\x1b[m.jpg"), converted("out/a\nb\xFF.avif"), AppLanguage::english),
              "a�b�[m.jpg: ✓ a�b�.avif");
}

TEST(ItemObject, HoldsEveryField) {
    const QJsonObject object =
        parsed(itemObject(stepFor("in/photo.jpg"), converted("out/photo.avif"), AppLanguage::english));
    EXPECT_EQ(object.keys(), QStringList({"error", "milliseconds", "multiImage", "result", "resultBytes", "source",
                                          "sourceBytes", "status"}));
    EXPECT_EQ(object["source"].toString(), QString("in/photo.jpg"));
    EXPECT_EQ(object["result"].toString(), QString("out/photo.avif"));
    EXPECT_EQ(object["status"].toString(), QString("converted"));
    EXPECT_TRUE(object["error"].isNull());
    EXPECT_EQ(object["multiImage"], QJsonValue(false));
    EXPECT_EQ(object["sourceBytes"].toInteger(), 5000000000);
    EXPECT_EQ(object["resultBytes"].toInteger(), 1234);
    EXPECT_EQ(object["milliseconds"].toInteger(), 56);
}

TEST(ItemObject, TellsOfAFailure) {
    const QJsonObject object = parsed(itemObject(stepFor("photo.jpg"), failed(), AppLanguage::russian));
    EXPECT_EQ(object["status"].toString(), QString("failed"));
    EXPECT_EQ(object["error"].toString(), QString::fromUtf8("Кадр 2"));
    EXPECT_TRUE(object["result"].isNull());
    EXPECT_TRUE(object["sourceBytes"].isNull());
    EXPECT_TRUE(object["resultBytes"].isNull());
}

TEST(ItemObject, NamesEveryStatus) {
    const struct {
        Outcome::Status status;
        QString name;
    } rows[] = {
        {Outcome::Status::converted, "converted"},  {Outcome::Status::copied, "copied"},
        {Outcome::Status::skipped, "skipped"},      {Outcome::Status::wouldConvert, "would-convert"},
        {Outcome::Status::wouldCopy, "would-copy"},
    };
    for (const auto& row : rows) {
        Outcome outcome = converted("out/a.avif");
        outcome.status = row.status;
        EXPECT_EQ(parsed(itemObject(stepFor("a.jpg"), outcome, AppLanguage::english))["status"].toString(), row.name);
    }
}

TEST(ItemObject, KeepsNamesThatAreNotUtf8AsBytesToo) {
    const std::string name = "caf\xE9\n\xC2\x9B.jpg";
    const QByteArray line = itemObject(stepFor(name), converted("out/a.avif"), AppLanguage::english);
    EXPECT_EQ(QString::fromUtf8(line).toUtf8(), line) << "not UTF-8";
    EXPECT_FALSE(line.contains('\n'));
    EXPECT_FALSE(line.contains("\xC2\x9B"));
    const QJsonObject object = parsed(line);
    EXPECT_EQ(object["source"].toString(), QString::fromUtf8("caf�\n\u009B.jpg"));
    EXPECT_EQ(QByteArray::fromBase64(object["sourceBase64"].toString().toLatin1()).toStdString(), name);
    EXPECT_FALSE(object.contains("resultBase64"));
}

/// A report on outputs that remember what was written.
class ReportTest : public testing::Test {
protected:
    /// Tells of a progress, a success and a failure, and sums up.
    void tellAll(const ReportSettings& settings) {
        Report report(settings, out_, err_, [] { return std::size_t{80}; });
        const Step step = stepFor("a.jpg");
        report.progressed({.current = &step, .steps = 2});
        report.completed(step, converted("out/a.avif"));
        report.completed(stepFor("b.jpg"), failed());
        report.summarise({.items = 2, .succeeded = 1, .failed = 1});
    }

    TextOutput out_;
    TextOutput err_;
};

TEST_F(ReportTest, PrintsOneLineAnItemAndTheSummary) {
    tellAll({});
    EXPECT_EQ(out_.text, "a.jpg: ✓ a.avif\nb.jpg: Error: Frame 2\nDone: 1 successful, 1 failed\n");
    EXPECT_EQ(err_.text, "");
}

TEST_F(ReportTest, SpeaksRussian) {
    tellAll({.language = AppLanguage::russian});
    EXPECT_EQ(out_.text, "a.jpg: ✓ a.avif\nb.jpg: Ошибка: Кадр 2\nГотово: 1 успешно, 1 с ошибками\n");
}

TEST_F(ReportTest, DrawsTheProgressLineOnStandardErrorAndClearsIt) {
    tellAll({.progressLine = true});
    EXPECT_EQ(out_.text, "a.jpg: ✓ a.avif\nb.jpg: Error: Frame 2\nDone: 1 successful, 1 failed\n");
    EXPECT_EQ(err_.text, "\r\x1b[KConverting 1 of 2: a.jpg\r\x1b[K");
}

TEST_F(ReportTest, LeavesSuccessesToTheProgressLineOnATerminal) {
    tellAll({.progressLine = true, .failuresOnly = true});
    EXPECT_EQ(out_.text, "b.jpg: Error: Frame 2\nDone: 1 successful, 1 failed\n");
}

TEST_F(ReportTest, TellsOfPicturesOfWhichAPartAloneWasConvertedEvenThen) {
    Report report({.progressLine = true, .failuresOnly = true}, out_, err_, [] { return 80; });
    Outcome outcome = converted("clip.avif");
    outcome.multiImage = true;
    report.completed(stepFor("clip.webp"), outcome);
    report.completed(stepFor("clip.gif"), outcome);
    EXPECT_EQ(out_.text, "clip.webp: ✓ clip.avif · first frame only\n");
}

TEST_F(ReportTest, PrintsFailuresAloneWhenQuiet) {
    tellAll({.quiet = true});
    EXPECT_EQ(out_.text, "");
    EXPECT_EQ(err_.text, "b.jpg: Error: Frame 2\n");
}

TEST_F(ReportTest, KeepsStandardOutputToObjectsWithJson) {
    tellAll({.json = true});
    const QList<QByteArray> lines = QByteArray::fromStdString(out_.text).split('\n');
    ASSERT_EQ(lines.size(), 3);
    EXPECT_EQ(parsed(lines[0])["status"].toString(), QString("converted"));
    EXPECT_EQ(parsed(lines[1])["status"].toString(), QString("failed"));
    EXPECT_EQ(lines[2], QByteArray());
    EXPECT_EQ(err_.text, "Done: 1 successful, 1 failed\n");
}

TEST_F(ReportTest, PrintsObjectsAloneWithJsonWhenQuiet) {
    tellAll({.json = true, .quiet = true});
    EXPECT_EQ(std::count(out_.text.begin(), out_.text.end(), '\n'), 2);
    EXPECT_EQ(err_.text, "");
}

TEST_F(ReportTest, SumsUpADryRun) {
    tellAll({.dryRun = true});
    EXPECT_TRUE(out_.text.ends_with("\nDry run: 1 to do, 1 failed\n")) << out_.text;
}

TEST_F(ReportTest, DrawsNoOftenerThanATerminalCanShow) {
    Report report({.progressLine = true}, out_, err_, [] { return std::size_t{80}; });
    const Step step = stepFor("a.jpg");
    BatchProgress progress{.current = &step, .steps = 2, .elapsed = milliseconds(1000)};
    report.progressed(progress);
    const std::string drawnOnce = err_.text;
    progress.elapsed = milliseconds(1049);
    report.progressed(progress);
    EXPECT_EQ(err_.text, drawnOnce);
    progress.elapsed = milliseconds(1050);
    report.progressed(progress);
    EXPECT_EQ(err_.text, drawnOnce + drawnOnce);
}

TEST_F(ReportTest, LeavesTheLastColumnFree) {
    Report report({.progressLine = true}, out_, err_, [] { return std::size_t{20}; });
    const Step step = stepFor("a.jpg");
    report.progressed({.current = &step, .steps = 2});
    EXPECT_EQ(err_.text, "\r\x1b[KConverting 1 of 2:…");
}

TEST_F(ReportTest, SaysWhenNothingCanBeWritten) {
    out_.broken = true;
    Report lines({}, out_, err_, [] { return std::size_t{80}; });
    EXPECT_FALSE(lines.completed(stepFor("a.jpg"), converted("out/a.avif")));
    EXPECT_FALSE(lines.summarise({}));
    Report objects({.json = true}, out_, err_, [] { return std::size_t{80}; });
    EXPECT_FALSE(objects.completed(stepFor("a.jpg"), converted("out/a.avif")));
}

} // namespace
} // namespace ovrel::cli
