#include "desktop/single_instance.h"
#include "tests/desktop/event_loop.h"
#include "tests/desktop/private_bus.h"
#include "tests/support/working_folder.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QEvent>
#include <QSysInfo>
#include <QVariantMap>

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <future>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using Files = SingleInstance::Files;

const QString applicationId = QStringLiteral("org.example.My-Program");
const QString applicationPath = QStringLiteral("/org/example/My_Program");

class SingleInstanceTest : public testing::Test {
protected:
    SingleInstanceTest() {
        QObject::connect(first.get(), &SingleInstance::activated,
                         [this](const QString& token) { activations.push_back(token.toStdString()); });
        QObject::connect(first.get(), &SingleInstance::filesOpened, [this](const Files& files, const QString& token) {
            opened.push_back(files);
            tokens.push_back(token.toStdString());
        });
    }

    /// Asks as a file manager would.
    /// \return the name of the error, empty for none
    QString ask(const char* method, const QVariantList& arguments) {
        QDBusMessage message = QDBusMessage::createMethodCall(
            applicationId, applicationPath, QStringLiteral("org.freedesktop.Application"), QString::fromLatin1(method));
        message.setArguments(arguments);
        const QDBusPendingCallWatcher call(fileManager_.asyncCall(message));
        awaitThat([&] { return call.isFinished(); });
        settle(fileManager_);
        return call.error().name();
    }
    QString open(const QStringList& uris, const QVariantMap& platformData = {}) {
        return ask("Open", {uris, platformData});
    }

