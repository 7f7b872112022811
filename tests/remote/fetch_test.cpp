#include "tests/remote/support/fetch_test.h"

#include "tests/remote/support/http_text.h"

#include <gmock/gmock.h>

#include <vector>

namespace ovrel::test {

namespace {

class BannerNetworkFetch : public FetchTest {};

/// Of a settings file.
constexpr qint64 limit = 16384;

using NetworkError = QNetworkReply::NetworkError;

} // namespace

TEST_F(BannerNetworkFetch, ReturnsTheBody) {
    server_.answer("/app/settings", Answer::of(200, "key = value\n"));
    EXPECT_EQ(fetched("/app/settings"), Outcome(QByteArray("key = value\n")));
}

TEST_F(BannerNetworkFetch, ReturnsAnEmptyBody) {
    const std::vector<Answer> answers{Answer::of(200), Answer::head(200, chunked).send(chunk("")),
                                      Answer::head(200).close()};
    for (const Answer& answer : answers) {
        server_.answer("/app/empty", answer);
        EXPECT_EQ(fetched("/app/empty"), Outcome(QByteArray()));
    }
}

TEST_F(BannerNetworkFetch, SendsNothingToAnAddressThatIsNotAllowed) {
    for (const QString address :
         {"http://" OVREL_PUBLISHER_HOST "/app/x", "https://other.example/app/x", "", "/app/x", "file:///app/x",
          "data:text/plain,x", "https://" OVREL_PUBLISHER_HOST ":8443/app/x"}) {
        EXPECT_EQ(outcomeOf(BannerNetwork::fetch(QUrl(address), limit)), Outcome(BannerError::invalid))
            << address.toStdString();
    }
    for (const QByteArray target : {"/", "/application", "/app/../x", "/app/%2e%2e/x"}) {
        EXPECT_EQ(fetched(target), Outcome(BannerError::invalid)) << target.toStdString();
    }
    EXPECT_THAT(proxy_.requests(), testing::IsEmpty());
}

TEST_F(BannerNetworkFetch, TakesStatus200Alone) {
    // Below 200 an answer is not the last one (RFC 9110, section 15.2), and versions of Qt wait differently for that.
    for (const int status : {201, 202, 203, 204, 205, 206, 226, 300, 304, 305, 306, 309, 400, 401, 402, 403,
                             404, 407, 408, 410, 416, 421, 429, 451, 500, 501, 502, 503, 504, 599, 999}) {
        server_.answer("/app/x", Answer::of(status, "body"));
        EXPECT_EQ(fetched("/app/x"), Outcome(BannerError::response)) << status;
    }
}

TEST_F(BannerNetworkFetch, TakesNoPartOfABody) {
    server_.answer("/app/x", Answer::head(206, "Content-Range: bytes 0-3/4\r\n" + announced(4)).send("body"));
    EXPECT_EQ(fetched("/app/x"), Outcome(BannerError::response));
}

TEST_F(BannerNetworkFetch, DoesNotWaitForTheBodyOfARefusedStatus) {
    server_.answer("/app/x", Answer::head(404, announced(1000)));
    EXPECT_EQ(fetched("/app/x"), Outcome(BannerError::response));
    server_.answer("/app/x", Answer::head(500).flood(bytes(limit)));
    EXPECT_EQ(fetched("/app/x"), Outcome(BannerError::response));
}

TEST_F(BannerNetworkFetch, SkipsTheStatusThatTellsToContinue) {
    server_.answer("/app/x", Answer::head(100).send("HTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\nx"));
    EXPECT_EQ(fetched("/app/x"), Outcome(QByteArray("x")));
}

TEST_F(BannerNetworkFetch, AnswersNoQuestionForCredentials) {
    for (const QByteArray scheme : {"Basic realm=\"x\"", "Digest realm=\"x\", nonce=\"y\"", "Negotiate", "NTLM"}) {
        server_.answer("/app/x", Answer::head(401, "WWW-Authenticate: " + scheme + "\r\n" + announced(0)));
        EXPECT_EQ(fetched("/app/x"), Outcome(BannerError::response)) << scheme.toStdString();
    }
    EXPECT_EQ(server_.requests().size(), 4);
}

TEST_F(BannerNetworkFetch, TakesABodyOfExactlyTheLimit) {
    const std::vector<Answer> answers{
        Answer::of(200, bytes(limit)),
        Answer::head(200, chunked).send(chunk(bytes(limit))).send(chunk("")),
        Answer::head(200, chunked).send(chunk(bytes(1)).repeated(limit)).send(chunk("")),
        Answer::head(200).send(bytes(limit)).close(),
    };
    for (const Answer& answer : answers) {
        server_.answer("/app/x", answer);
        EXPECT_EQ(fetched("/app/x", limit), Outcome(bytes(limit)));
    }
}

TEST_F(BannerNetworkFetch, RefusesABodyOfOneByteMore) {
    const std::vector<Answer> answers{
        Answer::of(200, bytes(limit + 1)),
        Answer::head(200, chunked).send(chunk(bytes(limit + 1))).send(chunk("")),
        Answer::head(200, chunked).send(chunk(bytes(limit))).send(chunk("x")).send(chunk("")),
        Answer::head(200).send(bytes(limit + 1)).close(),
    };
    for (const Answer& answer : answers) {
        server_.answer("/app/x", answer);
        EXPECT_EQ(fetched("/app/x", limit), Outcome(BannerError::tooLarge));
    }
}

TEST_F(BannerNetworkFetch, RefusesOneByteMoreAsSoonAsItComes) {
    server_.answer("/app/x", Answer::head(200).send(bytes(limit + 1))); // and then nothing, neither more nor the end
    EXPECT_EQ(fetched("/app/x", limit), Outcome(BannerError::tooLarge));
    server_.answer("/app/x", Answer::head(200, chunked).send(chunk(bytes(limit + 1))));
    EXPECT_EQ(fetched("/app/x", limit), Outcome(BannerError::tooLarge));
}

TEST_F(BannerNetworkFetch, RefusesAnAnnouncedLengthBeforeTheBodyComes) {
    for (const qint64 length : {limit + 1, qint64{1} << 40, std::numeric_limits<qint64>::max()}) {
        server_.answer("/app/x", Answer::head(200, announced(length)));
        EXPECT_EQ(fetched("/app/x", limit), Outcome(BannerError::tooLarge)) << length;
    }
}

TEST_F(BannerNetworkFetch, StopsAnEndlessBody) {
    server_.answer("/app/x", Answer::head(200).flood(bytes(limit)));
    EXPECT_EQ(fetched("/app/x", limit), Outcome(BannerError::tooLarge));
    server_.answer("/app/x", Answer::head(200, chunked).flood(chunk(bytes(limit))));
    EXPECT_EQ(fetched("/app/x", 2'000'000), Outcome(BannerError::tooLarge));
}

TEST_F(BannerNetworkFetch, TakesABannerOfItsLimit) {
    constexpr qint64 bannerLimit = 2'000'000;
    QByteArray body(bannerLimit, Qt::Uninitialized);
    for (qsizetype i = 0; i < body.size(); ++i) {
        body[i] = static_cast<char>(i * 31 + i / 997);
    }
    server_.answer("/app/banner.avif", Answer::of(200, body));
    EXPECT_EQ(fetched("/app/banner.avif", bannerLimit), Outcome(body));
    server_.answer("/app/banner.avif", Answer::head(200).send(body).send("x").close());
    EXPECT_EQ(fetched("/app/banner.avif", bannerLimit), Outcome(BannerError::tooLarge));
}

TEST_F(BannerNetworkFetch, TakesNothingWhereTheLimitIsZeroOrLess) {
    for (const qint64 none : {qint64{0}, qint64{-1}, std::numeric_limits<qint64>::min()}) {
        server_.answer("/app/x", Answer::head(200).send("x").close());
        EXPECT_EQ(fetched("/app/x", none), Outcome(BannerError::tooLarge)) << none;
    }
    server_.answer("/app/x", Answer::of(200));
    EXPECT_EQ(fetched("/app/x", 0), Outcome(QByteArray()));
}

TEST_F(BannerNetworkFetch, EndsWhereTheAnnouncedLengthEnds) {
    server_.answer("/app/x", Answer::head(200, announced(3)).send("body"));
    EXPECT_EQ(fetched("/app/x"), Outcome(QByteArray("bod")));
}

TEST_F(BannerNetworkFetch, TakesALengthThatIsNoNumberForUnknown) {
    for (const QByteArray length : {"abc", "-5", "99999999999999999999"}) {
        server_.answer("/app/x", Answer::head(200, "Content-Length: " + length + "\r\n").send("body").close());
        EXPECT_EQ(fetched("/app/x"), Outcome(QByteArray("body"))) << length.toStdString();
        server_.answer("/app/x", Answer::head(200, "Content-Length: " + length + "\r\n").flood(bytes(limit)));
        EXPECT_EQ(fetched("/app/x"), Outcome(BannerError::tooLarge)) << length.toStdString();
    }
}

TEST_F(BannerNetworkFetch, DoesNotUnpackABody) {
    const QByteArray packed = QByteArray::fromHex("1f8b0800000000000003cbcf0100f8e8dd0402000000");
    server_.answer("/app/x", Answer::head(200, "Content-Encoding: gzip\r\n" + announced(packed.size())).send(packed));
    EXPECT_EQ(fetched("/app/x"), Outcome(packed));
}

TEST_F(BannerNetworkFetch, PassesOnThatABodyWasCut) {
    const auto resets = [this](Answer answer) {
        return std::move(answer).wait(std::chrono::milliseconds(50)).call([this] { proxy_.reset(); });
    };
    const std::vector<Answer> answers{
        Answer::head(200, announced(5)).send("body").close(),
        resets(Answer::head(200, announced(5)).send("body")),
        Answer::head(200, chunked).send(chunk("body")).close(),
        Answer::head(200, chunked).send("5\r\nbody").close(),
        resets(Answer::head(200, chunked).send(chunk("body"))),
        Answer().send("HTTP/1.1 200 OK\r\nContent-Le").close(),
        Answer().close(),
        resets(Answer()),
    };
    for (const Answer& answer : answers) {
        server_.answer("/app/x", answer);
        EXPECT_EQ(fetched("/app/x"), Outcome(NetworkError::RemoteHostClosedError))
            << testing::PrintToString(&answer - answers.data());
    }
}

TEST_F(BannerNetworkFetch, FailsWhereTheAnswerIsNotHttp) {
    for (const QByteArray text : {"SSH-2.0-x\r\n\r\n", "HTTP/1.1 abc\r\n\r\n", "<html>\r\n\r\n", "HTTP/1.1\r\n\r\n"}) {
        server_.answer("/app/x", Answer().send(text).close());
        EXPECT_EQ(fetched("/app/x"), Outcome(NetworkError::RemoteHostClosedError)) << text.toStdString();
    }
}

TEST_F(BannerNetworkFetch, PassesOnWhatTheProxySays) {
    proxy_.refuseWith("HTTP/1.1 407 No\r\nProxy-Authenticate: Basic realm=\"x\"\r\nContent-Length: 0\r\n\r\n");
    EXPECT_EQ(fetched("/app/x"), Outcome(NetworkError::ProxyAuthenticationRequiredError));
    for (const QByteArray refusal : {"HTTP/1.1 403 No\r\nContent-Length: 0\r\n\r\n", "no HTTP at all"}) {
        proxy_.refuseWith(refusal);
        EXPECT_TRUE(std::holds_alternative<NetworkError>(fetched("/app/x"))) << refusal.toStdString();
    }
    EXPECT_THAT(server_.requests(), testing::IsEmpty());
}

TEST_F(BannerNetworkFetch, PassesOnThatNobodyListens) {
    QNetworkProxy nobody = proxy_.proxy();
    {
        const ConnectProxy gone(server_.port());
        nobody = gone.proxy();
    }
    QNetworkProxy::setApplicationProxy(nobody);
    EXPECT_TRUE(std::holds_alternative<NetworkError>(fetched("/app/x")));
}

TEST_F(BannerNetworkFetch, RunsSeveralAtOnce) {
    constexpr int count = 8;
    std::vector<Outcome> outcomes(count);
    std::vector<QCoro::Task<void>> followed;
    for (int i = 0; i < count; ++i) {
        const QByteArray target = "/app/" + QByteArray::number(i);
        server_.answer(target, Answer::of(i % 4 == 3 ? 404 : 200, target));
        followed.push_back(
            follow(BannerNetwork::fetch(addressOf(target), limit), outcomes[static_cast<std::size_t>(i)]));
    }
    for (const QCoro::Task<void>& task : followed) {
        turnUntil([&] { return task.isReady(); });
    }
    for (int i = 0; i < count; ++i) {
        const Outcome expected = i % 4 == 3 ? Outcome(BannerError::response) : Outcome("/app/" + QByteArray::number(i));
        EXPECT_EQ(outcomes[static_cast<std::size_t>(i)], expected) << i;
    }
    EXPECT_EQ(server_.connections(), count);
    EXPECT_TRUE(networkThreadsEnd());
}

TEST_F(BannerNetworkFetch, ClosesItsConnectionsOnEveryWayOut) {
    const std::vector<Answer> answers{Answer::of(200, "body"), Answer::of(404), Answer::head(200, announced(limit + 1)),
                                      Answer::head(200).flood(bytes(limit)),
                                      Answer::redirect(302, "https://other.example/app/x")};
    for (const Answer& answer : answers) {
        server_.answer("/app/x", answer);
        fetched("/app/x");
        EXPECT_TRUE(networkThreadsEnd());
        turnUntil([this] { return proxy_.openConnections() == 0 && server_.openConnections() == 0; });
    }
    EXPECT_EQ(server_.connections(), static_cast<int>(answers.size()));
}

TEST_F(BannerNetworkFetch, GoesOnWhenNobodyWaits) {
    server_.answer("/app/x", Answer::of(200, "body"));
    BannerNetwork::fetch(addressOf("/app/x"), limit);
    turnUntil([this] { return server_.requests().size() == 1 && proxy_.openConnections() == 0; });
    EXPECT_TRUE(networkThreadsEnd());
}

} // namespace ovrel::test
