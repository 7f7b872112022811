// Names that are longer than their place lose their middle: beginning and end tell files apart.

#include "tests/ui/controls.h"
#include "tests/ui/looks.h"
#include "tests/ui/window_fixture.h"
#include "ui/folder_button.h"

#include <QApplication>
#include <QHelpEvent>
#include <QListView>
#include <QToolTip>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace ovrel::test {

namespace {

/// Names of 200 letters and more that differ in one of them.
const std::string middle(200, 'n');
const std::string usual = "first" + middle + "last.png";
const std::string otherMiddle = "first" + middle.substr(0, 100) + "O" + middle.substr(101) + "last.png";
const std::string otherBeginning = "First" + middle + "last.png";
const std::string otherEnd = "first" + middle + "lasT.png";

class LongNamesTest : public testing::Test {
protected:
    LongNamesTest() {
        fixture.list({usual, otherMiddle, otherBeginning, otherEnd, "short.png"});
        fixture.show();
        fixture.window().setFocus(Qt::MouseFocusReason);
        pointAtNothing(fixture.window());
        settle();
    }

    QListView& list() { return *fixture.window().findChild<QListView*>(); }
    QImage row(int number) {
        return pictureOf(*list().viewport(), list().visualRect(list().model()->index(number, 0)));
    }

    WindowFixture fixture;
};

TEST_F(LongNamesTest, LoseTheirMiddleInTheList) {
    EXPECT_EQ(row(0), row(1));
    EXPECT_NE(row(0), row(2));
    EXPECT_NE(row(0), row(3));
}

TEST_F(LongNamesTest, KeepTheMarginAndTheStatusFree) {
    const QImage picture = row(0);
    constexpr int margin = 12;
    const auto isEmpty = [&](int x) {
        for (int y = 0; y < picture.height(); ++y) {
            if (!same(picture.pixelColor(x, y), colors().surface)) {
                return false;
            }
        }
        return true;
    };
    for (int x = picture.width() - margin; x < picture.width(); ++x) {
        EXPECT_TRUE(isEmpty(x)) << x;
    }
    // The name has all the room that there is.
    constexpr int letter = 12;
    bool ends = false;
    for (int x = picture.width() - margin - letter; x < picture.width() - margin; ++x) {
        ends = ends || !isEmpty(x);
    }
    EXPECT_TRUE(ends);
}

TEST_F(LongNamesTest, AreSaidInFullByTheToolTip) {
    for (const auto& [number, name] : {std::pair(0, &usual), std::pair(1, &otherMiddle), std::pair(4, &usual)}) {
        const QPoint where = list().visualRect(list().model()->index(number, 0)).center();
        QHelpEvent help(QEvent::ToolTip, where, list().viewport()->mapToGlobal(where));
        QApplication::sendEvent(list().viewport(), &help);
        EXPECT_EQ(plainTextOf(QToolTip::text()).toStdString(), "/in/" + (number == 4 ? "short.png" : *name));
        QToolTip::hideText();
    }
}

TEST_F(LongNamesTest, LoseTheirMiddleInTheFolderTooAndItsToolTipSaysAll) {
    auto& folder = *fixture.window().findChild<FolderButton*>();
    const auto chosen = [&](const std::string& name) {
        fixture.model().setOutput(std::filesystem::path("/out") / name);
        EXPECT_EQ(plainTextOf(folder.toolTip()).toStdString(), "/out/" + name);
        return pictureOf(folder);
    };
    const QImage picture = chosen(usual);
    EXPECT_EQ(chosen(otherMiddle), picture);
    EXPECT_NE(chosen(otherBeginning), picture);
    EXPECT_NE(chosen(otherEnd), picture);
}

} // namespace

} // namespace ovrel::test
