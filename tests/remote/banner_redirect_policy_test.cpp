#include "remote/banner_redirect_policy.h"

#include "remote/publisher.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ovrel::test {

namespace {

const QString host = publisherHost;
const QString origin = "https://" + host;

bool allowed(const QString& address) {
    return BannerRedirectPolicy::allowed(address);
}

/// What the publisher's host would serve under this path.
void expectAllowed(const std::vector<QString>& paths) {
    for (const QString& path : paths) {
        EXPECT_TRUE(allowed(origin + path)) << path.toStdString();
        EXPECT_TRUE(BannerRedirectPolicy::allowed(QUrl(origin + path, QUrl::StrictMode))) << path.toStdString();
    }
}

void expectRefused(const std::vector<QString>& paths) {
    for (const QString& path : paths) {
        EXPECT_FALSE(allowed(origin + path)) << path.toStdString();
    }
}

} // namespace

TEST(BannerRedirectPolicy, AllowsTheFolderAndWhatIsBelow) {
    expectAllowed({"/app", "/app/", "/app?x", "/app#x", "/app/?x=/../..", "/app/settings", "/app/a/b.avif?v=1#part",
                   "/app//x", "/app/a%20b", "/app/%C3%A4.avif", "/app/...", "/app/..x/y"});
}

TEST(BannerRedirectPolicy, RefusesOtherPaths) {
    expectRefused({"", "/", "?/app/", "#/app/", "/application", "/app.avif", "/ap", "/App/x", "/APP", "/x/app/",
                   "//app/x", "/./app/x", "/x/../app/y"});
}

TEST(BannerRedirectPolicy, ComparesSchemeAndHostAsWritten) {
    const QString upper = host.toUpper();
    ASSERT_NE(upper, host);
    const std::vector<QString> addresses{"HTTPS://" + host + "/app/x",
                                         "Https://" + host + "/app/x",
                                         "https://" + upper + "/app/x",
                                         "http://" + host + "/app/x",
                                         "ftp://" + host + "/app/x",
                                         "//" + host + "/app/x",
                                         host + "/app/x",
                                         "https:" + host + "/app/x",
                                         "https:/" + host + "/app/x",
                                         "https:///app/x",
                                         "https://www." + host + "/app/x",
                                         "https://" + host + ".com/app/x",
                                         "https://" + host + "./app/x",
                                         "https://" + host.chopped(1) + "/app/x",
                                         " https://" + host + "/app/x",
                                         "https://%6F" + host.sliced(1) + "/app/x",
                                         "https://" + host + "\\.com/app/x",
                                         "",
                                         "/app/x",
                                         "https://other.example/app/x",
                                         "https://other.example/" + host + "/app/x",
                                         "view:https://" + host + "/app/x"};
    for (const QString& address : addresses) {
        EXPECT_FALSE(allowed(address)) << address.toStdString();
    }
}

TEST(BannerRedirectPolicy, AllowsNoPortBut443) {
    EXPECT_TRUE(allowed(origin + ":443/app/x"));
    EXPECT_TRUE(BannerRedirectPolicy::allowed(QUrl(origin + ":443/app/x")));
    expectRefused({":/app/x", ":80/app/x", ":4430/app/x", ":44/app/x", ":0443/app/x", ":443x/app/x", ":-443/app/x",
                   ":443:443/app/x"});
    EXPECT_FALSE(BannerRedirectPolicy::allowed(QUrl(origin + ":8443/app/x")));
}

TEST(BannerRedirectPolicy, AllowsNeitherUserNorPassword) {
    for (const QString user : {"user@", "user:password@", ":password@", ":@", "@", "ovrel.example@"}) {
        EXPECT_FALSE(allowed("https://" + user + host + "/app/x")) << user.toStdString();
        EXPECT_FALSE(allowed(origin + ":443@other.example/app/x"));
        EXPECT_FALSE(allowed(origin + "@other.example/app/x"));
    }
    QUrl address(origin + "/app/x");
    address.setUserName("user");
    EXPECT_FALSE(BannerRedirectPolicy::allowed(address));
    address.setUserName({});
    address.setPassword("password");
    EXPECT_FALSE(BannerRedirectPolicy::allowed(address));
}

TEST(BannerRedirectPolicy, AllowsDotSegmentsThatStayInside) {
    expectAllowed({"/app/./x", "/app/a/../b", "/app/a/b/../../c", "/app/a/%2E%2E/b", "/app/a/.."});
}

TEST(BannerRedirectPolicy, RefusesDotSegmentsThatLeaveEvenWhenTheyComeBack) {
    expectRefused({"/app/..", "/app/../", "/app/../x", "/app/a/../../x", "/app/../app/x", "/app/a/../../app/x",
                   "/app//../x", "/app/a//../../x", "/app/./../x", "/app/x/../../../../etc/passwd"});
}

TEST(BannerRedirectPolicy, SeesThroughEncodedDotsSlashesAndBackslashes) {
    expectRefused({"/app/%2e%2e/x", "/app/%2E%2E/x", "/app/.%2e/x", "/app/%2e./x", "/app/..%2fx", "/app/..%2Fx",
                   "/app/%2e%2e%2fx", "/app/..%5cx", "/app/..%5Cx", "/app/a%2f..%2f..%2fx", "/app/..\\x", "/app\\..\\x",
                   "/app/%252e%252e/x", "/app/%25252e%25252e/x", "/app/..%252fx", "/app/..%255cx",
                   "/app/%25%32%65%25%32%65/x"});
}

