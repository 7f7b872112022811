#include "tests/remote/support/fetch_test.h"
#include "tests/remote/support/http_text.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <semaphore>
#include <thread>

namespace ovrel::test {

namespace {

using namespace std::chrono_literals;
using NetworkError = QNetworkReply::NetworkError;

const Outcome timedOut = NetworkError::TimeoutError;
const Outcome cancelled = NetworkError::OperationCanceledError;

/// Takes connections and says nothing.
class DeafServer {
public:
    DeafServer() {
        server_.setProxy(QNetworkProxy::NoProxy);
        EXPECT_TRUE(server_.listen(QHostAddress::LocalHost));
    }
    quint16 port() const { return server_.serverPort(); }

    /// Whether a client has said something.
    bool heard() {
        while (QTcpSocket* socket = server_.nextPendingConnection()) {
            client_ = socket;
        }
        return client_ != nullptr && client_->bytesAvailable() > 0;
    }

private:
    QTcpServer server_;
    QTcpSocket* client_ = nullptr; ///< owned by the server
};

/// A body that comes byte by byte and does not end.
Answer drip(std::chrono::milliseconds pause, int times) {
    Answer answer = Answer::head(200);
    for (int i = 0; i < times; ++i) {
        answer = std::move(answer).send("x").wait(pause);
    }
    return answer;
}

class BannerNetworkTimeLimit : public FetchTest {
protected:
    Outcome silentFor(std::chrono::milliseconds silence) {
        return fetched("/app/x", 16384, {}, limitedTo(silence, never));
    }
    Outcome within(std::chrono::milliseconds whole) { return fetched("/app/x", 16384, {}, limitedTo(never, whole)); }
};

class BannerNetworkCancellation : public FetchTest {
protected:
    /// Begins a download and cancels it as soon as something holds.
    Outcome cancelledWhen(const std::function<bool()>& holds, const QByteArray& target = "/app/x") {
        std::stop_source stop;
        Outcome outcome;
        const QCoro::Task<void> following =
            follow(BannerNetwork::fetch(addressOf(target), 16384, stop.get_token(), limitedTo(never, never)), outcome);
        turnUntil(holds);
        stop.request_stop();
        turnUntil([&] { return following.isReady(); });
        EXPECT_TRUE(networkThreadsEnd());
        turnUntil([this] { return proxy_.openConnections() == 0; });
        return outcome;
    }
};

class BannerNetworkThread : public FetchTest {};

} // namespace

TEST(BannerNetwork, IsSilentFor12SecondsAndTakes20AtMost) {
    EXPECT_EQ(BannerNetwork::Limits().silence, 12s);
    EXPECT_EQ(BannerNetwork::Limits().whole, 20s);
}

TEST_F(BannerNetworkTimeLimit, EndsSilenceOfTheProxy) {
    proxy_.refuseWith("");
    EXPECT_EQ(silentFor(200ms), timedOut);
    EXPECT_EQ(within(200ms), timedOut);
}

TEST_F(BannerNetworkTimeLimit, EndsSilenceInTheHandshake) {
    const DeafServer deaf;
    proxy_.leadTo(deaf.port());
    EXPECT_EQ(silentFor(200ms), timedOut);
    EXPECT_EQ(within(200ms), timedOut);
}

TEST_F(BannerNetworkTimeLimit, EndsSilenceBeforeTheAnswer) {
    server_.answer("/app/x", Answer());
    EXPECT_EQ(silentFor(200ms), timedOut);
    EXPECT_EQ(within(200ms), timedOut);
}

TEST_F(BannerNetworkTimeLimit, EndsSilenceInTheHead) {
    server_.answer("/app/x", Answer().send("HTTP/1.1 200 OK\r\nContent-Le"));
    EXPECT_EQ(silentFor(200ms), timedOut);
}

TEST_F(BannerNetworkTimeLimit, EndsSilenceInTheBody) {
    server_.answer("/app/x", Answer::head(200, announced(5)).send("body"));
    EXPECT_EQ(silentFor(200ms), timedOut);
    server_.answer("/app/x", Answer::head(200, announced(5)));
    EXPECT_EQ(silentFor(200ms), timedOut);
    server_.answer("/app/x", Answer::head(200, chunked).send(chunk("body")));
    EXPECT_EQ(silentFor(200ms), timedOut);
}

TEST_F(BannerNetworkTimeLimit, EndsSilenceBehindARedirect) {
    server_.answer("/app/x", Answer::redirect(302, "/app/y"));
    server_.answer("/app/y", Answer());
    EXPECT_EQ(silentFor(200ms), timedOut);
}

TEST_F(BannerNetworkTimeLimit, CountsSilenceAfreshWithEachByte) {
    server_.answer("/app/x", drip(100ms, 35).close());
    EXPECT_EQ(silentFor(3s), Outcome(bytes(35)));
}

TEST_F(BannerNetworkTimeLimit, EndsADripThatIsNeverSilent) {
    server_.answer("/app/x", drip(20ms, 1000));
    EXPECT_EQ(within(500ms), timedOut);
}

TEST_F(BannerNetworkTimeLimit, CountsTheWholeAcrossRedirects) {
    server_.answer("/app/x",
                   Answer().wait(50ms).send("HTTP/1.1 302 Found\r\nLocation: /app/x\r\nContent-Length: 0\r\n\r\n"));
    EXPECT_EQ(within(300ms), timedOut); // the redirects alone would end it otherwise, after more than two seconds
}

TEST_F(BannerNetworkCancellation, SendsNothingWhenItCameBefore) {
    std::stop_source stop;
    stop.request_stop();
    EXPECT_EQ(fetched("/app/x", 16384, stop.get_token()), cancelled);
    EXPECT_EQ(outcomeOf(BannerNetwork::fetch(QUrl("http://x"), 16384, stop.get_token())),
              Outcome(BannerError::invalid));
    EXPECT_THAT(proxy_.requests(), testing::IsEmpty());
}

TEST_F(BannerNetworkCancellation, EndsWhatHasHardlyBegun) {
    EXPECT_EQ(cancelledWhen([] { return true; }), cancelled);
    EXPECT_THAT(server_.requests(), testing::IsEmpty());
}

TEST_F(BannerNetworkCancellation, EndsTheWayThroughTheProxy) {
    proxy_.refuseWith("");
    EXPECT_EQ(cancelledWhen([this] { return proxy_.requests().size() == 1; }), cancelled);
}

TEST_F(BannerNetworkCancellation, EndsTheHandshake) {
    DeafServer deaf;
    proxy_.leadTo(deaf.port());
    EXPECT_EQ(cancelledWhen([&deaf] { return deaf.heard(); }), cancelled);
}

TEST_F(BannerNetworkCancellation, EndsTheWaitForAnAnswer) {
    server_.answer("/app/x", Answer());
    EXPECT_EQ(cancelledWhen([this] { return server_.requests().size() == 1; }), cancelled);
}

TEST_F(BannerNetworkCancellation, EndsTheBody) {
    bool sent = false;
    server_.answer("/app/x", Answer::head(200, announced(5)).send("body").wait(100ms).call([&sent] { sent = true; }));
    EXPECT_EQ(cancelledWhen([&sent] { return sent; }), cancelled);
}

TEST_F(BannerNetworkCancellation, EndsWhatIsBehindARedirect) {
    server_.answer("/app/x", Answer::redirect(302, "/app/y"));
    server_.answer("/app/y", Answer());
    EXPECT_EQ(cancelledWhen([this] { return server_.requests().size() == 2; }), cancelled);
}

TEST_F(BannerNetworkCancellation, EndsALoopOfRedirects) {
    server_.answer("/app/x", Answer::redirect(302, "/app/x"));
    EXPECT_EQ(cancelledWhen([this] { return server_.requests().size() >= 5; }), cancelled);
    EXPECT_LT(server_.requests().size(), 51);
}

TEST_F(BannerNetworkCancellation, MayComeFromAnyThread) {
    server_.answer("/app/x", Answer());
    for (int i = 0; i < 20; ++i) {
        std::stop_source stop;
        const std::jthread other([&stop] { stop.request_stop(); });
        EXPECT_EQ(fetched("/app/x", 16384, stop.get_token()), cancelled);
    }
}

TEST_F(BannerNetworkCancellation, MayMeetTheEndFromAnyThread) {
    server_.answer("/app/x", Answer::of(200, "body"));
    for (int i = 0; i < 50; ++i) {
        std::stop_source stop;
        std::binary_semaphore asked(0);
        server_.answer(
            "/app/x",
            Answer().call([&asked] { asked.release(); }).send("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nbody"));
        const std::jthread other([&stop, &asked] {
            asked.acquire();
            stop.request_stop();
        });
        EXPECT_THAT(fetched("/app/x", 16384, stop.get_token()), testing::AnyOf(cancelled, Outcome(QByteArray("body"))));
    }
}

TEST_F(BannerNetworkCancellation, ChangesNothingAfterTheEnd) {
    server_.answer("/app/x", Answer::of(200, "body"));
    std::stop_source stop;
    const Outcome outcome = fetched("/app/x", 16384, stop.get_token());
    stop.request_stop();
    EXPECT_EQ(outcome, Outcome(QByteArray("body")));
}

TEST_F(BannerNetworkCancellation, LeavesOtherDownloadsAlone) {
    server_.answer("/app/x", Answer());
    server_.answer("/app/y", Answer::of(200, "body"));
    Outcome other;
    const QCoro::Task<void> following = follow(BannerNetwork::fetch(addressOf("/app/y"), 16384), other);
    std::stop_source stop;
    Outcome stopped;
    const QCoro::Task<void> second =
        follow(BannerNetwork::fetch(addressOf("/app/x"), 16384, stop.get_token()), stopped);
    stop.request_stop();
    turnUntil([&] { return following.isReady() && second.isReady(); });
    EXPECT_EQ(stopped, cancelled);
    EXPECT_EQ(other, Outcome(QByteArray("body")));
}

TEST_F(BannerNetworkCancellation, ComesWithTheEndOfTheApplication) {
    server_.answer("/app/x", Answer());
    Outcome outcome;
    const QCoro::Task<void> following = follow(BannerNetwork::fetch(addressOf("/app/x"), 16384), outcome);
    turnUntil([this] { return server_.requests().size() == 1; });
    QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit, Qt::QueuedConnection);
    QCoreApplication::exec();
    EXPECT_TRUE(following.isReady());
    EXPECT_EQ(outcome, cancelled);
    EXPECT_TRUE(networkThreadsEnd());
}

