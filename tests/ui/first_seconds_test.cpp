#include "tests/model/model_fixture.h"
#include "ui/first_seconds.h"

#include <QCoreApplication>
#include <QSignalSpy>
#include <QWidget>

#include <gtest/gtest.h>

namespace ovrel::test {

namespace {

using std::chrono::milliseconds;

/// Says what was true while it was painted.
class LookedAt final : public QWidget {
public:
    std::function<void()> whilePainted;

protected:
    void paintEvent(QPaintEvent*) override { whilePainted(); }
};

TEST(FirstSeconds, BeginWhenTheWindowIsPainted) {
    LookedAt window;
    FirstSeconds seconds(window, milliseconds(0));
    QSignalSpy over(&seconds, &FirstSeconds::over);
    int pictures = 0;
    window.whilePainted = [&] {
        ++pictures;
        EXPECT_EQ(over.count(), 0);
        EXPECT_FALSE(seconds.isOver());
    };
    QCoreApplication::processEvents();
    EXPECT_FALSE(seconds.begun());
    window.show();
    EXPECT_FALSE(seconds.begun()); // shown is not seen
    waitUntil([&] { return over.count() == 1; });
    EXPECT_EQ(pictures, 1);
    EXPECT_TRUE(seconds.begun());
    EXPECT_TRUE(seconds.isOver());

    window.whilePainted = [&] { ++pictures; };
    window.update();
    waitUntil([&] { return pictures == 2; });
    drain();
    EXPECT_EQ(over.count(), 1);
}

TEST(FirstSeconds, AreNotOverBeforeTheirTime) {
    QWidget window;
    FirstSeconds seconds(window, std::chrono::hours(1));
    window.show();
    waitUntil([&] { return seconds.begun(); });
    drain();
    EXPECT_FALSE(seconds.isOver());
}

} // namespace

} // namespace ovrel::test
