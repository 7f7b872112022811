#include "tests/remote/support/fetch_test.h"

#include "remote/publisher.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QThread>

#include <utility>

namespace ovrel::test {

CertificateAuthority& authority() {
    static CertificateAuthority instance;
    return instance;
}

const Identity& publisher() {
    static const Identity identity = authority().issue(publisherHost);
    return identity;
}

QUrl addressOf(const QByteArray& target) {
    return QUrl("https://" + publisherHost + target);
}

int networkThreads() {
    int count = 0;
    for (const QString& thread : QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile name("/proc/self/task/" + thread + "/comm"); // proc(5): its first 15 bytes
        count += name.open(QIODevice::ReadOnly) && name.readAll().startsWith("QNetworkAccessM") ? 1 : 0;
    }
    return count;
}

bool networkThreadsEnd() {
    const QDeadlineTimer end(std::chrono::seconds(10));
    while (networkThreads() > 0) {
        if (end.hasExpired()) {
            return false;
        }
        QThread::msleep(1);
    }
    return true;
}

BannerNetwork::Limits limitedTo(std::chrono::milliseconds silence, std::chrono::milliseconds whole) {
    BannerNetwork::Limits limits;
    limits.silence = silence;
    limits.whole = whole;
    return limits;
}

FetchTest::FetchTest() {
    QNetworkProxy::setApplicationProxy(proxy_.proxy());
}

FetchTest::~FetchTest() {
    QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
}

Outcome FetchTest::fetched(const QByteArray& target, qint64 limitBytes, std::stop_token stop,
                           BannerNetwork::Limits limits) {
    Outcome outcome = outcomeOf(BannerNetwork::fetch(addressOf(target), limitBytes, std::move(stop), limits));
    EXPECT_TRUE(networkThreadsEnd());
    return outcome;
}

} // namespace ovrel::test
