#include "tests/ui/controls.h"
#include "tests/ui/window_fixture.h"

#include <QListView>
#include <QSignalSpy>
#include <QSlider>
#include <QThreadPool>

#include <cstdio>

#include <gtest/gtest.h>

namespace ovrel::test {

namespace {

TEST(MainWindow, ChangesItsLanguageInTheMiddleOfARun) {
    WindowFixture fixture(AppLanguage::english);
    fixture.show();
    fixture.prepare({"a.png", "b.png"});
    fixture.model().setQuality(70);
    fixture.start();
    click(fixture.window(), QStringLiteral("Русский"));
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Преобразую 1 из 2: a.png")));
    EXPECT_NE(findControl<QAbstractButton>(fixture.window(), QStringLiteral("Остановить")), nullptr);
    EXPECT_NE(findControl<QSlider>(fixture.window(), QStringLiteral("Качество изображения")), nullptr);
    const QAbstractItemModel& rows = *fixture.window().findChild<QListView*>()->model();
    EXPECT_EQ(rows.index(0, 0).data(Qt::AccessibleTextRole).toString(), QStringLiteral("a.png, PNG, Преобразование…"));
    // The list, the settings and the run go on as they were.
    EXPECT_EQ(fixture.model().items().size(), 2);
    EXPECT_EQ(fixture.model().quality(), 70);
    EXPECT_TRUE(fixture.model().busy());
    EXPECT_EQ(fixture.services.conversions->count(), 1U);
    fixture.services.convert();
    fixture.services.failToConvert();
    fixture.awaitIdle();
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Готово: 1 успешно, 1 с ошибками")));
}

TEST(MainWindow, IsPaintedDuringARunHoweverFewThreadsQtHas) {
    QThreadPool& threads = *QThreadPool::globalInstance();
    const int most = threads.maxThreadCount();
    threads.setMaxThreadCount(1); // as on one processor
    WindowFixture fixture;
    fixture.show();
    fixture.prepare({"a.png"});
    fixture.start();
    const int busy = threads.activeThreadCount();
    EXPECT_EQ(busy, 0) << "painting would wait for it";
    if (busy == 0) {
        EXPECT_FALSE(fixture.window().grab().isNull());
    }
    fixture.services.convert();
    fixture.awaitIdle();
    threads.setMaxThreadCount(most);
}

TEST(MainWindow, KeepsNothingOfAHundredRuns) {
    WindowFixture fixture;
    fixture.show();
    fixture.prepare({"a.png", "b.gif"});
    const auto run = [&] {
        fixture.start();
        fixture.services.convert();
        fixture.services.failToConvert();
        fixture.awaitIdle();
        settle();
    };
    run();
    const qsizetype objects = fixture.window().findChildren<QObject*>().size();
    for (int time = 0; time < 100; ++time) {
        run();
    }
    EXPECT_EQ(fixture.window().findChildren<QObject*>().size(), objects);
    EXPECT_EQ(fixture.model().completed(), 2);
}

TEST(MainWindow, EndsAtOnceWhenNothingGoesOn) {
    WindowFixture fixture;
    fixture.show();
    QSignalSpy closed(&fixture.window(), &MainWindow::closed);
    EXPECT_TRUE(fixture.window().close());
    EXPECT_EQ(closed.count(), 1);
    EXPECT_FALSE(fixture.window().isVisible());
}

TEST(MainWindow, StopsTheRunFirstWhenItIsClosed) {
    WindowFixture fixture;
    fixture.show();
    fixture.prepare({"a.png", "b.png"});
    fixture.start();
    QSignalSpy closed(&fixture.window(), &MainWindow::closed);
    EXPECT_FALSE(fixture.window().close());
    EXPECT_TRUE(fixture.window().isVisible());
    EXPECT_TRUE(fixture.model().cancelled());
    EXPECT_NE(findControl<QAbstractButton>(fixture.window(), QStringLiteral("Stopping…")), nullptr);
    EXPECT_EQ(closed.count(), 0);
    fixture.services.convert();
    fixture.awaitIdle();
    EXPECT_EQ(closed.count(), 1);
    EXPECT_FALSE(fixture.window().isVisible());
    EXPECT_EQ(fixture.services.conversions->count(), 1U); // the second image was not begun
}

TEST(MainWindow, StaysAfterARunThatTheUserMerelyStopped) {
    WindowFixture fixture;
    fixture.show();
    fixture.prepare({"a.png"});
    fixture.start();
    fixture.model().setCancelled(true);
    fixture.services.convert();
    fixture.awaitIdle();
    EXPECT_TRUE(fixture.window().isVisible());
}

TEST(MainWindow, EndsWithOneRunAlone) {
    WindowFixture fixture;
    fixture.show();
    fixture.prepare({"a.png"});
    fixture.start();
    EXPECT_FALSE(fixture.window().close());
    fixture.services.convert();
    fixture.awaitIdle();
    ASSERT_FALSE(fixture.window().isVisible());
    fixture.show(); // another window may keep the program
    fixture.start();
    fixture.services.convert();
    fixture.awaitIdle();
    EXPECT_TRUE(fixture.window().isVisible());
}

// These end their process, so each has one of its own.

void sayWhenItLeaves(MainWindow& window) {
    QObject::connect(&window, &MainWindow::leaving, [] { std::fputs("leaving\n", stderr); });
}

TEST(MainWindowDeathTest, LeavesAtOnceWhenItIsClosedTwiceDuringARun) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            WindowFixture fixture;
            fixture.show();
            fixture.prepare({"a.png"});
            fixture.start();
            fixture.window().close();
            sayWhenItLeaves(fixture.window());
            fixture.window().close();
        },
        testing::ExitedWithCode(0), "leaving");
}

TEST(MainWindowDeathTest, LeavesAtOnceWhenItIsClosedDuringAScan) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            WindowFixture fixture;
            fixture.show();
            fixture.model().add({"/in"});
            sayWhenItLeaves(fixture.window());
            fixture.window().close();
        },
        testing::ExitedWithCode(0), "leaving");
}

} // namespace

} // namespace ovrel::test
