#include "tests/ui/controls.h"
#include "tests/ui/drag.h"
#include "tests/ui/window_fixture.h"
#include "ui/theme.h"

#include <QListView>

#include <gmock/gmock.h>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const QByteArray file = "file:///in/a.png";

class DragAndDropTest : public testing::Test {
protected:
    DragAndDropTest() { fixture.show(); }

    /// The middle of the list's side, whether there is a list or not.
    QPoint overTheList() { return {200, fixture.window().height() / 2}; }

    WindowFixture fixture;
};

TEST_F(DragAndDropTest, TakesFilesAndFoldersOverTheEmptyArea) {
    Drag drag(fixture.window(), {file, "file:///in/folder"});
    EXPECT_TRUE(drag.moveTo(overTheList()));
    EXPECT_TRUE(fixture.model().targeted());
    EXPECT_TRUE(drag.drop());
    EXPECT_FALSE(fixture.model().targeted());
    EXPECT_THAT(fixture.model().roots(), ElementsAre("/in/a.png", "/in/folder"));
    EXPECT_TRUE(fixture.model().scanning());
}

TEST_F(DragAndDropTest, TakesThemOverTheListToo) {
    fixture.list({"a.png"});
    settle();
    Drag drag(fixture.window(), {"file:///more"});
    EXPECT_TRUE(drag.moveTo(overTheList()));
    EXPECT_TRUE(fixture.model().targeted());
    EXPECT_TRUE(drag.drop());
    EXPECT_THAT(fixture.model().roots(), ElementsAre("/in", "/more"));
}

TEST_F(DragAndDropTest, CopiesAlsoWhatItsOwnerWouldMove) {
    for (const Qt::DropActions offered : {Qt::DropActions(Qt::MoveAction) | Qt::CopyAction,
                                          Qt::DropActions(Qt::CopyAction) | Qt::MoveAction | Qt::LinkAction}) {
        Drag drag(fixture.window(), {file}, offered);
        ASSERT_TRUE(drag.moveTo(overTheList()));
        EXPECT_EQ(drag.action(), Qt::CopyAction);
        ASSERT_TRUE(drag.moveTo(overTheList() + QPoint(3, 3)));
        EXPECT_EQ(drag.action(), Qt::CopyAction);
        ASSERT_TRUE(drag.drop());
        EXPECT_EQ(drag.action(), Qt::CopyAction);
        fixture.services.scans->succeed({});
        fixture.awaitIdle();
    }
}

TEST_F(DragAndDropTest, TakesNamesThatAreNotUtf8ByteForByte) {
    Drag drag(fixture.window(), {"file:///in/%FF%20%C3%A9.png"});
    ASSERT_TRUE(drag.moveTo(overTheList()));
    ASSERT_TRUE(drag.drop());
    EXPECT_THAT(fixture.model().roots(), ElementsAre("/in/\xFF \xC3\xA9.png"));
}

TEST_F(DragAndDropTest, RefusesWhatIsNoFileOfThisComputer) {
    for (const QByteArray address : {"https://example.com/a.png", "ftp://example.com/a.png", "data:image/png;base64,",
                                     "file://example.com/a.png", "file:///a%00.png"}) {
        Drag drag(fixture.window(), {address});
        EXPECT_FALSE(drag.moveTo(overTheList())) << address.toStdString();
        EXPECT_FALSE(fixture.model().targeted());
    }
    Drag nothing(fixture.window(), {});
    EXPECT_FALSE(nothing.moveTo(overTheList()));
    EXPECT_THAT(fixture.model().roots(), IsEmpty());
}

TEST_F(DragAndDropTest, LeavesOutWhatIsNoFileAmongFiles) {
    Drag drag(fixture.window(), {"https://example.com/a.png", file});
    ASSERT_TRUE(drag.moveTo(overTheList()));
    ASSERT_TRUE(drag.drop());
    EXPECT_THAT(fixture.model().roots(), ElementsAre("/in/a.png"));
}

TEST_F(DragAndDropTest, ForgetsADragThatLeaves) {
    Drag drag(fixture.window(), {file});
    ASSERT_TRUE(drag.moveTo(overTheList()));
    EXPECT_TRUE(fixture.model().targeted());
    drag.leave();
    EXPECT_FALSE(fixture.model().targeted());
    EXPECT_THAT(fixture.model().roots(), IsEmpty());
}

