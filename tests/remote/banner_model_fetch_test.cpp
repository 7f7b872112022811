#include "remote/banner_model.h"
#include "tests/remote/support/fetch_test.h"
#include "tests/remote/support/http_text.h"
#include "tests/support/avif_writer.h"
#include "tests/support/fake_image_source.h"

#include <gmock/gmock.h>

#include <QtEndian>

namespace ovrel::test {

namespace {

using testing::ElementsAre;

const QByteArray settingsTarget = "/app/app_settings.txt";
const QByteArray imageTarget = "/app/en_banner.avif?v=1";

/// The model as the program has it, and the publisher's server.
class BannerModelFetch : public FetchTest {
protected:
    BannerModelFetch() {
        server_.answer(settingsTarget, Answer::of(200, "enabled=true\nen_url=https://example.com/\nen_alt=text"));
    }

    void load() {
        const QCoro::Task<void> task = model_.load(AppLanguage::english);
        turnUntil([&task] { return task.isReady(); });
        EXPECT_TRUE(networkThreadsEnd());
    }

    /// A banner with so many bytes, most of them in a box that readers skip (ISO/IEC 14496-12, section 8.1.2).
    static QByteArray banner(qint64 bytes) {
        QByteArray file = QByteArray::fromStdString(writeAvif(makeImage(60, 10, {120, 120, 120, 255}), {}));
        const auto boxBytes = static_cast<quint32>(bytes - file.size());
        QByteArray size(sizeof boxBytes, Qt::Uninitialized);
        qToBigEndian(boxBytes, size.data());
        file += size + "free";
        return file.leftJustified(bytes, 'x');
    }

    BannerModel model_;
};

} // namespace

TEST_F(BannerModelFetch, ShowsWhatThePublisherHas) {
    server_.answer(imageTarget, Answer::of(200, banner(2'000'000)));
    load();
    ASSERT_TRUE(model_.creative());
    EXPECT_EQ(model_.creative()->alt, QStringLiteral("text"));
    EXPECT_THAT(server_.targets(), ElementsAre(settingsTarget, imageTarget));
}

TEST_F(BannerModelFetch, ShowsNothingInPlaceOfAMissingOrTooLargeImage) {
    for (const Answer& answer : {Answer::of(404, banner(1000)), Answer::of(200, banner(2'000'001)),
                                 Answer::head(200).send(banner(2'000'001)).close()}) {
        server_.answer(imageTarget, answer);
        load();
        EXPECT_FALSE(model_.creative());
    }
    EXPECT_EQ(server_.targets().count(imageTarget), 3);
}

TEST_F(BannerModelFetch, AsksForNoImageBehindSettingsThatAreTooLong) {
    server_.answer(settingsTarget, Answer::of(200, "enabled=true\nen_url=https://example.com/\n#" + bytes(16384)));
    load();
    EXPECT_FALSE(model_.creative());
    EXPECT_THAT(server_.targets(), ElementsAre(settingsTarget));
}

} // namespace ovrel::test
