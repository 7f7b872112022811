#include "tests/remote/support/fetch_test.h"

#include <gmock/gmock.h>

#include <QTcpServer>
#include <QTcpSocket>

namespace ovrel::test {

namespace {

const Outcome refused = QNetworkReply::SslHandshakeFailedError;

class BannerNetworkTls : public FetchTest {
protected:
    /// What comes of a download from a server that has this certificate.
    Outcome fetchedFrom(const Identity& identity) {
        TlsServer other(identity);
        other.answer("/app/x", Answer::of(200, "body"));
        proxy_.leadTo(other.port());
        Outcome outcome = fetched("/app/x");
        EXPECT_EQ(other.requests().size(), outcome == refused ? 0 : 1);
        return outcome;
    }
};

const QString host = OVREL_PUBLISHER_HOST;

} // namespace

TEST_F(BannerNetworkTls, TakesACertificateForThePublisher) {
    EXPECT_EQ(fetchedFrom(authority().issue(host)), Outcome(QByteArray("body")));
}

TEST_F(BannerNetworkTls, RefusesACertificateForAnotherHost) {
    EXPECT_EQ(fetchedFrom(authority().issue("other.example")), refused);
    EXPECT_EQ(fetchedFrom(authority().issue("www." + host)), refused);
}

TEST_F(BannerNetworkTls, RefusesAnExpiredCertificate) {
    EXPECT_EQ(fetchedFrom(authority().issue(host, Validity::expired)), refused);
}

TEST_F(BannerNetworkTls, RefusesACertificateThatOnlyItselfVouchesFor) {
    EXPECT_EQ(fetchedFrom(authority().selfSigned(host)), refused);
}

TEST_F(BannerNetworkTls, RefusesACertificateOfAnUnknownAuthority) {
    CertificateAuthority unknown;
    EXPECT_EQ(fetchedFrom(unknown.issue(host)), refused);
}

TEST_F(BannerNetworkTls, RefusesAServerWithoutTls) {
    QTcpServer plain;
    plain.setProxy(QNetworkProxy::NoProxy);
    ASSERT_TRUE(plain.listen(QHostAddress::LocalHost));
    QObject::connect(&plain, &QTcpServer::pendingConnectionAvailable, &plain, [&plain] {
        plain.nextPendingConnection()->write("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nbody");
    });
    proxy_.leadTo(plain.serverPort());
    EXPECT_EQ(fetched("/app/x"), refused);
}

TEST_F(BannerNetworkTls, RefusesItBehindARedirectToo) {
    TlsServer other(authority().issue(QStringLiteral("other.example")));
    other.answer("/app/y", Answer::of(200, "body"));
    server_.answer("/app/x", Answer()
                                 .call([&] { proxy_.leadTo(other.port()); })
                                 .send("HTTP/1.1 302 Found\r\nConnection: close\r\nLocation: /app/y\r\n\r\n"));
    EXPECT_EQ(fetched("/app/x"), refused);
    EXPECT_THAT(other.requests(), testing::IsEmpty());
}

} // namespace ovrel::test
