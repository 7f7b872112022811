#include "tests/remote/support/fetch_test.h"

#include "remote/publisher.h"

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
    return outcomeOf(BannerNetwork::fetch(addressOf(target), limitBytes, std::move(stop), limits));
}

} // namespace ovrel::test
