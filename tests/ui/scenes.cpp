#include "tests/ui/scenes.h"

#include "conversion/errors.h"
#include "platform/file_error.h"
#include "tests/support/avif_writer.h"
#include "tests/ui/window_fixture.h"
#include "tests/updates/update_fixture.h"
#include "ui/about_window.h"
#include "ui/help_window.h"
#include "ui/menu_commands.h"
#include "updates/update_commands.h"
#include "updates/update_panel_window.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QImage>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>

#include <algorithm>
#include <memory>
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

/// The panel of updates after its manager has heard something from the updater.
QPixmap panelAfter(AppLanguage language, const std::function<void(UpdateFixture&)>& hear) {
    UpdateFixture fixture(language);
    UpdatePanelWindow panel(fixture.manager(), std::make_shared<const bool>(false));
    fixture.check(true);
    hear(fixture);
    panel.makeKeyAndOrderFront();
    runEvents();
    runEvents();
    const QPixmap picture = panel.grab();
    return picture;
}

SUAppcastItem newVersion(AppLanguage language) {
    SUAppcastItem item = installableItem();
    item.displayVersionString = QStringLiteral("2.4");
    item.itemDescription =
        language == AppLanguage::english
            ? QStringLiteral("• Faster gathering of large folders\n• Clearer messages for files that "
                             "cannot be read\n• The list keeps its scroll position after files are "
                             "removed\n• Keyboard control of the quality slider in larger "
                             "steps\n• Better contrast in the dark theme\n• Updated Russian "
                             "texts\n• Smaller installation\n• Fewer questions")
            : QStringLiteral("• Большие папки собираются быстрее\n• Понятнее сообщения о файлах, "
                             "которые нельзя прочитать\n• Список остаётся на месте после удаления "
                             "файлов\n• Крупные шаги ползунка качества с клавиатуры\n• Контраст "
                             "тёмной темы лучше\n• Уточнены тексты\n• Меньше места на "
                             "диске\n• Меньше вопросов");
    return item;
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
    std::vector<Scene> all{
        mainScene(QStringLiteral("empty"), usual, nothing),
        mainScene(QStringLiteral("filled"), usual, filled),
        mainScene(QStringLiteral("running"), usual, running),
        mainScene(QStringLiteral("finished"), usual, finished),
        mainScene(QStringLiteral("empty-930x690"), smallest, nothing),
        mainScene(QStringLiteral("filled-930x690"), smallest, filled),
        mainScene(QStringLiteral("running-930x690"), smallest, running),
        mainScene(QStringLiteral("finished-930x690"), smallest, finished),
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
        {QStringLiteral("update-offer"),
         [](AppLanguage language) {
             return panelAfter(language, [language](UpdateFixture& fixture) {
                 fixture.manager().showUpdateFoundWithAppcastItem(newVersion(language), {}, fixture.reply());
             });
         }},
        {QStringLiteral("update-check"),
         [](AppLanguage language) {
             return panelAfter(language, [](UpdateFixture& fixture) {
                 fixture.manager().showUserInitiatedUpdateCheckWithCancellation(fixture.block("cancellation"));
             });
         }},
        {QStringLiteral("update-download"),
         [](AppLanguage language) {
             return panelAfter(language, [](UpdateFixture& fixture) {
                 fixture.manager().showDownloadInitiatedWithCancellation(fixture.block("cancellation"));
                 fixture.manager().showDownloadDidReceiveExpectedContentLength(1000);
                 fixture.manager().showDownloadDidReceiveDataOfLength(620);
             });
         }},
        {QStringLiteral("update-failure"),
         [](AppLanguage language) {
             return panelAfter(language, [](UpdateFixture& fixture) {
                 fixture.manager().showUpdaterError(someError(), fixture.block("acknowledgement"));
             });
         }},
    };
    return all;
}

} // namespace ovrel::test