TEST_F(BannerNetworkThread, MayBeAnyThatHasAnEventLoop) {
    server_.answer("/app/x", Answer::of(200, "body"));
    Outcome outcome;
    std::atomic<bool> done = false;
    QThread thread;
    QObject worker;
    worker.moveToThread(&thread);
    thread.start();
    QMetaObject::invokeMethod(&worker, [&] {
        outcome = outcomeOf(BannerNetwork::fetch(addressOf("/app/x"), 16384));
        done = true;
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [] {}, Qt::QueuedConnection); // wakes the main thread
    });
    turnUntil([&done] { return done.load(); });
    thread.quit();
    thread.wait();
    EXPECT_EQ(outcome, Outcome(QByteArray("body")));
    EXPECT_TRUE(networkThreadsEnd());
}

TEST_F(BannerNetworkThread, ThatIsBusyLetsNoMoreComeThanTheLimit) {
    // The thread of the download stands still from the request on, while the server sends as much as is taken.
    constexpr qint64 tooMuch = qint64{256} << 20;
    std::binary_semaphore go(0);
    std::atomic<bool> done = false;
    Outcome outcome;
    QThread thread;
    QObject worker;
    worker.moveToThread(&thread);
    thread.start();
    server_.answer("/app/x", Answer()
                                 .call([&] { QMetaObject::invokeMethod(&worker, [&go] { go.acquire(); }); })
                                 .wait(50ms)
                                 .send("HTTP/1.1 200 OK\r\n\r\n")
                                 .flood(bytes(16384)));
    QMetaObject::invokeMethod(&worker, [&] {
        outcome = outcomeOf(BannerNetwork::fetch(addressOf("/app/x"), 16384));
        done = true;
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [] {}, Qt::QueuedConnection);
    });
    turnUntil([this] { return server_.bytesTaken() > 0; });
    qint64 taken = 0;
    while (taken != server_.bytesTaken() && server_.bytesTaken() < tooMuch) {
        taken = server_.bytesTaken();
        QTimer::singleShot(300ms, [] {});
        const QDeadlineTimer pause(300ms);
        turnUntil([&pause] { return pause.hasExpired(); });
    }
    EXPECT_LT(server_.bytesTaken(), tooMuch); // the system's own buffers take some
    go.release();
    turnUntil([&done] { return done.load(); });
    thread.quit();
    thread.wait();
    EXPECT_EQ(outcome, Outcome(BannerError::tooLarge));
}

} // namespace ovrel::test
