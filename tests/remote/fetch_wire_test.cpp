#include "tests/remote/support/fetch_test.h"

#include <gmock/gmock.h>

#include <QLocale>

#include <string>
#include <vector>

namespace ovrel::test {

namespace {

using testing::UnorderedElementsAre;

class BannerNetworkWire : public FetchTest {};

const std::string host = OVREL_PUBLISHER_HOST;

/// The lines of a head, the names of header fields in lower case.
std::vector<std::string> linesOf(const QByteArray& head) {
    std::vector<std::string> lines;
    for (const QByteArray& line : head.left(head.indexOf("\r\n\r\n")).split('\n')) {
        const QByteArray text = line.trimmed();
        const qsizetype colon = lines.empty() ? 0 : text.indexOf(':');
        lines.push_back((text.left(colon).toLower() + text.mid(colon)).toStdString());
    }
    return lines;
}

/// Everything that a server may learn of who asks.
auto isRequestFor(const std::string& target) {
    return testing::ResultOf(linesOf,
                             UnorderedElementsAre("GET " + target + " HTTP/1.1", "host: " + host,
                                                  "user-agent: Ovrel/" OVREL_VERSION, "accept-encoding: identity",
                                                  "accept-language: *", "connection: Keep-Alive",
                                                  "cache-control: no-cache", "pragma: no-cache"));
}

} // namespace

TEST_F(BannerNetworkWire, ShowsNameAndVersionOfTheProgramAlone) {
    ASSERT_EQ(QLocale::system().name(), "de_DE"); // which is what Qt would send
    server_.answer("/app/x?y=1", Answer::of(200, "body"));
    fetched("/app/x?y=1#part");
    EXPECT_THAT(server_.requests(), testing::ElementsAre(isRequestFor("/app/x?y=1")));
}

TEST_F(BannerNetworkWire, ShowsTheProxyNoMore) {
    fetched("/app/x");
    EXPECT_THAT(proxy_.requests(), testing::ElementsAre(testing::ResultOf(
                                       linesOf, UnorderedElementsAre("CONNECT " + host + ":443 HTTP/1.1",
                                                                     "host: " + host, "proxy-connection: keep-alive",
                                                                     "user-agent: Ovrel/" OVREL_VERSION))));
}

TEST_F(BannerNetworkWire, BringsNoCookieAndNoRefererBehindARedirect) {
    server_.answer("/app/x", Answer::head(302, "Location: /app/y\r\nContent-Length: 0\r\n"
                                               "Set-Cookie: a=1; Path=/; Secure\r\nSet-Cookie: b=2\r\n"));
    server_.answer("/app/y", Answer::of(200, "body"));
    EXPECT_EQ(fetched("/app/x"), Outcome(QByteArray("body")));
    EXPECT_THAT(server_.requests(), testing::ElementsAre(isRequestFor("/app/x"), isRequestFor("/app/y")));
}

TEST_F(BannerNetworkWire, RemembersNothingOfAnEarlierDownload) {
    server_.answer("/app/x", Answer::head(200, "Content-Length: 4\r\nSet-Cookie: a=1; Path=/; Secure; Max-Age=3600\r\n"
                                               "Cache-Control: max-age=3600\r\nETag: \"1\"\r\n"
                                               "Last-Modified: Sat, 01 Jan 2022 00:00:00 GMT\r\n"
                                               "Strict-Transport-Security: max-age=3600\r\n")
                                 .send("body"));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(fetched("/app/x"), Outcome(QByteArray("body")));
    }
    EXPECT_THAT(server_.requests(), testing::AllOf(testing::SizeIs(3), testing::Each(isRequestFor("/app/x"))));
    EXPECT_EQ(server_.connections(), 3);
}

TEST_F(BannerNetworkWire, ShowsNoCredentials) {
    server_.answer("/app/x", Answer::head(401, "WWW-Authenticate: Basic realm=\"x\"\r\nContent-Length: 0\r\n"));
    EXPECT_EQ(fetched("/app/x"), Outcome(BannerError::response));
    EXPECT_THAT(server_.requests(), testing::ElementsAre(isRequestFor("/app/x")));
}

} // namespace ovrel::test
