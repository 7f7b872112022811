#include "model/path_text.h"
#include "tests/support/temporary_folder.h"
#include "tests/ui/announcements.h"
#include "tests/ui/controls.h"
#include "tests/ui/window_fixture.h"

#include <QApplication>
#include <QHelpEvent>
#include <QProgressBar>
#include <QTest>
#include <QToolTip>

#include <gmock/gmock.h>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FooterBarTest : public testing::Test {
protected:
    FooterBarTest() { fixture.show(); }

    QString in(const char* russian, const char* english) {
        return fixture.model().language().choose(QString::fromUtf8(russian), QString::fromUtf8(english));
    }
    bool showsText(const char* russian, const char* english) { return shows(fixture.window(), in(russian, english)); }
    QAbstractButton* find(const char* russian, const char* english) {
        return findControl<QAbstractButton>(fixture.window(), in(russian, english));
    }
    QAbstractButton* convert() { return find("Преобразовать в AVIF", "Convert to AVIF"); }
    QAbstractButton* stop() { return find("Остановить", "Stop"); }
    QAbstractButton* stopping() { return find("Останавливаем…", "Stopping…"); }
    QAbstractButton* openFolder() { return find("Открыть папку результата", "Open output folder"); }
    QProgressBar& progress() { return *fixture.window().findChild<QProgressBar*>(); }
    /// The sign beside the status line.
    QWidget& failureSign() {
        QWidget& line = control<QLabel>(fixture.window(), fixture.message());
        for (QObject* const sibling : line.parentWidget()->children()) {
            auto* const widget = qobject_cast<QWidget*>(sibling);
            if (widget != nullptr && qobject_cast<QLabel*>(widget) == nullptr && widget != &progress()) {
                return *widget;
            }
        }
        throw std::runtime_error("the status line has no sign");
    }

    WindowFixture fixture;
};

TEST_F(FooterBarTest, HintsAtTheOutputFolder) {
    for (const AppLanguage language : AppLanguage::allCases) {
        fixture.model().setLanguage(language);
        fixture.model().setOutput({});
        EXPECT_TRUE(showsText("Выберите папку сохранения перед запуском", "Choose an output folder to get started"));
        fixture.model().setOutput("/out");
        EXPECT_FALSE(showsText("Выберите папку сохранения перед запуском", "Choose an output folder to get started"));
        EXPECT_TRUE(showsText("Исходные файлы останутся на месте", "Your original files remain untouched"));
    }
}

TEST_F(FooterBarTest, ShowsTheMessageOfTheModel) {
    EXPECT_TRUE(showsText("Добавьте изображения или папку", "Add images or a folder"));
    fixture.model().add({"/in"});
    EXPECT_TRUE(showsText("Читаю список файлов…", "Reading files…"));
    fixture.services.scans->succeed({{"/in/a.png", ""}, {"/in/b.avif", ""}});
    fixture.awaitIdle();
    EXPECT_TRUE(showsText("В очереди: 2", "Files queued: 2"));
    fixture.model().setOutput("/out");
    fixture.start();
    EXPECT_TRUE(showsText("Преобразую 1 из 2: a.png", "Converting 1 of 2: a.png"));
    fixture.services.convert();
    fixture.services.awaitConversions(2);
    fixture.awaitCompleted(1);
    EXPECT_TRUE(showsText("Копирую 2 из 2: b.avif", "Copying 2 of 2: b.avif"));
    fixture.model().setLanguage(AppLanguage::russian);
    EXPECT_TRUE(showsText("Копирую 2 из 2: b.avif", "Copying 2 of 2: b.avif"));
    fixture.services.failToConvert();
    fixture.awaitIdle();
    EXPECT_TRUE(showsText("Готово: 1 успешно, 1 с ошибками", "Done: 1 successful, 1 failed"));
    fixture.model().setLanguage(AppLanguage::english);
    EXPECT_TRUE(showsText("Готово: 1 успешно, 1 с ошибками", "Done: 1 successful, 1 failed"));
}

TEST_F(FooterBarTest, SaysALongMessageInAToolTipAsPlainText) {
    fixture.prepare({"<h1>" + std::string(200, 'n') + ".png"});
    fixture.start();
    QLabel& line = control<QLabel>(fixture.window(), fixture.message());
    QHelpEvent help(QEvent::ToolTip, line.rect().center(), line.mapToGlobal(line.rect().center()));
    QApplication::sendEvent(&line, &help);
    EXPECT_EQ(plainTextOf(QToolTip::text()), fixture.message());
    QToolTip::hideText();
    fixture.services.convert();
    fixture.awaitIdle();
}

