#include "tests/ui/scenes.h"

#include "platform/file_error.h"
#include "tests/ui/window_fixture.h"
#include "ui/theme.h"

#include <QCoreApplication>

#include <string>

namespace ovrel::test {

namespace {

constexpr QSize smallest(930, 690);
constexpr QSize usual(1080, 780);
constexpr QSize wide(1600, 1000);

std::vector<std::string> namesIn(AppLanguage language) {
    if (language == AppLanguage::english) {
        return {"DSC_0412.jpg",
                "DSC_0413.jpg",
                "harbour-morning.png",
                "loading-ring.gif",
                "cover-2x.avif",
                "team-portrait-spring.webp",
                "panorama_north-ridge_stitched_final.jpg",
                "Scan 2024-03-18 page 2.png",
                "sticker-wave.gif",
                "product-front.webp",
                "product-back.webp",
                "roof.jpg",
                "a name that is so long that no list of a window of this size has room for all of it at once, not even "
                "on a very wide screen, so that its middle has to go (final).jpg",
                "zebra.png"};
    }
    return {"DSC_0412.jpg",
            "DSC_0413.jpg",
            "Утро в гавани.png",
            "загрузка.gif",
            "обложка-2x.avif",
            "Портрет команды, весна.webp",
            "Панорама северного хребта, склейка.jpg",
            "Скан 2024-03-18, стр. 2.png",
            "стикер-привет.gif",
            "товар-спереди.webp",
            "товар-сзади.webp",
            "крыша.jpg",
            "имя, которое так длинно, что ни в одном окне для него нет места целиком, даже на очень широком экране, и "
            "поэтому его середина уступает (последний вариант).jpg",
            "яблоко.png"};
}

using Arrange = std::function<void(WindowFixture&)>;

QPixmap pictureOf(AppLanguage language, QSize size, const Arrange& arrange) {
    WindowFixture fixture(language);
    fixture.window().resize(size);
    fixture.window().show();
    QCoreApplication::processEvents();
    arrange(fixture);
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    return fixture.window().grab();
}

void fill(WindowFixture& fixture) {
    fixture.list(namesIn(fixture.model().language()));
    fixture.model().setOutput(fixture.model().language() == AppLanguage::english ? "/out/Web images"
                                                                                 : "/out/Для сайта");
}

void select(WindowFixture& fixture, const std::vector<qsizetype>& rows) {
    std::vector<std::string> ids;
    ids.reserve(rows.size());
    for (const qsizetype row : rows) {
        ids.push_back(fixture.model().items().at(row).id());
    }
    fixture.model().select(ids, true);
}

void runTo(WindowFixture& fixture, qint64 count) {
    fixture.model().start();
    for (qint64 done = 0; done < count; ++done) {
        const InputItem& item = fixture.model().items().at(done);
        if (done == 3 && count > 6) {
            fixture.services.conversions->fail(std::make_exception_ptr(
                std::filesystem::filesystem_error("", std::make_error_code(std::errc::permission_denied))));
        } else if (done == 6) {
            fixture.services.failToConvert("Не удалось записать изображение на диск: " + item.url.filename().string(),
                                           "The image could not be written to the disk: " +
                                               item.url.filename().string());
        } else {
            fixture.services.convert(item.url.stem().string() + ".avif", item.isGIF());
        }
    }
    fixture.awaitCompleted(count);
}

Scene mainScene(const QString& name, QSize size, const Arrange& arrange) {
    return {QStringLiteral("main-") + name,
            [size, arrange](AppLanguage language) { return pictureOf(language, size, arrange); }};
}

} // namespace

std::vector<Scene> scenes() {
    const Arrange nothing = [](WindowFixture&) {};
    const Arrange filled = [](WindowFixture& fixture) {
        fill(fixture);
        select(fixture, {2, 5, 6});
    };
    const Arrange running = [](WindowFixture& fixture) {
        fill(fixture);
        runTo(fixture, 5);
    };
    const Arrange finished = [](WindowFixture& fixture) {
        fill(fixture);
        runTo(fixture, fixture.model().items().size());
        fixture.awaitIdle();
    };
    std::vector<Scene> all{
        mainScene(QStringLiteral("empty"), usual, nothing),
        mainScene(QStringLiteral("filled"), usual, filled),
        mainScene(QStringLiteral("running"), usual, running),
        mainScene(QStringLiteral("finished"), usual, finished),
        mainScene(QStringLiteral("empty-930x690"), smallest, nothing),
        mainScene(QStringLiteral("filled-930x690"), smallest, filled),
        mainScene(QStringLiteral("running-930x690"), smallest, running),
        mainScene(QStringLiteral("empty-1600x1000"), wide, nothing),
        mainScene(QStringLiteral("filled-1600x1000"), wide, filled),
        mainScene(QStringLiteral("drag-over"), usual,
                  [](WindowFixture& fixture) { fixture.model().setTargeted(true); }),
        mainScene(QStringLiteral("drag-over-filled"), usual,
                  [](WindowFixture& fixture) {
                      fill(fixture);
                      fixture.model().setTargeted(true);
                  }),
        mainScene(QStringLiteral("gathering"), usual, [](WindowFixture& fixture) { fixture.model().add({"/in"}); }),
        mainScene(QStringLiteral("stopping"), usual,
                  [](WindowFixture& fixture) {
                      fill(fixture);
                      runTo(fixture, 2);
                      fixture.model().setCancelled(true);
                  }),
        mainScene(QStringLiteral("system"), usual,
                  [](WindowFixture& fixture) {
                      fill(fixture);
                      fixture.model().setMode(EncodingMode::system);
                  }),
        mainScene(QStringLiteral("system-unavailable-930x690"), smallest,
                  [](WindowFixture& fixture) {
                      fill(fixture);
                      fixture.services.systemWriter = false;
                      fixture.model().setMode(EncodingMode::system);
                  }),
    };
    return all;
}

} // namespace ovrel::test
