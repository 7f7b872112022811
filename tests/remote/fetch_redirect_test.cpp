#include "tests/remote/support/fetch_test.h"

#include <gmock/gmock.h>

#include <vector>

namespace ovrel::test {

namespace {

class BannerNetworkRedirect : public FetchTest {
protected:
    BannerNetworkRedirect() { server_.answer("/app/target", Answer::of(200, "body")); }
};

const QByteArray host = OVREL_PUBLISHER_HOST;

} // namespace

TEST_F(BannerNetworkRedirect, IsFollowedBelowTheFolder) {
    for (const int status : {301, 302, 303, 307, 308}) {
        server_.answer("/app/x", Answer::redirect(status, "/app/target"));
        EXPECT_EQ(fetched("/app/x"), Outcome(QByteArray("body"))) << status;
    }
    for (const QByteArray location :
         {"target", "./target", "https://" OVREL_PUBLISHER_HOST "/app/target",
          "https://" OVREL_PUBLISHER_HOST ":443/app/target", "//" OVREL_PUBLISHER_HOST "/app/target",
          "/app/a/../target", "/app/target#part"}) {
        server_.answer("/app/x", Answer::redirect(302, location));
        EXPECT_EQ(fetched("/app/x"), Outcome(QByteArray("body"))) << location.toStdString();
    }
    EXPECT_THAT(server_.targets(), testing::Each(testing::AnyOf(QByteArray("/app/x"), QByteArray("/app/target"))));
}

TEST_F(BannerNetworkRedirect, IsRefusedToAnywhereElse) {
    server_.answer("/target", Answer::of(200, "outside"));
    const std::vector<QByteArray> locations{"https://other.example/app/target",
                                            "//other.example/app/target",
                                            "http://" + host + "/app/target",
                                            "HTTPS://" + host + "/app/target",
                                            "https://" + host.toUpper() + "/app/target",
                                            "https://" + host + ":8443/app/target",
                                            "https://user:password@" + host + "/app/target",
                                            "https://" + host,
                                            "/target",
                                            "/application",
                                            "/",
                                            "../target",
                                            "/app/../target",
                                            "/app/%2e%2e/target",
                                            "/app/..%2ftarget",
                                            "/app/a b",
                                            "file:///app/target",
                                            "data:,body",
                                            ""};
    for (const QByteArray& location : locations) {
        server_.answer("/app/x", Answer::redirect(302, location));
        EXPECT_EQ(fetched("/app/x"), Outcome(BannerError::response)) << location.toStdString();
    }
    server_.answer("/app/x", Answer::head(302, "Content-Length: 0\r\n"));
    EXPECT_EQ(fetched("/app/x"), Outcome(BannerError::response));
    EXPECT_THAT(server_.targets(), testing::Each(QByteArray("/app/x")));
    EXPECT_EQ(server_.requests().size(), static_cast<qsizetype>(locations.size()) + 1);
    EXPECT_THAT(proxy_.requests(), testing::Each(testing::Truly([](const QByteArray& request) {
                    return request.startsWith("CONNECT " + host + ":443 ");
                })));
}

TEST_F(BannerNetworkRedirect, IsJudgedAtEachStep) {
    server_.answer("/app/1", Answer::redirect(302, "/app/2"));
    server_.answer("/app/2", Answer::redirect(307, "/app/3"));
    server_.answer("/app/3", Answer::redirect(301, "https://other.example/app/target"));
    EXPECT_EQ(fetched("/app/1"), Outcome(BannerError::response));
    EXPECT_THAT(server_.targets(),
                testing::ElementsAre(QByteArray("/app/1"), QByteArray("/app/2"), QByteArray("/app/3")));
}

TEST_F(BannerNetworkRedirect, IsNotFollowedForOtherStatuses) {
    for (const int status : {200, 201, 300, 304, 305, 306, 404}) {
        server_.answer("/app/x", Answer::redirect(status, "/app/target"));
        EXPECT_EQ(fetched("/app/x"), status == 200 ? Outcome(QByteArray()) : Outcome(BannerError::response)) << status;
    }
    EXPECT_THAT(server_.targets(), testing::Each(QByteArray("/app/x")));
}

TEST_F(BannerNetworkRedirect, EndsWhereItLeadsToNothing) {
    server_.answer("/app/x", Answer::redirect(302, "/app/nothing"));
    EXPECT_EQ(fetched("/app/x"), Outcome(BannerError::response));
}

TEST_F(BannerNetworkRedirect, IsFollowedFiftyTimes) {
    for (int i = 1; i <= 51; ++i) {
        server_.answer("/app/" + QByteArray::number(i), Answer::redirect(302, "/app/" + QByteArray::number(i - 1)));
    }
    server_.answer("/app/0", Answer::of(200, "body"));
    EXPECT_EQ(fetched("/app/50"), Outcome(QByteArray("body")));
    EXPECT_EQ(fetched("/app/51"), Outcome(BannerError::response));
}

TEST_F(BannerNetworkRedirect, EndsInALoop) {
    server_.answer("/app/x", Answer::redirect(302, "/app/x"));
    EXPECT_EQ(fetched("/app/x"), Outcome(BannerError::response));
    EXPECT_EQ(server_.requests().size(), 51);
    server_.answer("/app/a", Answer::redirect(308, "/app/b"));
    server_.answer("/app/b", Answer::redirect(308, "/app/a"));
    EXPECT_EQ(fetched("/app/a"), Outcome(BannerError::response));
}

TEST_F(BannerNetworkRedirect, DoesNotWaitForItsBody) {
    server_.answer("/app/x", Answer::head(302, "Location: /app/target\r\nContent-Length: 1000000000\r\n"));
    EXPECT_EQ(fetched("/app/x"), Outcome(QByteArray("body")));
    server_.answer("/app/x", Answer::head(302, "Location: /app/target\r\n").flood(QByteArray(16384, 'x')));
    EXPECT_EQ(fetched("/app/x"), Outcome(QByteArray("body")));
}

TEST_F(BannerNetworkRedirect, LeavesNothingOfItsBodyInTheResult) {
    server_.answer("/app/x", Answer::head(302, "Location: /app/target\r\nContent-Length: 5\r\n").send("never"));
    EXPECT_EQ(fetched("/app/x", 4), Outcome(QByteArray("body")));
}

} // namespace ovrel::test
