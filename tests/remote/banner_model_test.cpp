#include "model/background.h"
#include "remote/banner_error.h"
#include "remote/banner_model.h"
#include "remote/banner_settings.h"
#include "remote/transport_error.h"
#include "tests/remote/held_fetch.h"
#include "tests/support/avif_writer.h"
#include "tests/support/fake_image_source.h"

#include <QCoreApplication>
#include <QSemaphore>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace ovrel::test {

namespace {

constexpr AppLanguage::Case english = AppLanguage::english;
constexpr AppLanguage::Case russian = AppLanguage::russian;
constexpr const char* publisher = "https://" OVREL_PUBLISHER_HOST "/app/";

/// Settings that show a banner with this text in English.
QByteArray settingsText(const QByteArray& alt = "text") {
    return "enabled=true\nversion=3\nen_url=https://example.com/\nen_alt=" + alt;
}

QByteArray banner(std::uint32_t width = 60, std::uint32_t height = 10) {
    AvifOptions options;
    options.chroma = AvifChroma::none;
    options.matrix = 6;
    return QByteArray::fromStdString(writeAvif(makeImage(width, height, {120, 120, 120, 255}), options));
}

std::exception_ptr networkError() {
    return std::make_exception_ptr(TransportError(QNetworkReply::HostNotFoundError));
}

/// Leaves the thread pool no free thread, so that nothing is decoded meanwhile.
class BusyThreadPool {
public:
    BusyThreadPool() {
        for (int count = 0; count < threads_; ++count) {
            pool_->start([this] {
                begun_.release();
                mayEnd_.acquire();
            });
        }
        begun_.acquire(threads_);
    }
    ~BusyThreadPool() {
        mayEnd_.release(threads_);
        pool_->waitForDone();
    }
    BusyThreadPool(const BusyThreadPool&) = delete;
    BusyThreadPool& operator=(const BusyThreadPool&) = delete;

private:
    QThreadPool* pool_ = &backgroundThreads();
    int threads_ = pool_->maxThreadCount();
    QSemaphore begun_;
    QSemaphore mayEnd_;
};

/// Lets every decoding end, and what waits for it go on.
void drain() {
    backgroundThreads().waitForDone();
    QCoreApplication::processEvents();
}

/// The text of the banner that is shown, nothing without one.
std::optional<std::string> shownBy(const BannerModel& model) {
    return model.creative() ? std::optional(model.creative()->alt.toStdString()) : std::nullopt;
}

/// A model and the network that it uses.
struct Fixture {
    HeldFetch network;
    BannerModel model{network.function()};
    int changes = 0;

    Fixture() {
        QObject::connect(&model, &BannerModel::creativeChanged, [this] { ++changes; });
    }

    /// Loads a banner from beginning to end.
    void show(const QByteArray& image = banner()) {
        const QCoro::Task<void> load = model.load(english);
        network.answer(network.count() - 1, settingsText());
        network.answer(network.count() - 1, image);
        finish(load);
    }
};

/// How one of several loads ends.
enum class Ending { settingsFail, switchedOff, imageFails, imageIsDamaged, shown };

/// Several loads of one model. Each is begun, has its settings answered and then its image, in any order of loads.
class Overlapping {
public:
    Overlapping(std::vector<Ending> endings, WhenStopped whenStopped)
        : network_(whenStopped)
        , endings_(std::move(endings))
        , steps_(endings_.size())
        , settings_(endings_.size())
        , images_(endings_.size()) {
        connection_ =
            QObject::connect(model_.get(), &BannerModel::creativeChanged, [this] { changes_.push_back(shown()); });
    }

    static constexpr std::size_t stepsOfALoad = 3;

    void step(std::size_t load) {
        switch (steps_[load]++) {
        case 0:
            if (model_) {
                settings_[load] = network_.count();
                tasks_.push_back(model_->load(english));
                latest_ = load;
            }
            break;
        case 1: answerSettings(load); break;
        default: answerImage(load); break;
        }
    }

    void destroyModel() { model_.reset(); }

