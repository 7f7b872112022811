#include "tests/ui/scenes.h"
#include "tests/updates/update_fixture.h"
#include "updates/update_panel_window.h"

#include <memory>

namespace ovrel::test {

namespace {

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

Scene updateScene(const QString& name, const std::function<void(UpdateFixture&)>& hear) {
    return {QStringLiteral("update-") + name, [hear](AppLanguage language) { return panelAfter(language, hear); }};
}

/// Brings the manager to where an update is being downloaded.
void download(UpdateFixture& fixture) {
    fixture.manager().showDownloadInitiatedWithCancellation(fixture.block("cancellation"));
    fixture.manager().showDownloadDidReceiveExpectedContentLength(1000);
    fixture.manager().showDownloadDidReceiveDataOfLength(620);
}

} // namespace

std::vector<Scene> updateScenes() {
    return {
        updateScene(QStringLiteral("check"),
                    [](UpdateFixture& fixture) {
                        fixture.manager().showUserInitiatedUpdateCheckWithCancellation(fixture.block("cancellation"));
                    }),
        updateScene(QStringLiteral("none"),
                    [](UpdateFixture& fixture) {
                        fixture.manager().showUpdateNotFoundWithError(someError(), fixture.block("acknowledgement"));
                    }),
        updateScene(QStringLiteral("offer"),
                    [](UpdateFixture& fixture) {
                        fixture.manager().showUpdateFoundWithAppcastItem(newVersion(fixture.language), {},
                                                                         fixture.reply());
                    }),
        updateScene(QStringLiteral("download"), download),
        updateScene(QStringLiteral("unpacking"),
                    [](UpdateFixture& fixture) {
                        fixture.manager().showDownloadDidStartExtractingUpdate();
                        fixture.manager().showExtractionReceivedProgress(0.4);
                    }),
        updateScene(
            QStringLiteral("waiting"),
            [](UpdateFixture& fixture) {
                fixture.manager().showUpdateFoundWithAppcastItem(newVersion(fixture.language), {}, fixture.reply());
                fixture.manager().setProcessing(true);
                fixture.press(fixture.language == AppLanguage::english ? "Install Update" : "Установить обновление");
            }),
        updateScene(QStringLiteral("installing"),
                    [](UpdateFixture& fixture) {
                        fixture.manager().showInstallingUpdateWithApplicationTerminated(false, fixture.block("retry"));
                    }),
        updateScene(QStringLiteral("failure"),
                    [](UpdateFixture& fixture) {
                        fixture.manager().showUpdaterError(someError(), fixture.block("acknowledgement"));
                    }),
    };
}

} // namespace ovrel::test