    /// While the first one serves its event loop, as in another process.
    std::optional<Files> handOver(const Files& files, const QString& token = {}) {
        const SingleInstance second(applicationId, bus.connect());
        std::future<std::optional<Files>> left =
            std::async(std::launch::async, [&] { return second.handOver(files, token, 60'000); });
        awaitThat([&] { return left.wait_for(std::chrono::seconds(0)) == std::future_status::ready; });
        settle(connection);
        return left.get();
    }

    PrivateBus bus;
    QDBusConnection connection = bus.connect();
    std::unique_ptr<SingleInstance> first = std::make_unique<SingleInstance>(applicationId, connection);
    std::vector<std::string> activations;
    std::vector<Files> opened;
    std::vector<std::string> tokens; ///< of what was opened

private:
    QDBusConnection fileManager_ = bus.connect();
};

TEST_F(SingleInstanceTest, OnlyOneIsTheFirst) {
    auto second = std::make_unique<SingleInstance>(applicationId, bus.connect());
    SingleInstance other(QStringLiteral("org.example.Other"), bus.connect());
    EXPECT_TRUE(first->becomeFirst());
    EXPECT_TRUE(first->becomeFirst());
    EXPECT_FALSE(second->becomeFirst());
    EXPECT_TRUE(other.becomeFirst());
    first.reset();
    settle(connection);
    EXPECT_TRUE(second->becomeFirst());
}

TEST_F(SingleInstanceTest, EveryOneIsTheFirstWhereTheBusSaysNothing) {
    bus.stop();
    EXPECT_TRUE(first->becomeFirst());
    EXPECT_EQ(first->handOver({"/a"}, {}, 1), Files{"/a"});
    bus.resume();
}

TEST(SingleInstance, IsTheFirstWhereNoBusIs) {
    SingleInstance instance(applicationId, QDBusConnection(QStringLiteral("no such connection")));
    EXPECT_TRUE(instance.becomeFirst());
    EXPECT_EQ(instance.handOver({"/a"}, {}), Files{"/a"});
}

TEST_F(SingleInstanceTest, GetsTheFilesOfTheSecond) {
    ASSERT_TRUE(first->becomeFirst());
    const Files files = {"/a b/photo.png", "/снимок.png", "/100%25.png", "/no \xFF\xFE.gif", "/a#b?c", "//two"};
    EXPECT_FALSE(handOver(files, QStringLiteral("token")));
    EXPECT_THAT(opened, ElementsAre(files));
    EXPECT_THAT(tokens, ElementsAre("token"));
    EXPECT_THAT(activations, IsEmpty());
}

TEST_F(SingleInstanceTest, GetsPathsFromTheRoot) {
    ASSERT_TRUE(first->becomeFirst());
    const TemporaryFolder folder;
    const WorkingFolder here(folder.path());
    EXPECT_FALSE(handOver({"photo.png"}));
    EXPECT_THAT(opened, ElementsAre(Files{folder / "photo.png"}));
}

TEST_F(SingleInstanceTest, ComesForwardWhereTheSecondHasNoFiles) {
    ASSERT_TRUE(first->becomeFirst());
    EXPECT_FALSE(handOver({}, QStringLiteral("token")));
    EXPECT_FALSE(handOver({}));
    EXPECT_THAT(activations, ElementsAre("token", ""));
    EXPECT_THAT(opened, IsEmpty());
}

TEST_F(SingleInstanceTest, GetsMoreFilesThanOneRequestHolds) {
    ASSERT_TRUE(first->becomeFirst());
    const std::string longName(2'000, '\xFF'); // three characters each in an address
    Files files(SingleInstance::filesLimit, "/a");
    files.insert(files.end(), 1'000, "/" + longName);
    EXPECT_FALSE(handOver(files, QStringLiteral("token")));
    ASSERT_GT(opened.size(), 2U);
    std::vector<std::string> expectedTokens(opened.size());
    expectedTokens.front() = "token"; // it counts once
    EXPECT_EQ(tokens, expectedTokens);
    Files together;
    for (const Files& part : opened) {
        together.insert(together.end(), part.begin(), part.end());
    }
    EXPECT_EQ(together, files);
}

TEST_F(SingleInstanceTest, IsToldWhenNobodyTakesTheFiles) {
    EXPECT_EQ(first->handOver({"/a"}, {}), Files{"/a"});
    EXPECT_EQ(first->handOver({}, {}), Files());
    BusCalls calls;
    FakeService busy(bus, applicationId, calls);
    EXPECT_EQ(first->handOver({"/a"}, {}, 1), Files{"/a"});
    awaitThat([&] { return !calls.empty(); });
    EXPECT_THAT(calls, ElementsAre(StartsWith(
                           "org.freedesktop.Application.Open /org/example/My_Program [file:///a] [x-ovrel-deadline=")));
}

/// As many as take `requests` requests and one file more.
Files filesForRequests(int requests) {
    Files files;
    for (qsizetype i = 0; i <= requests * SingleInstance::filesLimit; ++i) {
        files.push_back("/" + std::to_string(i));
    }
    return files;
}

TEST_F(SingleInstanceTest, KeepsTheFilesThatWereNotTaken) {
    const Files files = filesForRequests(3);
    constexpr int taken = 2;
    const auto refusal = [](const QDBusMessage& call) {
        return call.createErrorReply(QDBusError::NoMemory, QStringLiteral("no"));
    };
    BusCalls calls;
    FakeService tired(bus, applicationId, calls);
    tired.reply = [&](const QDBusMessage& call) { return calls.size() > taken ? refusal(call) : call.createReply(); };
    EXPECT_EQ(handOver(files), Files(files.begin() + taken * SingleInstance::filesLimit, files.end()));
    EXPECT_EQ(calls.size(), taken + 1U);
}

TEST_F(SingleInstanceTest, KeepsTheFilesThatWereNotTakenByOneThatEnds) {
    const Files files = filesForRequests(3);
    ASSERT_TRUE(first->becomeFirst());
    QObject::connect(first.get(), &SingleInstance::filesOpened, [this] { first.reset(); });
    const std::optional<Files> left = handOver(files);
    ASSERT_TRUE(left);
    Files together;
    for (const Files& part : opened) {
        together.insert(together.end(), part.begin(), part.end());
    }
    ASSERT_FALSE(together.empty());
    together.insert(together.end(), left->begin(), left->end());
    EXPECT_EQ(together, files); // each once
    SingleInstance second(applicationId, bus.connect());
    EXPECT_TRUE(second.becomeFirst());
}

TEST_F(SingleInstanceTest, TakesNothingOnceItResigns) {
    ASSERT_TRUE(first->becomeFirst());
    first->resign();
    EXPECT_EQ(handOver({"/a"}), Files{"/a"});
    EXPECT_EQ(handOver({}), Files());
    SingleInstance second(applicationId, bus.connect());
    EXPECT_TRUE(second.becomeFirst());
    EXPECT_THAT(opened, IsEmpty());
    EXPECT_THAT(activations, IsEmpty());
}

// What it was asked before is on its way to its listeners, or is refused: nobody is told that it was taken.
TEST_F(SingleInstanceTest, RefusesWhatItWasAskedRightBeforeItResigned) {
    ASSERT_TRUE(first->becomeFirst());
    QObject::connect(first.get(), &SingleInstance::filesOpened, first.get(), &SingleInstance::resign);
    const Files files = filesForRequests(2);
    const std::optional<Files> left = handOver(files);
    ASSERT_TRUE(left);
    ASSERT_EQ(opened.size(), 1U);
    Files together = opened.front();
    together.insert(together.end(), left->begin(), left->end());
    EXPECT_EQ(together, files); // each once
}

/// Becomes the first or hands over, while the others serve their event loop.
std::optional<Files> becomeFirstOrHandOver(SingleInstance& instance, const Files& files, int patienceMilliseconds) {
    std::future<std::optional<Files>> left =
        std::async(std::launch::async, [&] { return instance.becomeFirstOrHandOver(files, {}, patienceMilliseconds); });
    awaitThat([&] { return left.wait_for(std::chrono::seconds(0)) == std::future_status::ready; });
    return left.get();
}

TEST_F(SingleInstanceTest, OpensItsFilesItselfWhereItIsTheFirst) {
    EXPECT_EQ(becomeFirstOrHandOver(*first, {"/a"}, 60'000), Files{"/a"});
    EXPECT_EQ(handOver({"/b"}), std::nullopt);
    EXPECT_THAT(opened, ElementsAre(Files{"/b"}));
}

/// Gives its name up when it is asked, and answers when another one has it.
class EndingService final : public FakeService {
public:
    EndingService(PrivateBus& bus, BusCalls& calls, std::function<void()> onEnd)
        : FakeService(bus, applicationId, calls), onEnd_(std::move(onEnd)) {
        reply = [](const QDBusMessage& call) {
            return call.createErrorReply(QDBusError::Failed, QStringLiteral("about to end"));
        };
    }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        QDBusConnection(connection).unregisterService(applicationId);
        onEnd_();
        return FakeService::handleMessage(message, connection);
    }

private:
    std::function<void()> onEnd_;
};

TEST_F(SingleInstanceTest, HandsOverToTheNextWhereTheFirstEnds) {
    BusCalls calls;
    const EndingService ending(bus, calls, [&] { EXPECT_TRUE(first->becomeFirst()); });
    SingleInstance second(applicationId, bus.connect());
    EXPECT_EQ(becomeFirstOrHandOver(second, {"/a"}, 60'000), std::nullopt);
    settle(connection);
    EXPECT_THAT(opened, ElementsAre(Files{"/a"}));
    EXPECT_THAT(calls, testing::SizeIs(1));
}

TEST_F(SingleInstanceTest, AsksNobodyForEver) {
    BusCalls calls;
    FakeService unwilling(bus, applicationId, calls);
    unwilling.reply = [](const QDBusMessage& call) {
        return call.createErrorReply(QDBusError::Failed, QStringLiteral("no"));
    };
    EXPECT_EQ(becomeFirstOrHandOver(*first, {"/a"}, 60'000), Files{"/a"});
    EXPECT_THAT(calls, testing::SizeIs(testing::Gt(1U)));
    EXPECT_FALSE(first->becomeFirst());
}

TEST_F(SingleInstanceTest, AsksOneThatDoesNotAnswerOnce) {
    BusCalls calls;
    FakeService busy(bus, applicationId, calls);
    busy.waits = true;
    EXPECT_EQ(becomeFirstOrHandOver(*first, {"/a"}, 1), Files{"/a"});
    awaitThat([&] { return !calls.empty(); });
    EXPECT_THAT(calls, testing::SizeIs(1));
}

TEST_F(SingleInstanceTest, OpensNothingThatWasAskedForTooLongAgo) {
    ASSERT_TRUE(first->becomeFirst());
    // Nothing runs its event loop meanwhile.
    const SingleInstance second(applicationId, bus.connect());
    EXPECT_EQ(second.handOver({"/a"}, {}, 1), Files{"/a"});
    EXPECT_EQ(second.handOver({}, {}, 1), Files());
    settle(connection);
    EXPECT_THAT(opened, IsEmpty());
    EXPECT_THAT(activations, IsEmpty());
    EXPECT_FALSE(handOver({"/b"}));
    EXPECT_THAT(opened, ElementsAre(Files{"/b"}));
}

qint64 now() {
    using std::chrono::steady_clock;
    return std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now().time_since_epoch()).count();
}

/// Keeps the program busy until a moment, between the arrival of a request and what is done about it.
class BusyUntil final : public QObject {
public:
    BusyUntil(SingleInstance& instance, qint64 moment) : moment_(moment) {
        instance.findChild<QDBusAbstractAdaptor*>()->installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::MetaCall) {
            wasBusy = true;
            while (now() < moment_) {
                std::this_thread::yield();
            }
        }
        return QObject::eventFilter(watched, event);
    }

    bool wasBusy = false;

private:
    qint64 moment_;
};

TEST_F(SingleInstanceTest, OpensNothingThatItCannotAnswerInTime) {
    ASSERT_TRUE(first->becomeFirst());
    const QString key = QStringLiteral("x-ovrel-deadline");
    const QString tooLate = QDBusError::errorString(QDBusError::TimedOut);
    constexpr qint64 milliseconds = 300; // enough for a request to arrive
    const auto expectRefusal = [&](const char* method, QVariantList arguments) {
        SCOPED_TRACE(method);
        const qint64 deadline = now() + milliseconds;
        const BusyUntil busy(*first, deadline);
        arguments.append(QVariantMap{{key, deadline}});
        EXPECT_EQ(ask(method, arguments), tooLate);
        EXPECT_TRUE(busy.wasBusy);
    };
    expectRefusal("Open", {QStringList{QStringLiteral("file:///a")}});
    expectRefusal("Activate", {});
    expectRefusal("ActivateAction", {QStringLiteral("any"), QVariant(QVariantList())});
    EXPECT_THAT(opened, IsEmpty());
    EXPECT_THAT(activations, IsEmpty());
}

TEST_F(SingleInstanceTest, HeedsADeadlineThatIsOne) {
    ASSERT_TRUE(first->becomeFirst());
    const QString key = QStringLiteral("x-ovrel-deadline");
    const QString tooLate = QDBusError::errorString(QDBusError::TimedOut);
    constexpr qint64 far = std::numeric_limits<qint64>::max();
    const std::vector<std::pair<QVariant, QString>> rows = {
        {far, {}}, {qint64{0}, tooLate}, {-far, tooLate}, {QStringLiteral("0"), {}}, {0, {}}};
    for (const auto& [deadline, error] : rows) {
        SCOPED_TRACE(deadline.toString().toStdString());
        opened.clear();
        activations.clear();
        EXPECT_EQ(open({QStringLiteral("file:///a")}, {{key, deadline}}), error);
        EXPECT_EQ(ask("Activate", {QVariantMap{{key, deadline}}}), error);
        EXPECT_EQ(opened.size(), error.isEmpty() ? 1U : 0U);
        EXPECT_EQ(activations.size(), error.isEmpty() ? 1U : 0U);
    }
}

TEST_F(SingleInstanceTest, OpensNothingButFilesOfThisMachine) {
    ASSERT_TRUE(first->becomeFirst());
    const std::vector<std::pair<QString, std::optional<std::string>>> rows = {
        {QStringLiteral("file:///a%20b/c.png"), "/a b/c.png"},
        {QStringLiteral("file:///a b/c.png"), "/a b/c.png"},
        {QStringLiteral("file:///%FF"), "/\xFF"},
        {QStringLiteral("file:/a"), "/a"},
        {QStringLiteral("FILE:///a"), "/a"},
        {QStringLiteral("file://localhost/a"), "/a"},
        {QStringLiteral("file://") + QSysInfo::machineHostName() + QStringLiteral("/a"), "/a"},
        {QStringLiteral("file://other.example/a"), std::nullopt},
        {QStringLiteral("file:a"), std::nullopt},
        {QStringLiteral("file://"), std::nullopt},
        {QStringLiteral("file:///a%00b"), std::nullopt},
        {QStringLiteral("/a"), std::nullopt},
        {QStringLiteral("a"), std::nullopt},
        {QString(), std::nullopt},
        {QStringLiteral("https://example.org/a.png"), std::nullopt},
        {QStringLiteral("trash:///a"), std::nullopt},
        {QStringLiteral("file://[/a"), std::nullopt},
    };
    for (const auto& [uri, file] : rows) {
        SCOPED_TRACE(uri.toStdString());
        opened.clear();
        activations.clear();
        EXPECT_EQ(open({uri}), QString());
        // What cannot be opened still brings the window.
        EXPECT_EQ(activations.size(), file ? 0U : 1U);
        EXPECT_EQ(opened, file ? std::vector<Files>{{*file}} : std::vector<Files>{});
    }
}

TEST_F(SingleInstanceTest, RefusesTooMuchAtOnce) {
    ASSERT_TRUE(first->becomeFirst());
    const auto uris = [](qsizetype count, qsizetype length) {
        const QString uri = QStringLiteral("file:///");
        return QStringList(count, uri + QString(length - uri.size(), QLatin1Char('a')));
    };
    const QString tooMuch = QDBusError::errorString(QDBusError::LimitsExceeded);
    EXPECT_EQ(open(uris(10'001, 10)), tooMuch);
    EXPECT_EQ(open(uris(1, 4'194'305)), tooMuch);
    EXPECT_EQ(open(uris(1'025, 4'096)), tooMuch);
    EXPECT_THAT(opened, IsEmpty());
    EXPECT_THAT(activations, IsEmpty());
    EXPECT_EQ(open(uris(10'000, 10)), QString());
    EXPECT_EQ(open(uris(1'024, 4'096)), QString());
    ASSERT_EQ(opened.size(), 2U);
    EXPECT_EQ(opened.front().size(), 10'000U);
}

TEST_F(SingleInstanceTest, PassesOnWhatLetsItsWindowComeForward) {
    ASSERT_TRUE(first->becomeFirst());
    const QString token = QStringLiteral("activation-token");
    const QString startupId = QStringLiteral("desktop-startup-id");
    const std::vector<std::pair<QVariantMap, std::string>> rows = {
        {{}, ""},
        {{{token, QStringLiteral("t")}}, "t"},
        {{{startupId, QStringLiteral("s")}}, "s"},
        {{{token, QStringLiteral("t")}, {startupId, QStringLiteral("s")}}, "t"},
        {{{token, 7}, {startupId, QStringLiteral("s")}}, "s"},
        {{{token, QString(4'097, QLatin1Char('t'))}}, ""},
    };
    for (const auto& [platformData, expected] : rows) {
        EXPECT_EQ(ask("Activate", {platformData}), QString());
        EXPECT_EQ(activations.back(), expected);
        EXPECT_EQ(ask("ActivateAction", {QStringLiteral("any"), QVariant(QVariantList()), platformData}), QString());
        EXPECT_EQ(activations.back(), expected);
        EXPECT_EQ(open({QStringLiteral("file:///a")}, platformData), QString());
        EXPECT_EQ(tokens.back(), expected);
    }
    EXPECT_EQ(activations.size(), rows.size() * 2);
}

TEST_F(SingleInstanceTest, RefusesArgumentsOfAnotherKind) {
    ASSERT_TRUE(first->becomeFirst());
    EXPECT_NE(ask("Open", {QStringLiteral("file:///a"), QVariantMap()}), QString());
    EXPECT_NE(ask("Open", {}), QString());
    EXPECT_NE(ask("Activate", {1}), QString());
    EXPECT_NE(ask("Close", {}), QString());
    EXPECT_THAT(opened, IsEmpty());
    EXPECT_THAT(activations, IsEmpty());
}

TEST_F(SingleInstanceTest, AnswersBeforeItsListenersAreDone) {
    ASSERT_TRUE(first->becomeFirst());
    QObject::connect(first.get(), &SingleInstance::filesOpened, [this] { first.reset(); });
    EXPECT_EQ(open({QStringLiteral("file:///a")}), QString());
    EXPECT_EQ(first, nullptr);
}

TEST(StartToken, IsWhatTheDesktopGave) {
    qunsetenv("XDG_ACTIVATION_TOKEN");
    qunsetenv("DESKTOP_STARTUP_ID");
    EXPECT_EQ(startToken(), QString());
    qputenv("DESKTOP_STARTUP_ID", "id");
    EXPECT_EQ(startToken(), QStringLiteral("id"));
    qputenv("XDG_ACTIVATION_TOKEN", "token");
    EXPECT_EQ(startToken(), QStringLiteral("token"));
    qunsetenv("XDG_ACTIVATION_TOKEN");
    qunsetenv("DESKTOP_STARTUP_ID");
}

} // namespace

} // namespace ovrel::test