    /// What has to be shown once no decoding goes on.
    std::optional<std::string> expected() const {
        if (!latest_ || steps_[*latest_] < stepsOfALoad || endings_[*latest_] != Ending::shown) {
            return std::nullopt;
        }
        return std::to_string(*latest_);
    }

    std::optional<std::string> shown() const { return shownBy(*model_); }

    /// What was shown after each change.
    const std::vector<std::optional<std::string>>& changes() const { return changes_; }

    void finishAll() const {
        for (const QCoro::Task<void>& task : tasks_) {
            finish(task);
        }
    }

private:
    void answerSettings(std::size_t load) {
        if (!settings_[load]) {
            return;
        }
        const std::size_t before = network_.count();
        if (endings_[load] == Ending::settingsFail) {
            network_.fail(*settings_[load], networkError());
        } else {
            const QByteArray text = settingsText(QByteArray::number(static_cast<qulonglong>(load)));
            network_.answer(*settings_[load],
                            endings_[load] == Ending::switchedOff ? text + "\nen_banner_enabled=false" : text);
        }
        if (network_.count() > before) {
            images_[load] = before;
        }
    }

    void answerImage(std::size_t load) {
        static const QByteArray image = banner(6, 1);
        if (!images_[load]) {
            return;
        }
        if (endings_[load] == Ending::imageFails) {
            network_.fail(*images_[load], networkError());
        } else {
            network_.answer(*images_[load], endings_[load] == Ending::imageIsDamaged ? QByteArray("damaged") : image);
        }
    }

    HeldFetch network_;
    std::unique_ptr<BannerModel> model_ = std::make_unique<BannerModel>(network_.function());
    QMetaObject::Connection connection_;
    std::vector<Ending> endings_;
    std::vector<std::size_t> steps_;
    std::vector<std::optional<std::size_t>> settings_; ///< the request of each load
    std::vector<std::optional<std::size_t>> images_;   ///< the request of each load
    std::optional<std::size_t> latest_;
    std::vector<QCoro::Task<void>> tasks_;
    std::vector<std::optional<std::string>> changes_;
};

/// Every order of the steps of so many loads. The loads are begun in the order of their numbers.
std::vector<std::vector<std::size_t>> allOrders(std::size_t loads) {
    std::vector<std::size_t> order;
    for (std::size_t load = 0; load < loads; ++load) {
        order.insert(order.end(), Overlapping::stepsOfALoad, load);
    }
    std::vector<std::vector<std::size_t>> orders;
    do {
        std::size_t begun = 0;
        if (std::all_of(order.begin(), order.end(), [&](std::size_t load) {
                begun += load == begun ? 1 : 0;
                return load < begun;
            })) {
            orders.push_back(order);
        }
    } while (std::next_permutation(order.begin(), order.end()));
    return orders;
}

/// Every choice of endings for so many loads.
std::vector<std::vector<Ending>> allEndings(std::size_t loads, const std::vector<Ending>& choices) {
    std::vector<std::vector<Ending>> all{{}};
    for (std::size_t load = 0; load < loads; ++load) {
        std::vector<std::vector<Ending>> longer;
        for (const std::vector<Ending>& endings : all) {
            for (const Ending choice : choices) {
                longer.push_back(endings);
                longer.back().push_back(choice);
            }
        }
        all = std::move(longer);
    }
    return all;
}

std::string nameOf(const std::vector<std::size_t>& order, const std::vector<Ending>& endings) {
    std::string name = "order";
    for (const std::size_t load : order) {
        name += ' ' + std::to_string(load);
    }
    name += ", endings";
    for (const Ending ending : endings) {
        name += ' ' + std::to_string(static_cast<int>(ending));
    }
    return name;
}

/// Takes all steps and compares what is shown with the latest load alone, after each step in which decodings may end.
void expectTheLatestAlone(const std::vector<std::size_t>& order, const std::vector<Ending>& endings,
                          WhenStopped whenStopped, bool decodesEndBetween) {
    SCOPED_TRACE(nameOf(order, endings));
    Overlapping loads(endings, whenStopped);
    std::optional<BusyThreadPool> busy;
    if (!decodesEndBetween) {
        busy.emplace();
    }
    for (const std::size_t load : order) {
        loads.step(load);
        if (decodesEndBetween) {
            drain();
            ASSERT_EQ(loads.shown(), loads.expected());
        } else {
            ASSERT_EQ(loads.shown(), std::nullopt);
        }
    }
    busy.reset();
    loads.finishAll();
    ASSERT_EQ(loads.shown(), loads.expected());
}

} // namespace