TEST_F(FooterBarTest, ShowsHowFarTheRunIs) {
    fixture.prepare({"a.png", "b.png", "c.png"});
    EXPECT_FALSE(progress().isVisible());
    fixture.start();
    EXPECT_TRUE(progress().isVisible());
    EXPECT_EQ(progress().minimum(), 0);
    EXPECT_EQ(progress().maximum(), 3);
    EXPECT_EQ(progress().value(), 0);
    fixture.services.convert();
    fixture.awaitCompleted(1);
    EXPECT_EQ(progress().value(), 1);
    fixture.services.failToConvert();
    fixture.awaitCompleted(2);
    EXPECT_EQ(progress().value(), 2); // failures count, too
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&progress())->valueInterface()->currentValue().toInt(), 2);
    EXPECT_EQ(roleOf(progress()), QAccessible::ProgressBar);
    EXPECT_EQ(nameOf(progress()), QStringLiteral("Convert to AVIF"));
    fixture.services.convert();
    fixture.awaitIdle();
    EXPECT_FALSE(progress().isVisible());
}

TEST_F(FooterBarTest, KeepsTheProgressAtMost360Wide) {
    fixture.prepare({"a.png"});
    fixture.start();
    for (const int width : {930, 1080, 2400}) {
        fixture.window().resize(width, 780);
        settle();
        EXPECT_LE(progress().width(), 360) << width;
        EXPECT_GE(progress().width(), 60) << width;
    }
    EXPECT_EQ(progress().width(), 360);
    fixture.services.convert();
    fixture.awaitIdle();
}

TEST_F(FooterBarTest, OpensTheOutputFolderOnceThereIsOne) {
    EXPECT_EQ(openFolder(), nullptr);
    const TemporaryFolder folder;
    const std::filesystem::path output = folder / "Tom & \xFF";
    std::filesystem::create_directory(output);
    fixture.model().setOutput(output);
    for (const AppLanguage language : AppLanguage::allCases) {
        fixture.model().setLanguage(language);
        ASSERT_NE(openFolder(), nullptr);
        EXPECT_TRUE(openFolder()->isEnabled());
    }
    click(*openFolder());
    EXPECT_THAT(fixture.opened, ElementsAre(urlOf(output)));

    std::filesystem::remove(output);
    click(*openFolder()); // it is gone meanwhile
    EXPECT_EQ(fixture.opened.size(), 1);
    EXPECT_EQ(fixture.model().language().describe(fixture.model().error()),
              QStringLiteral("The file or folder no longer exists."));
    fixture.model().setError(nullptr);
    fixture.model().setOutput({});
    EXPECT_EQ(openFolder(), nullptr);
}

TEST_F(FooterBarTest, OpensTheOutputFolderDuringARunToo) {
    const TemporaryFolder folder;
    fixture.prepare({"a.png"});
    fixture.model().setOutput(folder.path());
    fixture.start();
    ASSERT_NE(openFolder(), nullptr);
    click(*openFolder());
    EXPECT_THAT(fixture.opened, ElementsAre(urlOf(folder.path())));
    fixture.services.convert();
    fixture.awaitIdle();
}

TEST_F(FooterBarTest, ConvertsOnlyWhatCanBeConverted) {
    for (const AppLanguage language : AppLanguage::allCases) {
        fixture.model().setLanguage(language);
        ASSERT_NE(convert(), nullptr);
        EXPECT_EQ(convert()->toolTip(), in("Преобразовать в AVIF (Ctrl+Return)", "Convert to AVIF (Ctrl+Return)"));
    }
    EXPECT_FALSE(convert()->isEnabled()); // neither images nor a folder
    fixture.list({"a.png"});
    EXPECT_FALSE(convert()->isEnabled()); // no folder
    fixture.model().setOutput("/out");
    EXPECT_TRUE(convert()->isEnabled());
    fixture.services.systemWriter = false;
    fixture.model().setMode(EncodingMode::system);
    EXPECT_FALSE(convert()->isEnabled()); // no encoder
    fixture.model().setMode(EncodingMode::efficient);
    EXPECT_TRUE(convert()->isEnabled());
    fixture.model().rescan();
    EXPECT_FALSE(convert()->isEnabled()); // a scan goes on
    fixture.services.scans->succeed({{"/in/a.png", ""}});
    fixture.awaitIdle();
    EXPECT_TRUE(convert()->isEnabled());
    click(*convert());
    EXPECT_TRUE(fixture.model().busy());
    fixture.services.convert();
    fixture.awaitIdle();
}