TEST(BannerRedirectPolicy, TakesAnEncodedPercentSignForItself) {
    expectAllowed({"/app/100%25", "/app/100%25/x", "/app/a%25b/x.avif", "/app/a%25y/x", "/app/50%25%20off/x",
                   "/app/%25/%25/x", "/app/%25%2520/x"});
    // Decoded twice, "%t%" is no letter, so what comes behind it leaves the folder.
    expectRefused({"/app/%25t%252f..%252f..%252fx", "/app/%25T%255c..%252F..%252Fx", "/app/%25t%252f%252e%252e/../x"});
}

TEST(BannerRedirectPolicy, RefusesWhatServersMayTakeForDots) {
    expectRefused({"/app/..;/x", "/app/..;a=b/x", "/app/..%3B/x", "/app/.%2e;x/y", "/app/..%20/x", "/app/%20../x"});
    expectRefused({"/app/%c0%ae%c0%ae/x", "/app/..%c0%afx", "/app/%ff", "/app/%ed%a0%80"}); // no UTF-8
    expectRefused(
        {"/app/..%00/x", "/app/.%09./x", "/app/x%00.avif", "/app/x%0d%0a", "/app/%7f", "/app/%c2%85", "/app/%2500"});
    expectAllowed({"/app/x;v=1", "/app/a;b/c", "/app/;/x"});
}

TEST(BannerRedirectPolicy, WantsTheFolderItselfUnencoded) {
    expectRefused({"/app%2Fx", "/%61pp/x", "/app%5Cx", "%2Fapp/x", "/app%3Fx", "/app%00/x"});
}

TEST(BannerRedirectPolicy, RefusesWhatIsEncodedDeeperThanAnybodyDecodes) {
    const auto encodedTimes = [](qsizetype times) { return "/app/%" + QString("25").repeated(times) + "20"; };
    EXPECT_TRUE(allowed(origin + encodedTimes(3)));
    EXPECT_FALSE(allowed(origin + encodedTimes(30)));
    EXPECT_FALSE(allowed(origin + encodedTimes(1'000'000)));
}

TEST(BannerRedirectPolicy, RefusesWhatIsNoAddress) {
    expectRefused({"/app/a b", "/app/%", "/app/%zz", "/app/<x>", "/app/x\n", "/app/x\r\nHost: y", "/app/x|y",
                   "/app/x?%", QString("/app/x") + QChar(0)});
    EXPECT_FALSE(BannerRedirectPolicy::allowed(QUrl()));
}

namespace {

struct Redirect {
    QByteArray location;
    QString target; ///< behind the origin; empty when it is refused
};

void expectRedirects(const QUrl& from, const std::vector<Redirect>& rows) {
    for (const Redirect& row : rows) {
        const std::optional<QUrl> found = BannerRedirectPolicy::redirected(from, row.location);
        EXPECT_EQ(found ? found->toString(QUrl::FullyEncoded).toStdString() : "",
                  row.target.isEmpty() ? "" : (origin + row.target).toStdString())
            << row.location.toStdString();
    }
}

} // namespace

TEST(BannerRedirectPolicy, FollowsARedirectByItsReference) {
    expectRedirects(QUrl(origin + "/app/a/b?q#f"), {{origin.toUtf8() + "/app/x?y", "/app/x?y"},
                                                    {origin.toUtf8() + ":443/app/x", ":443/app/x"},
                                                    {"//" + host.toUtf8() + "/app/x", "/app/x"},
                                                    {"/app/x", "/app/x"},
                                                    {"x", "/app/a/x"},
                                                    {"./x", "/app/a/x"},
                                                    {"../x", "/app/x"},
                                                    {"../a/./x", "/app/a/x"},
                                                    {"?y", "/app/a/b?y"},
                                                    {"#y", "/app/a/b?q#y"},
                                                    {"x:y/z", ""},
                                                    {"./x:y", "/app/a/x:y"},
                                                    {"/app/x:y", "/app/x:y"}});
    expectRedirects(QUrl(origin + ":443/app/a"), {{"/app/x", ":443/app/x"}, {"x", ":443/app/x"}});
    expectRedirects(QUrl(origin + "/app"), {{"x", ""}, {"app/x", "/app/x"}});
}

TEST(BannerRedirectPolicy, RefusesARedirectToAnywhereElse) {
    const QByteArray upper = host.toUpper().toUtf8();
    expectRedirects(QUrl(origin + "/app/a/b"), {{"", ""},
                                                {"https://other.example/app/x", ""},
                                                {"//other.example/app/x", ""},
                                                {"///app/x", ""},
                                                {"http://" + host.toUtf8() + "/app/x", ""},
                                                {"HTTPS://" + host.toUtf8() + "/app/x", ""},
                                                {"https://" + upper + "/app/x", ""},
                                                {"//" + upper + "/app/x", ""},
                                                {"https:/app/x", ""},
                                                {"https:x", ""},
                                                {origin.toUtf8() + ":444/app/x", ""},
                                                {"https://user@" + host.toUtf8() + "/app/x", ""},
                                                {"/", ""},
                                                {"/x", ""},
                                                {"/application", ""},
                                                {"/app/../x", ""},
                                                {"/app/%2e%2e/x", ""},
                                                {"../../x", ""},
                                                {"../../app/x", ""},
                                                {"..%2f..%2fx", ""},
                                                {"\\\\other.example\\app\\x", ""},
                                                {"file:///app/x", ""},
                                                {"data:,x", ""},
                                                {"/app/x y", ""},
                                                {"/app/\xC3\xA4", ""},
                                                {"/app/x\n", ""},
                                                {"/app/x, /app/y", ""}});
}

} // namespace ovrel::test