TEST(BannerModel, ShowsNothingAtFirst) {
    const Fixture fixture;
    EXPECT_FALSE(fixture.model.creative());
    EXPECT_EQ(fixture.network.count(), 0U);
}

TEST(BannerModel, DownloadsSettingsAndThenTheImage) {
    Fixture fixture;
    const QCoro::Task<void> load = fixture.model.load(english);
    ASSERT_EQ(fixture.network.count(), 1U);
    EXPECT_EQ(fixture.network.address(0), BannerSettings::address());
    EXPECT_EQ(fixture.network.limitBytes(0), 16384);
    fixture.network.answer(0, settingsText());
    ASSERT_EQ(fixture.network.count(), 2U);
    EXPECT_EQ(fixture.network.address(1).toEncoded().toStdString(), publisher + std::string("en_banner.avif?v=3"));
    EXPECT_EQ(fixture.network.limitBytes(1), 2'000'000);
    EXPECT_FALSE(fixture.model.creative());
    EXPECT_EQ(fixture.changes, 0);
    fixture.network.answer(1, banner());
    finish(load);
    ASSERT_TRUE(fixture.model.creative());
    EXPECT_EQ(fixture.model.creative()->link, QUrl(QStringLiteral("https://example.com/")));
    EXPECT_EQ(fixture.model.creative()->alt, QStringLiteral("text"));
    EXPECT_EQ(fixture.changes, 1);
    EXPECT_EQ(fixture.network.count(), 2U);
}

TEST(BannerModel, AsksForTheBannerOfTheLanguage) {
    Fixture fixture;
    const QCoro::Task<void> load = fixture.model.load(russian);
    fixture.network.answer(0, "enabled=true\nen_banner_enabled=false\nru_url=https://example.com/ru");
    ASSERT_EQ(fixture.network.count(), 2U);
    EXPECT_EQ(fixture.network.address(1).toEncoded().toStdString(), publisher + std::string("ru_banner.avif?v=1"));
    fixture.network.answer(1, banner());
    finish(load);
    ASSERT_TRUE(fixture.model.creative());
    EXPECT_EQ(fixture.model.creative()->alt, QStringLiteral("Открыть рекламную ссылку"));
}

TEST(BannerModel, ShowsEveryImageAtOneSizeWithAllItsPixels) {
    struct Row {
        std::uint32_t width;
        std::uint32_t height;
    };
    for (const Row& row : {Row{4320, 720}, Row{600, 100}}) {
        Fixture fixture;
        fixture.show(banner(row.width, row.height));
        ASSERT_TRUE(fixture.model.creative());
        const BannerImage& image = fixture.model.creative()->image;
        EXPECT_EQ(image.displayWidth, 1080);
        EXPECT_EQ(image.displayHeight, 180);
        EXPECT_EQ(image.pixels->width, row.width);
        EXPECT_EQ(image.pixels->height, row.height);
        EXPECT_EQ(image.pixels->layout, PixelLayout::rgba8);
        EXPECT_EQ(pixelOf(*image.pixels, row.width - 1, row.height - 1), (Rgba{120, 120, 120, 255}));
    }
}

TEST(BannerModel, DownloadsNoImageWhenBannersAreSwitchedOff) {
    for (const char* text : {"enabled=false\nen_url=https://example.com/",
                             "enabled=true\nen_banner_enabled=false\nen_url=https://example.com/"}) {
        Fixture fixture;
        const QCoro::Task<void> load = fixture.model.load(english);
        fixture.network.answer(0, text);
        EXPECT_TRUE(load.isReady());
        EXPECT_EQ(fixture.network.count(), 1U);
        EXPECT_FALSE(fixture.model.creative());
    }
}

