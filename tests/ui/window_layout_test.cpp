// Where everything stands, and what it is drawn with; with text of the usual size and, in a run of its own, with text
// of twice that size.

#include "tests/ui/controls.h"
#include "tests/ui/layout_checks.h"
#include "tests/ui/window_fixture.h"
#include "ui/theme.h"

#include <QScrollArea>
#include <QScrollBar>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ovrel::test {

namespace {

TEST(WindowLayout, CutsNothingInEitherLanguageAtAnySize) {
    for (const AppLanguage language : AppLanguage::allCases) {
        for (const WindowState& state : windowStates()) {
            for (const QSize size : {QSize(930, 690), QSize(1080, 780), QSize(1600, 1000)}) {
                const testing::ScopedTrace where(__FILE__, __LINE__,
                                                 std::string(state.name) + ", " + language.rawValue().toStdString() +
                                                     ", " + std::to_string(size.width()));
                WindowFixture fixture(language);
                fixture.window().resize(size);
                fixture.show();
                state.arrange(fixture);
                expectGoodLayout(fixture);
            }
        }
    }
}

TEST(WindowLayout, CutsNothingWhenTheLanguageChanges) {
    for (const WindowState& state : windowStates()) {
        const testing::ScopedTrace where(__FILE__, __LINE__, state.name);
        WindowFixture fixture(AppLanguage::english);
        fixture.window().resize(930, 690);
        fixture.show();
        state.arrange(fixture);
        fixture.model().setLanguage(AppLanguage::russian);
        expectGoodLayout(fixture);
    }
}

TEST(WindowLayout, DoesNotMoveWhenTheSelectionOrTheSegmentsChange) {
    WindowFixture fixture(AppLanguage::russian);
    fixture.window().resize(930, 690);
    fixture.show();
    fixture.prepare({"a.png", "b.png"});
    settle();
    const auto places = [&] {
        std::vector<QRect> all;
        for (const QAbstractButton* const button : fixture.window().findChildren<QAbstractButton*>()) {
            all.emplace_back(button->mapTo(&fixture.window(), QPoint()), button->size());
        }
        return all;
    };
    const std::vector<QRect> before = places();
    fixture.model().setSelection({"/in/a.png", "/in/b.png"});
    settle();
    EXPECT_EQ(places(), before);
}

// The sizes below are those of text of the usual size.

TEST(WindowMeasures, FitsIntoItsSmallestSizeInBothLanguages) {
    for (const AppLanguage language : AppLanguage::allCases) {
        for (const WindowState& state : windowStates()) {
            WindowFixture fixture(language);
            fixture.window().resize(930, 690);
            fixture.show();
            state.arrange(fixture);
            settle();
            EXPECT_EQ(fixture.content().minimumSizeHint(), QSize(930, 690)) << state.name;
            EXPECT_EQ(fixture.window().size(), QSize(930, 690)) << state.name;
            // What does not take the keyboard could not be brought up.
            EXPECT_EQ(settingsOf(fixture).verticalScrollBar()->maximum(), 0)
                << state.name << ", " << language.rawValue().toStdString();
        }
    }
}

TEST(WindowMeasures, CannotBeMadeSmallerThanThat) {
    WindowFixture fixture;
    fixture.show();
    fixture.window().resize(10, 10);
    settle();
    EXPECT_EQ(fixture.window().size(), QSize(930, 690));
}

TEST(WindowMeasures, BeginsWithItsUsualSize) {
    WindowFixture fixture;
    EXPECT_EQ(fixture.window().size(), QSize(1080, 780));
    fixture.show();
    EXPECT_EQ(fixture.window().size(), QSize(1080, 780));
}

TEST(WindowMeasures, GivesTheRegionsTheirPlaces) {
    struct Row {
        QSize window;
        QSize list;
        int inspector;
        int header;
        int footerWithBanner;
    };
    for (const Row& row : {Row{{930, 690}, {578, 534}, 308, 60, 96}, Row{{1080, 780}, {696, 600}, 328, 68, 110},
                           Row{{1600, 1000}, {1172, 812}, 360, 68, 128}}) {
        WindowFixture fixture;
        fixture.window().resize(row.window);
        fixture.show();
        settle();
        const QList<QWidget*> regions = visibleChildrenOf(fixture.content());
        ASSERT_EQ(regions.size(), 4);
        EXPECT_EQ(regions[0]->height(), row.header) << row.window.width();
        EXPECT_EQ(regions[1]->size(), row.list) << row.window.width();
        EXPECT_EQ(regions[2]->width(), row.inspector + 2 * 4) << row.window.width(); // with room for the focus
        EXPECT_EQ(regions[3]->height(), 72) << row.window.width();
        fixture.answerBanner();
        settle();
        EXPECT_EQ(regions[3]->height(), row.footerWithBanner) << row.window.width();
    }
}

bool isTextLarge() {
    return qEnvironmentVariable("QT_FONT_DPI") == QStringLiteral("192");
}

TEST(LargeText, LeavesOutWhatCanBeDoneWithout) {
    for (const AppLanguage language : AppLanguage::allCases) {
        for (const bool hasBanner : {false, true}) {
            for (const QSize size : {QSize(930, 690), QSize(1281, 780), QSize(1600, 1000)}) {
                const testing::ScopedTrace where(__FILE__, __LINE__,
                                                 language.rawValue().toStdString() + (hasBanner ? ", banner, " : ", ") +
                                                     std::to_string(size.width()));
                WindowFixture fixture(language);
                fixture.window().resize(size);
                fixture.show();
                fixture.prepare({"a.png"});
                if (hasBanner) {
                    fixture.answerBanner();
                }
                settle();
                Model& model = fixture.model();
                EXPECT_EQ(shows(fixture.window(), model.t(QStringLiteral("Обработка файлов на вашем Mac"))),
                          !isTextLarge());
                EXPECT_EQ(shows(fixture.window(), model.t(QStringLiteral("Выделить несколько: ⌘ или ⇧ + клик"))),
                          !isTextLarge());
                const auto button = [&](const char* text) {
                    QWidget& found = control(fixture.window(), model.t(QString::fromUtf8(text)));
                    return QRect(found.mapTo(&fixture.window(), QPoint()), found.size());
                };
                const QRect open = button("Открыть папку результата");
                const QRect convert = button("Преобразовать в AVIF");
                EXPECT_EQ(open.bottom() < convert.top(), isTextLarge());
                EXPECT_EQ(open.right() < convert.left(), !isTextLarge());
            }
        }
    }
}

TEST(LargeText, LeavesTheWindowAsLargeAsItWasBeforeARun) {
    for (const AppLanguage language : AppLanguage::allCases) {
        WindowFixture fixture(language);
        fixture.window().resize(930, 690);
        fixture.show();
        fixture.prepare({"a.png"});
        settle();
        const QSize before = fixture.window().size();
        fixture.start();
        settle();
        EXPECT_EQ(fixture.window().size(), before);
        fixture.services.convert();
        fixture.awaitCompleted(1);
        fixture.awaitIdle();
        settle();
        EXPECT_EQ(fixture.window().size(), before);
    }
}

TEST(LargeText, ScrollsTheSettingsAndStaysWhole) {
    // Twice the usual size asks for a larger window, not for an unreadable one.
    EXPECT_EQ(QFontMetrics(fontOf(TextStyle::body)).height() > 25, isTextLarge());
    WindowFixture fixture(AppLanguage::russian);
    fixture.window().resize(930, 690);
    fixture.show();
    fixture.prepare({"a.png"});
    settle();
    EXPECT_GE(fixture.window().size().width(), fixture.content().minimumSizeHint().width());
    EXPECT_GE(fixture.window().size().height(), fixture.content().minimumSizeHint().height());
    // A small screen still holds it.
    EXPECT_LE(fixture.content().minimumSizeHint().width(), 1366);
    EXPECT_LE(fixture.content().minimumSizeHint().height(), 768);
    const QScrollArea& settings = settingsOf(fixture);
    EXPECT_EQ(settings.verticalScrollBar()->maximum(),
              std::max(0, settings.widget()->height() - settings.viewport()->height()));
}

TEST(WindowTheme, ChangesTheColorsOfWhatIsShown) {
    WindowFixture fixture;
    fixture.show();
    fixture.prepare({"a.png", "b.gif"});
    fixture.model().setSelection({"/in/a.png"});
    settle();
    const auto picture = [&] {
        settle();
        return fixture.window().grab().toImage();
    };
    const Theme before = theme();
    const QImage light = picture();
    applyTheme({.scheme = ColorScheme::dark, .animations = false});
    const QImage dark = picture();
    // The ground of the window, the header, the list, the footer.
    const QPoint ground(4, fixture.window().height() / 2);
    const QPoint header(4, 4);
    const QPoint list(fixture.window().width() / 3, fixture.window().height() / 2);
    const QPoint footer(4, fixture.window().height() - 4);
    for (const auto& [image, scheme] : {std::pair(&light, ColorScheme::light), std::pair(&dark, ColorScheme::dark)}) {
        EXPECT_EQ(image->pixelColor(ground), colors(scheme).window);
        EXPECT_EQ(image->pixelColor(header), colors(scheme).surface);
        EXPECT_EQ(image->pixelColor(list), colors(scheme).surface);
        EXPECT_EQ(image->pixelColor(footer), colors(scheme).surface);
    }
    for (const QLabel* const label : fixture.window().findChildren<QLabel*>()) {
        const QColor text = label->palette().color(QPalette::Active, QPalette::WindowText);
        EXPECT_TRUE(text == colors().text || text == colors().secondaryText || text == colors().accentText)
            << label->text().toStdString();
    }
    applyTheme(before);
    EXPECT_EQ(picture(), light);
}

} // namespace

} // namespace ovrel::test
