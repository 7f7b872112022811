#include "tests/ui/scenes.h"

#include "conversion/errors.h"
#include "platform/file_error.h"
#include "tests/support/avif_writer.h"
#include "tests/ui/window_fixture.h"
#include "ui/about_window.h"
#include "ui/help_window.h"
#include "ui/menu_commands.h"
#include "updates/update_commands.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QImage>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

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

/// The program's menu, whose commands do nothing here.
class ProgramMenu {
public:
    explicit ProgramMenu(WindowFixture& fixture)
        : about_(
              *fixture.services.preferences, [] {}, nullptr)
        , check_(fixture.services.updates.manager(), *fixture.services.preferences)
        , help_(
              *fixture.services.preferences, [] {}, nullptr)
        , quit_(
              *fixture.services.preferences, [] {}, nullptr) {
        menu.addActions({&about_.action(), &check_.checkForUpdates(), &help_.action(), &quit_.action()});
        menu.insertSeparator(&help_.action());
        menu.insertSeparator(&quit_.action());
    }

    QMenu menu;

private:
    AboutCommands about_;
    UpdateCommands check_;
    HelpCommands help_;
    QuitCommands quit_;
};

/// A window with what has opened above it.
QPixmap pictureOf(QWidget& window) {
    QPixmap picture = window.grab();
    QPainter painter(&picture);
    for (QWidget* const other : QApplication::topLevelWidgets()) {
        if (other != &window && other->isVisible()) {
            painter.drawPixmap(window.mapFromGlobal(other->pos()), other->grab());
        }
    }
    return picture;
}

QPixmap pictureOf(AppLanguage language, QSize size, const Arrange& arrange) {
    WindowFixture fixture(language);
    ProgramMenu menu(fixture);
    fixture.content().setMenu(&menu.menu);
    fixture.window().resize(size);
    fixture.window().show();
    fixture.window().activateWindow();
    QCoreApplication::processEvents();
    arrange(fixture);
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    const QPixmap picture = pictureOf(fixture.window());
    fixture.destroyWindow(); // before its menu
    return picture;
}

/// Opens the menu of a button that has one.
template <typename Button>
void openMenu(WindowFixture& fixture) {
    for (Button* const button : fixture.window().findChildren<Button*>()) {
        if (button->menu() != nullptr) {
            button->menu()->popup(button->mapToGlobal(button->rect().bottomLeft()));
            button->menu()->setActiveAction(button->menu()->actions().constFirst());
        }
    }
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
            fixture.services.conversions->fail(
                std::make_exception_ptr(FileError(FileError::writeNoPermission, item.url)));
        } else if (done == 6) {
            fixture.services.conversions->fail(std::make_exception_ptr(damagedImageError()));
        } else {
            fixture.services.convert(item.url.stem().string() + ".avif", item.isGIF());
        }
    }
    fixture.awaitCompleted(count);
}

/// A sunset without words.
std::string bannerFile() {
    QImage picture(2160, 360, QImage::Format_RGBA8888);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, picture.width(), 0);
    sky.setColorAt(0, QColor(0xFFE0B0));
    sky.setColorAt(1, QColor(0xFFA060));
    painter.fillRect(picture.rect(), sky);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0xFFF4D8));
    painter.drawEllipse(QPoint(1660, 150), 92, 92);
    painter.setBrush(QColor(0xC05860));
    painter.drawEllipse(QPoint(1300, 480), 500, 230);
    painter.setBrush(QColor(0x803850));
    painter.drawEllipse(QPoint(2000, 500), 600, 230);
    painter.end();

    Image image;
    image.width = static_cast<std::uint32_t>(picture.width());
    image.height = static_cast<std::uint32_t>(picture.height());
    image.samples = PixelBuffer::zeroed(image.height, image.bytesPerRow());
    for (std::uint32_t y = 0; y < image.height; ++y) {
        std::copy_n(picture.constScanLine(static_cast<int>(y)), image.bytesPerRow(), image.row(y));
    }
    return writeAvif(image);
}

void showBanner(WindowFixture& fixture) {
    const QByteArray bytes = QByteArray::fromStdString(bannerFile());
    fixture.network.answer(0, "enabled=true\nversion=1\nru_url=https://example.com/\nru_alt=Закат\n"
                              "en_url=https://example.com/\nen_alt=Sunset");
    fixture.network.answer(1, bytes);
    waitUntil([&fixture] { return fixture.content().banner().creative().has_value(); });
}

