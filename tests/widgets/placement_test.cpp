#include "widgets/placement.h"

#include <QGuiApplication>
#include <QScreen>

#include <gtest/gtest.h>

namespace ovrel::test {

namespace {

TEST(Placement, PutsAWindowIntoTheMiddleOfTheScreenAndNeverBeyondIt) {
    const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
    struct Row {
        const char* what;
        QSize wanted;
        QSize size;
    };
    const Row rows[] = {
        {"smaller than the screen", QSize(101, 51), QSize(101, 51)},
        {"as large", available.size(), available.size()},
        {"wider", QSize(available.width() + 100, 50), QSize(available.width(), 50)},
        {"higher", QSize(100, available.height() + 100), QSize(100, available.height())},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        QWidget window;
        window.resize(row.wanted);
        placeInMiddleOfScreen(window);
        EXPECT_EQ(window.size(), row.size);
        EXPECT_EQ(window.geometry().center(), available.center());
    }
}

} // namespace

} // namespace ovrel::test