TEST(BannerModel, ShowsNothingAfterAFailure) {
    struct Row {
        const char* what;
        std::size_t requests;
        std::function<void(HeldFetch&)> end;
    };
    const auto failWith = [](std::size_t index, const std::exception_ptr& error) {
        return [index, error](HeldFetch& network) {
            if (index == 1) {
                network.answer(0, settingsText());
            }
            network.fail(index, error);
        };
    };
    const auto answerWith = [](const QByteArray& text, const std::optional<QByteArray>& image = std::nullopt) {
        return [text, image](HeldFetch& network) {
            network.answer(0, text);
            if (image) {
                network.answer(1, *image);
            }
        };
    };
    const auto bannerError = [](BannerError::Case value) { return std::make_exception_ptr(BannerError(value)); };
    const Row rows[] = {
        {"no network", 1, failWith(0, networkError())},
        {"no settings", 1, failWith(0, bannerError(BannerError::response))},
        {"too long a settings file", 1, failWith(0, bannerError(BannerError::tooLarge))},
        {"an error of no known type", 1, failWith(0, std::make_exception_ptr(1))},
        {"an empty settings file", 1, answerWith("")},
        {"settings that are not UTF-8", 1, answerWith(settingsText("\xFF"))},
        {"a malformed settings file", 1, answerWith("words")},
        {"a switch that is neither on nor off", 1, answerWith(settingsText() + "\nen_banner_enabled=yes")},
        {"no link", 1, answerWith("enabled=true")},
        {"an image of another name", 1, answerWith(settingsText() + "\nen_image=a.png")},
        {"no network for the image", 2, failWith(1, networkError())},
        {"no image", 2, failWith(1, bannerError(BannerError::response))},
        {"too large an image", 2, failWith(1, bannerError(BannerError::tooLarge))},
        {"an empty image", 2, answerWith(settingsText(), QByteArray())},
        {"a damaged image", 2, answerWith(settingsText(), banner().left(100))},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Fixture fixture;
        const QCoro::Task<void> load = fixture.model.load(english);
        row.end(fixture.network);
        EXPECT_NO_THROW(finish(load));
        EXPECT_FALSE(fixture.model.creative());
        EXPECT_EQ(fixture.changes, 0);
        EXPECT_EQ(fixture.network.count(), row.requests);
    }
}

TEST(BannerModel, TakesTheOldBannerAwayWhenALoadBegins) {
    Fixture fixture;
    fixture.show();
    ASSERT_TRUE(fixture.model.creative());
    const QCoro::Task<void> load = fixture.model.load(english);
    EXPECT_FALSE(fixture.model.creative());
    EXPECT_EQ(fixture.changes, 2);
    fixture.network.fail(2, networkError());
    EXPECT_TRUE(load.isReady());
    EXPECT_FALSE(fixture.model.creative());
    EXPECT_EQ(fixture.changes, 2);
}

TEST(BannerModel, HasANewGenerationWithEachLoadAndOnlyThen) {
    Fixture fixture;
    std::vector<QUuid> seen{fixture.model.generation()};
    for (int count = 0; count < 3; ++count) {
        const std::size_t request = fixture.network.count();
        const QCoro::Task<void> load = fixture.model.load(english);
        EXPECT_EQ(std::count(seen.begin(), seen.end(), fixture.model.generation()), 0);
        seen.push_back(fixture.model.generation());
        fixture.network.answer(request, settingsText());
        fixture.network.answer(request + 1, banner());
        finish(load);
        EXPECT_EQ(fixture.model.generation(), seen.back());
    }
}

