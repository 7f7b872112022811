#include "remote/banner_network.h"
#include "remote/banner_settings.h"
#include "remote/publisher.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QSet>

namespace ovrel::test {

namespace {

QByteArray contentOf(const QString& file) {
    QFile sample(QStringLiteral(OVREL_PUBLISHER_SAMPLE "/") + file);
    EXPECT_TRUE(sample.open(QIODevice::ReadOnly)) << file.toStdString();
    return sample.readAll();
}

/// The settings of the sample, for the host of this build.
QByteArray sampleSettings() {
    return contentOf("app_settings.txt").replace("ovrel.example", publisherHost.data());
}

} // namespace

TEST(PublisherSample, ShowsABannerInEveryLanguage) {
    const BannerSettings settings = BannerSettings::fromUtf8(sampleSettings());
    EXPECT_TRUE(settings.enabled());
    QSet<QUrl> images;
    for (const AppLanguage language : AppLanguage::allCases) {
        SCOPED_TRACE(language.rawValue().toStdString());
        EXPECT_TRUE(settings.isEnabled(language));
        const BannerSettings::Entry entry = settings.entry(language);
        EXPECT_FALSE(entry.alt.isEmpty());
        const QUrl folder = BannerSettings::base();
        ASSERT_TRUE(folder.isParentOf(entry.image)) << entry.image.toString().toStdString();
        EXPECT_NO_THROW(BannerNetwork::decode(contentOf(entry.image.path().sliced(folder.path().size()))));
        images.insert(entry.image);
    }
    EXPECT_EQ(images.size(), qsizetype{AppLanguage::allCases.size()});
}

TEST(PublisherSample, HasUpdatesSwitchedOffAndAFeedAtHand) {
    QByteArray text = sampleSettings();
    EXPECT_EQ(BannerSettings::fromUtf8(text).updateFeed(), std::nullopt);

    text.replace("updates_enabled = false", "updates_enabled = true").replace("# update_feed_url", "update_feed_url");
    EXPECT_EQ(BannerSettings::fromUtf8(text).updateFeed(),
              BannerSettings::base().resolved(QUrl("updates/appcast.xml")));
}

} // namespace ovrel::test
