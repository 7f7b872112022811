#include "remote/banner_redirect_policy.h"
#include "remote/publisher.h"

#include <gmock/gmock.h>

namespace ovrel::test {

namespace {

const QString decodedHost = QStringLiteral("пример.испытание");

} // namespace

TEST(PunycodeHost, IsTheSameForQUrlInBothForms) {
    const QUrl encoded("https://" + publisherHost + "/app/x");
    ASSERT_TRUE(encoded.host() == decodedHost) << "QUrl does not decode it, so nothing here is tried";
    EXPECT_TRUE(BannerRedirectPolicy::allowed(encoded));
    EXPECT_TRUE(BannerRedirectPolicy::allowed(QUrl("https://" + decodedHost + "/app/x")));
}

TEST(PunycodeHost, IsWrittenInNoOtherWay) {
    const QString rows[] = {
        decodedHost,
        QString::fromLatin1(QUrl::toPercentEncoding(decodedHost, ".")),
        "xn--e1afmkfd.испытание",
        "XN--E1AFMKFD.XN--80AKHBYKNJ4F",
        "xn--e1afmkfd.xn--80akhbyknj4f.",
        "пример。испытание", // IDNA takes this for a dot
    };
    for (const QString& host : rows) {
        SCOPED_TRACE(host.toStdString());
        EXPECT_FALSE(BannerRedirectPolicy::allowed("https://" + host + "/app/x"));
        const QUrl from("https://" + publisherHost + "/app/x");
        EXPECT_EQ(BannerRedirectPolicy::redirected(from, ("https://" + host + "/app/x").toUtf8()), std::nullopt);
    }
}

} // namespace ovrel::test

int main(int count, char** arguments) {
    testing::InitGoogleMock(&count, arguments);
    // QUrl decodes below some top-level domains alone, and not below this one, which is kept free for tests.
    QUrl::setIdnWhitelist({"xn--80akhbyknj4f"});
    return RUN_ALL_TESTS();
}
