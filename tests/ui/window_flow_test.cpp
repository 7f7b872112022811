// From the drop to the summary, with the real scan and the real conversion.

#include "model/path_text.h"
#include "platform/image_source.h"
#include "tests/support/gif_writer.h"
#include "tests/support/jpeg_writer.h"
#include "tests/support/pictures.h"
#include "tests/support/png_writer.h"
#include "tests/support/temporary_folder.h"
#include "tests/ui/controls.h"
#include "tests/ui/drag.h"
#include "tests/ui/window_fixture.h"
#include "ui/queue_delegate.h"

#include <QListView>

#include <gmock/gmock.h>

namespace ovrel::test {

namespace {

std::string animation() {
    GifFrameBlock frame;
    frame.width = 2;
    frame.height = 2;
    frame.control.emplace().delayHundredths = 10;
    GifContent content;
    content.width = 2;
    content.height = 2;
    content.palette = {{255, 0, 0}, {0, 0, 255}};
    frame.pixels = {0, 1, 1, 0};
    content.frames.push_back(frame);
    frame.pixels = {1, 0, 0, 1};
    content.frames.push_back(frame);
    return writeGif(content);
}

class WindowFlowTest : public testing::Test {
protected:
    WindowFlowTest() {
        fixture.services.services.scan = Converter::scan;
        fixture.services.services.convert = Converter::convert;
        pictures.write("1 photo.jpg", writeJpeg(smooth(40, 30)));
        pictures.write("2 drawing.png", writePng(pngOf(smooth(33, 21, true))));
        pictures.write("3 broken.png", pngSignature + "and nothing of a picture");
        pictures.write("4 wave.gif", animation());
        pictures.write("below/5 inside.jpg", writeJpeg(smooth(16, 16)));
        pictures.write("notes.txt", "no picture");
        fixture.show();
    }

    void drop(const std::filesystem::path& path) {
        Drag drag(fixture.window(), {urlOf(path).toEncoded()});
        ASSERT_TRUE(drag.moveTo({200, fixture.window().height() / 2}));
        ASSERT_TRUE(drag.drop());
        fixture.awaitIdle();
        settle();
    }
    void chooseOutput() {
        click(fixture.window(), QStringLiteral("Choose a folder"));
        fixture.services.chooser->answer({results.path()});
    }
    std::string secondLineOf(int row) {
        const QAbstractItemModel& rows = *fixture.window().findChild<QListView*>()->model();
        return QueueDelegate::secondLine(rows.index(row, 0)).toStdString();
    }

    TemporaryFolder pictures;
    TemporaryFolder results;
    WindowFixture fixture;
};

TEST_F(WindowFlowTest, GoesFromADroppedFolderToItsResults) {
    const std::vector<std::string> before = pictures.listing();
    drop(pictures.path());
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Files queued: 5")));
    chooseOutput();
    click(fixture.window(), QStringLiteral("Convert to AVIF"));
    EXPECT_NE(findControl<QAbstractButton>(fixture.window(), QStringLiteral("Stop")), nullptr);
    fixture.awaitIdle();

    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Done: 4 successful, 1 failed")));
    EXPECT_EQ(secondLineOf(0), "✓ 1 photo.avif");
    EXPECT_EQ(secondLineOf(1), "✓ 2 drawing.avif");
    EXPECT_THAT(secondLineOf(2), testing::StartsWith("Error: "));
    EXPECT_EQ(secondLineOf(3), "✓ 4 wave.avif · animated");
    EXPECT_EQ(pictures.listing(), before);

    const std::unique_ptr<ImageSource> photo = ImageSource::open(results / "1 photo.avif");
    ASSERT_NE(photo, nullptr);
    EXPECT_EQ(photo->format(), ImageFormat::avif);
    const std::unique_ptr<ImageSource> wave = ImageSource::open(results / "4 wave.avif");
    ASSERT_NE(wave, nullptr);
    EXPECT_EQ(wave->count(), 2U);
    EXPECT_EQ(results.listing().size(), 5U); // a folder for what was inside one, and no remains of what failed
}

TEST_F(WindowFlowTest, LeavesSubfoldersAwayWhenTheUserSwitchesThemOff) {
    drop(pictures.path());
    click(fixture.window(), QStringLiteral("Include subfolders"));
    fixture.awaitIdle();
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Files queued: 4")));
    click(fixture.window(), QStringLiteral("Include subfolders"));
    fixture.awaitIdle();
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Files queued: 5")));
}

TEST_F(WindowFlowTest, CopiesItsOwnResults) {
    drop(pictures / "1 photo.jpg");
    chooseOutput();
    click(fixture.window(), QStringLiteral("Convert to AVIF"));
    fixture.awaitIdle();
    click(fixture.window(), QStringLiteral("Clear List"));
    drop(results / "1 photo.avif");
    EXPECT_EQ(secondLineOf(0), "Copy without changes");
    click(fixture.window(), QStringLiteral("Convert to AVIF"));
    fixture.awaitIdle();
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Done: 1 successful, 0 failed")));
    EXPECT_THAT(secondLineOf(0), testing::EndsWith(" · copied"));
    ASSERT_EQ(results.listing().size(), 2U);
    EXPECT_EQ(contentOf(results / results.listing()[0]), contentOf(results / results.listing()[1]));
}

TEST_F(WindowFlowTest, LeavesTheListAloneWhenADroppedFolderHoldsNoPictures) {
    const TemporaryFolder empty;
    empty.write("notes.txt", "no picture");
    drop(empty.path());
    EXPECT_TRUE(shows(fixture.window(),
                      QStringLiteral("No JPG, JPEG, WebP, PNG, GIF or AVIF files found in the selected folders")));
    drop(pictures / "2 drawing.png");
    drop(empty.path());
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Files queued: 1")));
}

TEST_F(WindowFlowTest, StopsAfterTheImageInHand) {
    drop(pictures.path());
    chooseOutput();
    click(fixture.window(), QStringLiteral("Convert to AVIF"));
    click(fixture.window(), QStringLiteral("Stop"));
    fixture.awaitIdle();
    // Asked before the first image was begun.
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Stopped: 0 successful, 0 failed, 5 remaining")));
    EXPECT_TRUE(results.listing().empty());
}

} // namespace

} // namespace ovrel::test
