#include "desktop/taskbar_progress.h"
#include "tests/desktop/event_loop.h"
#include "tests/desktop/private_bus.h"
#include "tests/desktop/taskbar_listener.h"

#include <QDBusConnection>

#include <gmock/gmock.h>

#include <limits>
#include <string>
#include <vector>

namespace ovrel::test {

namespace {

using testing::ElementsAre;

const QString applicationId = QStringLiteral("org.example.Program");

class TaskbarProgressTest : public testing::Test {
protected:
    void awaitUpdates(std::size_t count) {
        awaitThat([&] { return taskbar.updates.size() >= count; });
    }

    PrivateBus bus;
    TaskbarListener taskbar{bus.connect(), applicationId};
    QDBusConnection connection = bus.connect();
};

TEST_F(TaskbarProgressTest, ShowsHowFarTheWorkIs) {
    TaskbarProgress progress(applicationId, connection);
    for (const double fraction : {0.0, 0.25, 0.999, 1.0}) {
        progress.show(fraction);
    }
    progress.clear();
    awaitUpdates(5);
    EXPECT_THAT(taskbar.updates, ElementsAre("0", "0.25", "0.99", "1", "hidden"));
}

TEST_F(TaskbarProgressTest, TellsOnlyWhatCanBeSeen) {
    TaskbarProgress progress(applicationId, connection);
    progress.clear();
    for (int step = 0; step <= 100'000; ++step) {
        progress.show(step / 200'000.0);
    }
    progress.clear();
    progress.clear();
    progress.show(0.5);
    awaitUpdates(53);
    EXPECT_EQ(taskbar.updates.size(), 53U); // 0 … 50, hidden, 50
    EXPECT_EQ(taskbar.updates.back(), "0.5");
}

TEST_F(TaskbarProgressTest, KeepsToItsRange) {
    TaskbarProgress progress(applicationId, connection);
    for (const double fraction :
         {-0.5, 7.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        progress.show(fraction);
    }
    awaitUpdates(4);
    EXPECT_THAT(taskbar.updates, ElementsAre("0", "1", "0", "1"));
}

TEST_F(TaskbarProgressTest, IsTakenAwayWhenItEnds) {
    { TaskbarProgress(applicationId, connection).show(0.5); }
    awaitUpdates(2);
    EXPECT_THAT(taskbar.updates, ElementsAre("0.5", "hidden"));
}

TEST(TaskbarProgress, IsSilentWhereNoBusIs) {
    TaskbarProgress progress(applicationId, QDBusConnection(QStringLiteral("no such connection")));
    EXPECT_NO_FATAL_FAILURE(progress.show(0.5));
}

} // namespace

} // namespace ovrel::test