void showAlert(WindowFixture& fixture) {
    fixture.model().setError(std::make_exception_ptr(
        ConversionError("Недостаточно свободного места на диске.", "There is not enough free disk space.")));
    QCoreApplication::processEvents();
}

/// \param size empty for the window's own
template <typename Window>
QPixmap sideWindowIn(AppLanguage language, QSize size = {}) {
    FakePreferences preferences;
    preferences.setText(QString(AppLanguage::preferenceKey), language.rawValue());
    Window window(preferences);
    window.open();
    if (!size.isEmpty()) {
        window.resize(size);
    }
    QCoreApplication::processEvents();
    return window.grab();
}

QPixmap alertIn(AppLanguage language) {
    QPixmap alert;
    pictureOf(language, usual, [&alert](WindowFixture& fixture) {
        showAlert(fixture);
        alert = fixture.window().findChild<QMessageBox*>()->grab();
    });
    return alert;
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
        fixture.window().findChild<QAbstractItemView*>()->scrollToTop();
    };
    const Arrange gathering = [](WindowFixture& fixture) { fixture.model().add({"/in"}); };
    const Arrange draggedOver = [](WindowFixture& fixture) { fixture.model().setTargeted(true); };
    const Arrange stopping = [](WindowFixture& fixture) {
        fill(fixture);
        runTo(fixture, 2);
        fixture.model().setCancelled(true);
    };
    std::vector<Scene> all;
    for (const QSize size : {usual, smallest, wide}) {
        const QString suffix =
            size == usual ? QString() : QStringLiteral("-%1x%2").arg(size.width()).arg(size.height());
        for (const auto& [name, arrange] :
             {std::pair("empty", nothing), std::pair("filled", filled), std::pair("running", running),
              std::pair("finished", finished), std::pair("gathering", gathering), std::pair("drag-over", draggedOver),
              std::pair("stopping", stopping)}) {
            all.push_back(mainScene(name + suffix, size, arrange));
        }
    }
    std::vector<Scene> others{
        mainScene(QStringLiteral("drag-over-filled"), usual,
                  [](WindowFixture& fixture) {
                      fill(fixture);
                      fixture.model().setTargeted(true);
                  }),
        mainScene(QStringLiteral("system"), usual,
                  [](WindowFixture& fixture) {
                      fill(fixture);
                      fixture.model().setMode(EncodingMode::system);
                  }),
        mainScene(QStringLiteral("system-930x690"), smallest,
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
        mainScene(QStringLiteral("banner"), usual,
                  [filled](WindowFixture& fixture) {
                      filled(fixture);
                      showBanner(fixture);
                  }),
        mainScene(QStringLiteral("banner-930x690"), smallest,
                  [running](WindowFixture& fixture) {
                      running(fixture);
                      showBanner(fixture);
                  }),
        mainScene(QStringLiteral("banner-1600x1000"), wide,
                  [filled](WindowFixture& fixture) {
                      filled(fixture);
                      showBanner(fixture);
                  }),
        mainScene(QStringLiteral("menu"), usual, [](WindowFixture& fixture) { openMenu<QToolButton>(fixture); }),
        mainScene(QStringLiteral("add-menu"), usual,
                  [filled](WindowFixture& fixture) {
                      filled(fixture);
                      openMenu<QPushButton>(fixture);
                  }),
        mainScene(QStringLiteral("compression-menu"), usual,
                  [](WindowFixture& fixture) { fixture.window().findChild<QComboBox*>()->showPopup(); }),
        mainScene(QStringLiteral("alert"), usual,
                  [filled](WindowFixture& fixture) {
                      filled(fixture);
                      showAlert(fixture);
                  }),
        {QStringLiteral("alert"), alertIn},
        {QStringLiteral("about"), [](AppLanguage language) { return sideWindowIn<AboutWindow>(language); }},
        {QStringLiteral("help"), [](AppLanguage language) { return sideWindowIn<HelpWindow>(language); }},
        {QStringLiteral("help-480x360"),
         [](AppLanguage language) {
             return sideWindowIn<HelpWindow>(language, {480, 360});
         }},
        {QStringLiteral("help-1200x800"),
         [](AppLanguage language) {
             return sideWindowIn<HelpWindow>(language, {1200, 800});
         }},
    };
    for (std::vector<Scene> more : {std::move(others), updateScenes(), componentScenes()}) {
        std::ranges::move(more, std::back_inserter(all));
    }
    return all;
}

} // namespace ovrel::test
