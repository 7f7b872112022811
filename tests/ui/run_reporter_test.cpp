#include "tests/desktop/private_bus.h"
#include "tests/desktop/taskbar_listener.h"
#include "tests/ui/controls.h"
#include "tests/ui/window_fixture.h"
#include "ui/run_reporter.h"

#include <QSignalSpy>

#include <gmock/gmock.h>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const QString applicationId = QStringLiteral("org.example.Program");

class RunReporterTest : public testing::Test {
protected:
    RunReporterTest() {
        service.reply = [](const QDBusMessage& call) {
            if (call.member() == QStringLiteral("Notify")) {
                return call.createReply(1U);
            }
            if (call.member() == QStringLiteral("GetCapabilities")) {
                return call.createReply(QStringList{QStringLiteral("body"), QStringLiteral("actions")});
            }
            return call.createReply();
        };
        fixture.show();
        fixture.prepare({"a.png", "b.png", "c.png", "d.png"});
    }

    /// Shown and taken away, in their order.
    std::vector<std::string> notifications() {
        ovrel::test::settle(connection);
        ovrel::test::settle(connection);
        std::vector<std::string> asked = calls;
        std::erase_if(asked, [](const std::string& call) { return call.find("GetCapabilities") != std::string::npos; });
        return asked;
    }
    void runTo(qint64 count) {
        fixture.model().start();
        for (qint64 done = 1; done <= count; ++done) {
            fixture.services.convert();
            fixture.awaitCompleted(done);
        }
    }
    /// Another window of the program is looked at.
    void lookElsewhere() {
        other.show();
        other.activateWindow();
        waitUntil([this] { return !fixture.window().isActiveWindow(); });
    }

    PrivateBus bus;
    BusCalls calls;
    FakeService service{bus, QStringLiteral("org.freedesktop.Notifications"), calls};
    TaskbarListener taskbar{bus.connect(), applicationId};
    QDBusConnection connection = bus.connect();
    QWidget other;
    WindowFixture fixture;
    RunReporter reporter{fixture.model(), fixture.window(), applicationId, connection, &fixture.window()};
};

TEST_F(RunReporterTest, ShowsTheProgressOnTheTaskbarDuringARun) {
    runTo(4);
    fixture.awaitIdle();
    waitUntil([this] { return taskbar.updates.size() >= 5 && taskbar.updates.back() == "hidden"; });
    EXPECT_THAT(taskbar.updates, ElementsAre("0", "0.25", "0.5", "0.75", "1", "hidden"));
}

TEST_F(RunReporterTest, TakesTheProgressAwayWhenTheRunIsStopped) {
    runTo(1);
    fixture.services.awaitConversions(2);
    fixture.model().setCancelled(true);
    fixture.services.convert();
    fixture.awaitIdle();
    waitUntil([this] { return !taskbar.updates.empty() && taskbar.updates.back() == "hidden"; });
    EXPECT_THAT(taskbar.updates, ElementsAre("0", "0.25", "0.5", "hidden"));
}

TEST_F(RunReporterTest, SaysNothingWhileTheUserLooksAtTheWindow) {
    runTo(4);
    fixture.awaitIdle();
    EXPECT_THAT(notifications(), IsEmpty());
}

TEST_F(RunReporterTest, NotifiesOfTheSummaryWhenTheUserLooksElsewhere) {
    runTo(2);
    lookElsewhere();
    EXPECT_THAT(notifications(), IsEmpty()); // not before the end
    fixture.services.failToConvert();
    fixture.services.convert();
    fixture.awaitIdle();
    waitUntil([this] { return !notifications().empty(); });
    ASSERT_EQ(notifications().size(), 1U);
    EXPECT_THAT(notifications().front(), HasSubstr("Notify /org/freedesktop/Notifications"));
    EXPECT_THAT(notifications().front(), HasSubstr("[org.example.Program] [Ovrel] [Done: 3 successful, 1 failed]"));
}

TEST_F(RunReporterTest, NotifiesInTheLanguageOfTheWindow) {
    lookElsewhere();
    fixture.model().setLanguage(AppLanguage::russian);
    runTo(4);
    fixture.awaitIdle();
    waitUntil([this] { return !notifications().empty(); });
    EXPECT_THAT(notifications().front(), HasSubstr("[Готово: 4 успешно, 0 с ошибками]"));
}

TEST_F(RunReporterTest, TakesTheNotificationAwayWhenTheNextRunBegins) {
    lookElsewhere();
    runTo(4);
    fixture.awaitIdle();
    waitUntil([this] { return notifications().size() == 1; });
    fixture.model().start();
    waitUntil([this] { return notifications().size() == 2; });
    EXPECT_THAT(notifications().back(), HasSubstr("CloseNotification"));
    for (int image = 0; image < 4; ++image) {
        fixture.services.convert();
    }
    fixture.awaitIdle();
}

TEST_F(RunReporterTest, TakesTheNotificationAwayWhenTheUserComesBackFromAnotherWindow) {
    lookElsewhere();
    runTo(4);
    fixture.awaitIdle();
    waitUntil([this] { return notifications().size() == 1; });
    fixture.window().activateWindow();
    waitUntil([this] { return notifications().size() == 2; });
    EXPECT_THAT(notifications().back(), HasSubstr("CloseNotification"));
}

TEST_F(RunReporterTest, TellsWhenTheNotificationIsChosen) {
    QSignalSpy activated(&reporter, &RunReporter::activated);
    lookElsewhere();
    runTo(4);
    fixture.awaitIdle();
    waitUntil([this] { return !notifications().empty(); });
    service.tell(QStringLiteral("/org/freedesktop/Notifications"), QStringLiteral("org.freedesktop.Notifications"),
                 QStringLiteral("ActionInvoked"), {1U, QStringLiteral("default")});
    waitUntil([&] { return activated.count() == 1; });
}

} // namespace

} // namespace ovrel::test