TEST(BannerModel, DecodesInTheThreadPool) {
    Fixture fixture;
    std::optional<BusyThreadPool> busy(std::in_place);
    const QCoro::Task<void> load = fixture.model.load(english);
    fixture.network.answer(0, settingsText());
    fixture.network.answer(1, banner());
    // No thread of the pool is free, so a banner that comes now would have been decoded on this one.
    QCoreApplication::processEvents();
    EXPECT_FALSE(load.isReady());
    EXPECT_FALSE(fixture.model.creative());

    busy.reset();
    finish(load);
    EXPECT_TRUE(fixture.model.creative());
}

TEST(BannerModel, ShowsNothingWhenALoadIsCancelled) {
    struct Row {
        const char* what;
        std::size_t answers; ///< that come before the stop is requested
    };
    for (const WhenStopped whenStopped : {WhenStopped::fails, WhenStopped::waits}) {
        for (const Row& row : {Row{"while settings are downloaded", 0}, Row{"while the image is downloaded", 1},
                               Row{"while the image is decoded", 2}}) {
            SCOPED_TRACE(row.what);
            HeldFetch network(whenStopped);
            BannerModel model(network.function());
            std::optional<BusyThreadPool> busy(std::in_place);
            std::stop_source source;
            const QCoro::Task<void> load = model.load(english, source.get_token());
            const std::array<QByteArray, 2> answers{settingsText(), banner()};
            for (std::size_t index = 0; index < row.answers; ++index) {
                network.answer(index, answers.at(index));
            }
            source.request_stop();
            for (std::size_t index = row.answers; index < network.count(); ++index) {
                EXPECT_TRUE(network.isStopped(index));
                network.answer(index, answers.at(index));
            }
            busy.reset();
            finish(load);
            EXPECT_FALSE(model.creative());
        }
    }
}

TEST(BannerModel, ShowsNothingWhenALoadIsCancelledBeforeItBegins) {
    Fixture fixture;
    fixture.show();
    std::stop_source source;
    source.request_stop();
    const QCoro::Task<void> load = fixture.model.load(english, source.get_token());
    finish(load);
    EXPECT_FALSE(fixture.model.creative());
}

TEST(BannerModel, StopsTheDownloadOfAnOlderLoad) {
    HeldFetch network(WhenStopped::waits);
    auto model = std::make_unique<BannerModel>(network.function());
    model->load(english);
    EXPECT_FALSE(network.isStopped(0));
    model->load(russian);
    EXPECT_TRUE(network.isStopped(0));
    EXPECT_FALSE(network.isStopped(1));
    model.reset();
    EXPECT_TRUE(network.isStopped(1));
}

TEST(BannerModel, ShowsTheLanguageChosenLastEvenWhenTheFirstDownloadEndsLast) {
    HeldFetch network(WhenStopped::waits);
    BannerModel model(network.function());
    const QByteArray text = "enabled=true\nru_url=https://example.com/\nru_alt=ru\nen_url=https://example.com/\n"
                            "en_alt=en";
    const QCoro::Task<void> first = model.load(russian);
    const QCoro::Task<void> second = model.load(english);
    network.answer(1, text);
    network.answer(2, banner());
    finish(second);
    EXPECT_EQ(shownBy(model), "en");
    network.answer(0, text);
    network.answer(3, banner());
    finish(first);
    EXPECT_EQ(shownBy(model), "en");
}

TEST(BannerModel, ShowsTheLatestOfTwoLoadsInEveryOrder) {
    const std::vector<Ending> choices{Ending::settingsFail, Ending::switchedOff, Ending::imageFails,
                                      Ending::imageIsDamaged, Ending::shown};
    const std::vector<std::vector<std::size_t>> orders = allOrders(2);
    EXPECT_EQ(orders.size(), 10U);
    for (const std::vector<std::size_t>& order : orders) {
        for (const std::vector<Ending>& endings : allEndings(2, choices)) {
            for (const WhenStopped whenStopped : {WhenStopped::fails, WhenStopped::waits}) {
                for (const bool decodesEndBetween : {true, false}) {
                    ASSERT_NO_FATAL_FAILURE(expectTheLatestAlone(order, endings, whenStopped, decodesEndBetween));
                }
            }
        }
    }
}

