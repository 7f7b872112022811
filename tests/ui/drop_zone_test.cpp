#include "conversion/conversion_error.h"
#include "tests/ui/controls.h"
#include "tests/ui/window_fixture.h"

#include <QListView>

#include <gtest/gtest.h>

namespace ovrel::test {

namespace {

TEST(DropZone, InvitesInBothLanguages) {
    for (const AppLanguage language : AppLanguage::allCases) {
        WindowFixture fixture(language);
        fixture.show();
        for (const QString& text :
             {language.choose(QStringLiteral("Перетащите файлы сюда"), QStringLiteral("Drop your images here")),
              language.choose(QStringLiteral("Или добавьте целую папку — Ovrel\nподготовит всё к преобразованию."),
                              QStringLiteral("Or add an entire folder — Ovrel will\nget everything ready to "
                                             "convert.")),
              QStringLiteral("JPG · PNG · WebP · GIF · AVIF")}) {
            EXPECT_TRUE(shows(fixture.window(), text)) << text.toStdString();
        }
        const QString files = language.choose(QStringLiteral("Выбрать файлы…"), QStringLiteral("Choose Files…"));
        const QString folder = language.choose(QStringLiteral("Выбрать папку…"), QStringLiteral("Choose Folder…"));
        EXPECT_EQ(control(fixture.window(), files).toolTip(), files + QStringLiteral(" (Ctrl+O)"));
        EXPECT_EQ(control(fixture.window(), folder).toolTip(), folder + QStringLiteral(" (Ctrl+Shift+O)"));
        // What belongs to a list is not there.
        EXPECT_FALSE(shows(fixture.window(), language.choose(QStringLiteral("Изображения"), QStringLiteral("Images"))));
    }
}

TEST(DropZone, AsksForFilesAndFolders) {
    WindowFixture fixture;
    fixture.show();
    click(fixture.window(), QStringLiteral("Choose Files…"));
    click(fixture.window(), QStringLiteral("Choose Folder…"));
    const auto& asked = fixture.services.chooser->asked;
    ASSERT_EQ(asked.size(), 2U);
    EXPECT_EQ(asked[0].first.kind, FileRequest::Kind::files);
    EXPECT_TRUE(asked[0].first.multiple);
    EXPECT_EQ(asked[1].first.kind, FileRequest::Kind::folder);
}

TEST(DropZone, SaysThatImagesAreBeingGathered) {
    for (const AppLanguage language : AppLanguage::allCases) {
        WindowFixture fixture(language);
        fixture.show();
        const QString gathering =
            language.choose(QStringLiteral("Собираем изображения…"), QStringLiteral("Gathering images…"));
        const QString invitation =
            language.choose(QStringLiteral("Перетащите файлы сюда"), QStringLiteral("Drop your images here"));
        EXPECT_FALSE(shows(fixture.window(), gathering));
        fixture.model().add({"/in"});
        EXPECT_TRUE(shows(fixture.window(), gathering));
        EXPECT_FALSE(shows(fixture.window(), invitation));
        EXPECT_NE(fixture.window().focusWidget(), nullptr);
        fixture.services.scans->succeed({});
        fixture.awaitIdle();
        EXPECT_FALSE(shows(fixture.window(), gathering));
        EXPECT_TRUE(shows(fixture.window(), invitation));
        EXPECT_TRUE(shows(fixture.window(),
                          language.choose(QStringLiteral("В выбранных папках нет JPG, JPEG, WebP, PNG, GIF или AVIF"),
                                          QStringLiteral("No JPG, JPEG, WebP, PNG, GIF or AVIF files found in the "
                                                         "selected folders"))));
    }
}

// Whatever is added later, a folder that has gone would be missed again.
TEST(DropZone, LetsGoOfWhatCannotBeListed) {
    WindowFixture fixture;
    fixture.show();
    const QString clear = QStringLiteral("Clear List");
    EXPECT_EQ(findControl<QAbstractButton>(fixture.window(), clear), nullptr);
    fixture.services.scans->fail(std::make_exception_ptr(ConversionError("Беда", "Trouble")));
    fixture.model().add({"/gone"});
    EXPECT_EQ(findControl<QAbstractButton>(fixture.window(), clear), nullptr) << "before anybody knows";
    fixture.awaitIdle();
    fixture.model().setError(nullptr);
    ASSERT_NE(findControl<QAbstractButton>(fixture.window(), clear), nullptr);
    fixture.model().setLanguage(AppLanguage::russian);
    click(fixture.window(), QStringLiteral("Очистить список"));
    EXPECT_TRUE(fixture.model().roots().empty());
    EXPECT_EQ(findControl<QAbstractButton>(fixture.window(), QStringLiteral("Очистить список")), nullptr);
    fixture.model().setLanguage(AppLanguage::english);
    fixture.list({"a.png"});
    EXPECT_NE(findControl<QAbstractButton>(fixture.window(), clear), nullptr) << "that of the list";
}

TEST(DropZone, GivesWayToTheListAndTheKeyboardGoesAlong) {
    WindowFixture fixture;
    fixture.show();
    EXPECT_EQ(fixture.window().focusWidget(), &control(fixture.window(), QStringLiteral("Choose Files…")));
    fixture.list({"a.png"});
    EXPECT_FALSE(shows(fixture.window(), QStringLiteral("Drop your images here")));
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Images")));
    settle();
    EXPECT_EQ(fixture.window().focusWidget(), &control<QListView>(fixture.window(), QStringLiteral("Images")));
}

} // namespace

} // namespace ovrel::test