TEST_F(FooterBarTest, DoesNotConvertWhileAnUpdateIsInstalled) {
    fixture.prepare({"a.png"});
    EXPECT_TRUE(convert()->isEnabled());
    fixture.services.updates.authorize();
    EXPECT_TRUE(fixture.services.updates.manager().installing());
    EXPECT_FALSE(convert()->isEnabled());
}

TEST_F(FooterBarTest, OffersToStopInThePlaceOfConvert) {
    fixture.prepare({"a.png", "b.png"});
    EXPECT_EQ(stop(), nullptr);
    settle();
    const auto edgeOf = [this](QWidget& button) { return button.mapTo(&fixture.window(), button.rect().topRight()); };
    const QPoint place = edgeOf(*convert());
    fixture.start();
    for (const AppLanguage language : AppLanguage::allCases) {
        fixture.model().setLanguage(language);
        EXPECT_EQ(convert(), nullptr);
        ASSERT_NE(stop(), nullptr);
        EXPECT_TRUE(stop()->isEnabled());
        EXPECT_EQ(stop()->toolTip(),
                  in("Остановка после текущего изображения (Esc)", "Stops after the current image finishes (Esc)"));
    }
    fixture.model().setLanguage(AppLanguage::english);
    settle();
    EXPECT_EQ(edgeOf(*stop()), place);
    click(*stop());
    EXPECT_TRUE(fixture.model().cancelled());
    EXPECT_TRUE(fixture.model().busy());
    for (const AppLanguage language : AppLanguage::allCases) {
        fixture.model().setLanguage(language);
        EXPECT_EQ(stop(), nullptr);
        ASSERT_NE(stopping(), nullptr);
        EXPECT_FALSE(stopping()->isEnabled());
    }
    fixture.services.convert();
    fixture.awaitIdle();
    EXPECT_EQ(stopping(), nullptr);
    ASSERT_NE(convert(), nullptr);
    EXPECT_TRUE(convert()->isEnabled());
    EXPECT_TRUE(
        showsText("Остановлено: 1 успешно, 0 с ошибками, 1 осталось", "Stopped: 1 successful, 0 failed, 1 remaining"));
    click(*convert());
    ASSERT_NE(stop(), nullptr); // the request to stop was for the last run
    EXPECT_TRUE(stop()->isEnabled());
    fixture.services.convert();
    fixture.services.convert();
    fixture.awaitIdle();
}

TEST_F(FooterBarTest, MarksARunWithFailures) {
    fixture.prepare({"a.png", "b.png"});
    EXPECT_FALSE(failureSign().isVisible());
    fixture.services.failToConvert();
    fixture.start();
    fixture.awaitCompleted(1);
    EXPECT_FALSE(failureSign().isVisible()); // not before the end
    fixture.services.convert();
    fixture.awaitIdle();
    EXPECT_TRUE(failureSign().isVisible());
    fixture.services.convert();
    fixture.services.convert();
    fixture.model().start();
    EXPECT_FALSE(failureSign().isVisible());
    fixture.awaitIdle();
    EXPECT_FALSE(failureSign().isVisible());
}

TEST_F(FooterBarTest, AnnouncesChangesOfTheStatusButNotEachImage) {
    takeAnnouncements();
    fixture.prepare({"a.png", "b.png", "c.png"});
    EXPECT_THAT(takeAnnouncements(), ElementsAre("Reading files…", "Files queued: 3"));
    fixture.start();
    for (std::size_t done = 1; done <= 3; ++done) {
        fixture.services.convert();
        fixture.awaitCompleted(static_cast<qint64>(done));
    }
    fixture.awaitIdle();
    const std::vector<std::string> run = takeAnnouncements();
    ASSERT_FALSE(run.empty());
    EXPECT_LE(run.size(), 2U);
    EXPECT_EQ(run.front(), "Converting 1 of 3: a.png");
    EXPECT_EQ(run.back(), "Done: 3 successful, 0 failed");
    fixture.model().setOutput("/other");
    fixture.model().setQuality(12);
    EXPECT_THAT(takeAnnouncements(), IsEmpty());
}

TEST_F(FooterBarTest, AnnouncesThatARunWasStopped) {
    fixture.prepare({"a.png", "b.png"});
    fixture.start();
    takeAnnouncements();
    fixture.model().setCancelled(true);
    fixture.services.convert();
    fixture.awaitIdle();
    EXPECT_THAT(takeAnnouncements(), ElementsAre("Stopped: 1 successful, 0 failed, 1 remaining"));
}

} // namespace

} // namespace ovrel::test