TEST(BannerModel, ShowsTheLatestOfThreeLoadsInEveryOrder) {
    const std::vector<Ending> choices{Ending::settingsFail, Ending::imageFails, Ending::shown};
    const std::vector<std::vector<std::size_t>> orders = allOrders(3);
    EXPECT_EQ(orders.size(), 280U);
    for (const std::vector<std::size_t>& order : orders) {
        for (const std::vector<Ending>& endings : allEndings(3, choices)) {
            ASSERT_NO_FATAL_FAILURE(expectTheLatestAlone(order, endings, WhenStopped::waits, true));
        }
        const std::vector<Ending> allShown(3, Ending::shown);
        ASSERT_NO_FATAL_FAILURE(expectTheLatestAlone(order, allShown, WhenStopped::waits, false));
    }
}

TEST(BannerModel, MayEndAtAnyMomentOfItsLoads) {
    const std::vector<Ending> endings{Ending::shown, Ending::shown};
    for (const std::vector<std::size_t>& order : allOrders(2)) {
        for (std::size_t end = 0; end <= order.size(); ++end) {
            for (const WhenStopped whenStopped : {WhenStopped::fails, WhenStopped::waits}) {
                for (const bool decodesEndBetween : {true, false}) {
                    SCOPED_TRACE(nameOf(order, endings) + ", end " + std::to_string(end));
                    Overlapping loads(endings, whenStopped);
                    std::optional<BusyThreadPool> busy;
                    if (!decodesEndBetween) {
                        busy.emplace();
                    }
                    std::size_t changes = 0;
                    for (std::size_t index = 0; index <= order.size(); ++index) {
                        if (index == end) {
                            changes = loads.changes().size();
                            loads.destroyModel();
                        }
                        if (index < order.size()) {
                            loads.step(order[index]);
                        }
                        if (decodesEndBetween) {
                            drain();
                        }
                    }
                    busy.reset();
                    loads.finishAll();
                    EXPECT_EQ(loads.changes().size(), changes);
                }
            }
        }
    }
}

TEST(BannerModel, MayEndWhileItTellsOfABanner) {
    HeldFetch network;
    auto model = std::make_unique<BannerModel>(network.function());
    QObject::connect(model.get(), &BannerModel::creativeChanged, [&] { model.reset(); });
    const QCoro::Task<void> load = model->load(english);
    network.answer(0, settingsText());
    network.answer(1, banner());
    finish(load);
    EXPECT_EQ(model, nullptr);
}

TEST(BannerModel, MayEndWhileItTellsThatABannerIsGone) {
    HeldFetch network;
    auto model = std::make_unique<BannerModel>(network.function());
    const QCoro::Task<void> first = model->load(english);
    network.answer(0, settingsText());
    network.answer(1, banner());
    finish(first);
    ASSERT_TRUE(model->creative());
    QObject::connect(model.get(), &BannerModel::creativeChanged, [&] { model.reset(); });
    const QCoro::Task<void> second = model->load(english);
    EXPECT_TRUE(second.isReady());
    EXPECT_EQ(model, nullptr);
    EXPECT_EQ(network.count(), 2U);
}

TEST(BannerModel, MayLoadAgainWhileItTellsThatABannerIsGone) {
    Fixture fixture;
    fixture.show();
    std::optional<QCoro::Task<void>> inner;
    QObject::connect(&fixture.model, &BannerModel::creativeChanged, [&] {
        if (!inner) {
            inner = fixture.model.load(english);
        }
    });
    const QCoro::Task<void> outer = fixture.model.load(russian);
    EXPECT_TRUE(outer.isReady());
    ASSERT_TRUE(inner);
    ASSERT_EQ(fixture.network.count(), 3U);
    fixture.network.answer(2, settingsText("inner"));
    fixture.network.answer(3, banner());
    finish(*inner);
    EXPECT_EQ(shownBy(fixture.model), "inner");
}

} // namespace ovrel::test