TEST_F(DragAndDropTest, TakesNothingBesideTheList) {
    Drag drag(fixture.window(), {file});
    for (QWidget* const beside : {static_cast<QWidget*>(&control(fixture.window(), QStringLiteral("Optimized"))),
                                  static_cast<QWidget*>(&control(fixture.window(), QStringLiteral("Convert to AVIF"))),
                                  static_cast<QWidget*>(&control(fixture.window(), QStringLiteral("English")))}) {
        EXPECT_FALSE(drag.moveTo(beside->mapTo(&fixture.window(), beside->rect().center())));
        EXPECT_FALSE(fixture.model().targeted());
    }
}

TEST_F(DragAndDropTest, IsRefusedDuringAScan) {
    fixture.model().add({"/in"});
    Drag drag(fixture.window(), {file});
    EXPECT_FALSE(drag.moveTo(overTheList()));
    EXPECT_FALSE(fixture.model().targeted());
    EXPECT_THAT(fixture.model().roots(), ElementsAre("/in"));
}

TEST_F(DragAndDropTest, IsRefusedDuringARun) {
    fixture.prepare({"a.png"});
    fixture.start();
    Drag drag(fixture.window(), {"file:///more"});
    EXPECT_FALSE(drag.moveTo(overTheList()));
    EXPECT_FALSE(fixture.model().targeted());
    fixture.services.convert();
    fixture.awaitIdle();
}

TEST_F(DragAndDropTest, IsRefusedWhenARunBeginsMeanwhile) {
    fixture.prepare({"a.png"});
    Drag drag(fixture.window(), {"file:///more"});
    ASSERT_TRUE(drag.moveTo(overTheList()));
    fixture.start();
    EXPECT_FALSE(fixture.model().targeted());
    EXPECT_FALSE(drag.moveTo(overTheList() + QPoint(1, 0)));
    EXPECT_FALSE(drag.drop());
    EXPECT_FALSE(fixture.model().targeted());
    EXPECT_THAT(fixture.model().roots(), ElementsAre("/in"));
    fixture.services.convert();
    fixture.awaitIdle();
}

TEST_F(DragAndDropTest, LeavesTheListAloneWhenAFolderHoldsNothing) {
    fixture.list({"a.png"});
    settle();
    Drag drag(fixture.window(), {"file:///empty"});
    ASSERT_TRUE(drag.moveTo(overTheList()));
    ASSERT_TRUE(drag.drop());
    fixture.services.scans->succeed({{"/in/a.png", ""}}); // a scan reads everything anew
    fixture.awaitIdle();
    EXPECT_EQ(fixture.model().items().size(), 1);
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Files queued: 1")));
    EXPECT_TRUE(fixture.window().findChild<QListView*>()->isVisible());
}

TEST_F(DragAndDropTest, SaysSoWhenThereIsNothingAtAll) {
    Drag drag(fixture.window(), {"file:///empty"});
    ASSERT_TRUE(drag.moveTo(overTheList()));
    ASSERT_TRUE(drag.drop());
    fixture.services.scans->succeed({});
    fixture.awaitIdle();
    EXPECT_TRUE(shows(fixture.window(),
                      QStringLiteral("No JPG, JPEG, WebP, PNG, GIF or AVIF files found in the selected folders")));
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Drop your images here")));
}

/// Whether a line of dashes two pixels wide stands 12 beside the leading edge of the card, filled or not.
bool hasDashes(const QImage& window) {
    constexpr int cardLeft = 20;
    const auto pixelsIn = [&](int x) {
        int count = 0;
        for (int y = 300; y < 600; ++y) {
            count += window.pixelColor(x, y) == colors().accent ? 1 : 0;
        }
        return count;
    };
    const int first = pixelsIn(cardLeft + 12);
    const int second = pixelsIn(cardLeft + 13);
    constexpr int all = 300; // of which 6 of 11 belong to a dash
    return first > all / 3 && first < all * 2 / 3 && second > all / 3 && second < all * 2 / 3 &&
           pixelsIn(cardLeft + 11) == 0 && pixelsIn(cardLeft + 14) == 0;
}

TEST_F(DragAndDropTest, IsSeenAsLongAsItIsOverTheList) {
    for (const bool filled : {false, true}) {
        if (filled) {
            fixture.list({"a.png"});
        }
        settle();
        const QImage before = fixture.window().grab().toImage();
        Drag drag(fixture.window(), {file});
        ASSERT_TRUE(drag.moveTo(overTheList()));
        settle();
        const QImage during = fixture.window().grab().toImage();
        EXPECT_NE(during, before);
        EXPECT_EQ(during.pixelColor(200, 600), colors().accentTint);
        EXPECT_TRUE(hasDashes(during));
        EXPECT_FALSE(hasDashes(before));
        drag.leave();
        settle();
        EXPECT_EQ(fixture.window().grab().toImage(), before);
    }
}

} // namespace

} // namespace ovrel::test
