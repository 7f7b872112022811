#include "model/help_sections.h"
#include "model/path_text.h"
#include "tests/ui/controls.h"
#include "tests/ui/window_fixture.h"
#include "ui/folder_button.h"
#include "ui/theme.h"

#include <QAccessible>
#include <QCheckBox>
#include <QComboBox>
#include <QRadioButton>
#include <QSlider>
#include <QTest>
#include <QWheelEvent>

#include <gmock/gmock.h>

namespace ovrel::test {

namespace {

class InspectorPanelTest : public testing::Test {
protected:
    InspectorPanelTest() { fixture.show(); }

    QString in(const char* russian, const char* english) {
        return fixture.model().language().choose(QString::fromUtf8(russian), QString::fromUtf8(english));
    }
    QSlider& quality() { return control<QSlider>(fixture.window(), in("Качество изображения", "Image quality")); }
    QRadioButton& method(const char* russian, const char* english) {
        return control<QRadioButton>(fixture.window(), in(russian, english));
    }
    QRadioButton& optimized() { return method("Компактный", "Optimized"); }
    QRadioButton& system() { return method("Системный", "System"); }
    QComboBox* compression() { return findControl<QComboBox>(fixture.window(), in("Сжатие", "Compression")); }
    QCheckBox& subfolders() {
        return control<QCheckBox>(fixture.window(), in("Вложенные папки", "Include subfolders"));
    }
    FolderButton& folder() { return *fixture.window().findChild<FolderButton*>(); }
    bool showsText(const char* russian, const char* english) { return shows(fixture.window(), in(russian, english)); }

    WindowFixture fixture;
};

// Qt tells screen readers the text of a tool tip where there is no description, with its markup.
TEST_F(InspectorPanelTest, TellsScreenReadersNoMarkup) {
    fixture.prepare({"a.png"});
    for (QWidget* const widget : fixture.window().findChildren<QWidget*>()) {
        const QString description = QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Description);
        EXPECT_FALSE(description.contains(u'<')) << description.toStdString();
    }
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&subfolders())->text(QAccessible::Description),
              fixture.model().language().helpSections().at(2).answer);
}

TEST_F(InspectorPanelTest, GivesItsNoteTheRoomOfAllItsLines) {
    auto& note = control<QLabel>(fixture.window(), QStringLiteral("Smaller files. More space."));
    const int line = note.fontMetrics().height();
    // A text that would like one line and has no room for it, as large text has none.
    note.setText(QStringLiteral("Smaller files"));
    const int room = note.fontMetrics().horizontalAdvance(note.text()) - 4;
    note.setContentsMargins(0, 0, note.width() - room, 0);
    settle();
    EXPECT_LT(note.sizeHint().height(), 2 * line);
    EXPECT_GE(note.heightForWidth(note.width()), 2 * line);
    EXPECT_GE(note.height(), note.heightForWidth(note.width()));
    EXPECT_TRUE(note.parentWidget()->rect().contains(note.geometry()));
}

TEST_F(InspectorPanelTest, ShowsItsTextsInBothLanguages) {
    for (const AppLanguage language : AppLanguage::allCases) {
        fixture.model().setLanguage(language);
        EXPECT_TRUE(showsText("РЕЗУЛЬТАТ", "OUTPUT"));
        EXPECT_TRUE(showsText("AVIF", "AVIF"));
        EXPECT_TRUE(showsText("Меньше размер. Больше места.", "Smaller files. More space."));
        EXPECT_TRUE(showsText("Качество", "Quality"));
        EXPECT_TRUE(showsText("50", "50"));
        EXPECT_TRUE(showsText("Меньше файл", "Smaller file"));
        EXPECT_TRUE(showsText("Больше деталей", "More detail"));
        EXPECT_TRUE(showsText("Способ обработки", "Encoding method"));
        EXPECT_TRUE(showsText("Сжатие", "Compression"));
        EXPECT_TRUE(showsText("ПАПКА СОХРАНЕНИЯ", "SAVE TO"));
        EXPECT_TRUE(showsText("GIF сохраняет анимацию. Готовые AVIF копируются без изменений.",
                              "GIF animation is preserved. Existing AVIF files are copied unchanged."));
        EXPECT_EQ(nameOf(*optimized().parentWidget()), in("Способ обработки", "Encoding method"));
        EXPECT_EQ(roleOf(quality()), QAccessible::Slider);
        EXPECT_EQ(roleOf(optimized()), QAccessible::RadioButton);
        EXPECT_EQ(roleOf(system()), QAccessible::RadioButton);
        ASSERT_NE(compression(), nullptr);
        EXPECT_EQ(roleOf(*compression()), QAccessible::ComboBox);
        EXPECT_EQ(roleOf(subfolders()), QAccessible::CheckBox);
        EXPECT_EQ(roleOf(folder()), QAccessible::PushButton);
    }
}

TEST_F(InspectorPanelTest, BeginsWithTheUsualSettings) {
    EXPECT_EQ(quality().value(), 50);
    EXPECT_TRUE(optimized().isChecked());
    EXPECT_FALSE(system().isChecked());
    EXPECT_EQ(compression()->currentText(), QStringLiteral("Balanced"));
    EXPECT_TRUE(subfolders().isChecked());
}

TEST_F(InspectorPanelTest, SetsTheQualityFromOneToAHundredInSteps) {
    EXPECT_EQ(quality().minimum(), 1);
    EXPECT_EQ(quality().maximum(), 100);
    EXPECT_EQ(quality().singleStep(), 1);
    quality().setFocus();
    const auto press = [this](Qt::Key key) { QTest::keyClick(&quality(), key); };
    press(Qt::Key_Right);
    EXPECT_EQ(fixture.model().quality(), 51);
    EXPECT_TRUE(showsText("51", "51"));
    press(Qt::Key_End);
    EXPECT_EQ(fixture.model().quality(), 100);
    press(Qt::Key_Right);
    EXPECT_EQ(fixture.model().quality(), 100);
    press(Qt::Key_Home);
    EXPECT_EQ(fixture.model().quality(), 1);
    EXPECT_TRUE(showsText("1", "1"));

    fixture.model().setQuality(73);
    EXPECT_EQ(quality().value(), 73);
    EXPECT_TRUE(showsText("73", "73"));
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&quality())->valueInterface()->currentValue().toInt(), 73);
}

TEST_F(InspectorPanelTest, LetsTheMouseSetTheQuality) {
    QTest::mouseClick(&quality(), Qt::LeftButton, {}, quality().rect().center() + QPoint(quality().width() / 4, 0));
    EXPECT_GT(fixture.model().quality(), 50);
    EXPECT_LE(fixture.model().quality(), 100);
}

/// \return whether the control kept the wheel's turn for itself
bool turnWheelOver(QWidget& control, int steps) {
    const QPoint where = control.rect().center();
    QWheelEvent wheel(where, control.mapToGlobal(where), {}, {0, steps * 120}, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&control, &wheel);
    return wheel.isAccepted();
}

TEST_F(InspectorPanelTest, DoesNotChangeTheQualityWhenTheWheelScrollsPast) {
    fixture.window().setFocus();
    turnWheelOver(quality(), 1);
    EXPECT_EQ(fixture.model().quality(), 50);
    quality().setFocus();
    turnWheelOver(quality(), 1);
    EXPECT_GT(fixture.model().quality(), 50);
}

TEST_F(InspectorPanelTest, DoesNotChangeTheCompressionWhenTheWheelScrollsPast) {
    const qint64 speed = fixture.model().speed();
    fixture.window().setFocus();
    for (const int steps : {-1, 1}) {
        EXPECT_FALSE(turnWheelOver(*compression(), steps));
        EXPECT_EQ(fixture.model().speed(), speed);
        EXPECT_FALSE(compression()->hasFocus());
    }
}

TEST_F(InspectorPanelTest, ExplainsTheMethodThatIsChosen) {
    for (const AppLanguage language : AppLanguage::allCases) {
        fixture.model().setLanguage(language);
        const auto explains = [this](bool efficient) {
            return showsText(efficient ? "Кодировщик libaom через библиотеку libavif. Позволяет выбрать баланс между "
                                         "скоростью обработки и сжатием. Рекомендуем начать с этого режима."
                                       : "Встроенный кодировщик Apple через ImageIO. Альтернативный вариант для "
                                         "сравнения качества и размера файла. Анимированные GIF обрабатываются через "
                                         "libaom.",
                             efficient
                                 ? "Uses the libaom encoder with the libavif library. Lets you balance encoding speed "
                                   "and compression. Recommended as a starting point."
                                 : "Uses Apple’s built-in encoder through ImageIO. An alternative for comparing "
                                   "image quality and file size. Animated GIFs are encoded with libaom.");
        };
        click(system());
        EXPECT_EQ(fixture.model().mode(), EncodingMode::system);
        EXPECT_TRUE(explains(false));
        EXPECT_FALSE(explains(true));
        click(optimized());
        EXPECT_EQ(fixture.model().mode(), EncodingMode::efficient);
        EXPECT_TRUE(explains(true));
    }
}

TEST_F(InspectorPanelTest, LetsTheKeyboardChooseTheMethod) {
    optimized().setFocus();
    QTest::keyClick(fixture.window().focusWidget(), Qt::Key_Right);
    EXPECT_EQ(fixture.model().mode(), EncodingMode::system);
    QTest::keyClick(fixture.window().focusWidget(), Qt::Key_Left);
    EXPECT_EQ(fixture.model().mode(), EncodingMode::efficient);
}

TEST_F(InspectorPanelTest, FollowsTheModel) {
    fixture.model().setMode(EncodingMode::system);
    EXPECT_TRUE(system().isChecked());
    fixture.model().setMode(EncodingMode::efficient);
    EXPECT_TRUE(optimized().isChecked());
    fixture.model().setSpeed(4);
    EXPECT_EQ(compression()->currentText(), QStringLiteral("Thorough"));
    fixture.model().setRecursive(false);
    EXPECT_FALSE(subfolders().isChecked());
    EXPECT_EQ(fixture.services.scans->count(), 0U);
}

TEST_F(InspectorPanelTest, OffersTheCompressionsFromFastToThorough) {
    for (const AppLanguage language : AppLanguage::allCases) {
        fixture.model().setLanguage(language);
        QComboBox& choice = *compression();
        ASSERT_EQ(choice.count(), 3);
        EXPECT_EQ(choice.itemText(0), in("Быстро", "Fast"));
        EXPECT_EQ(choice.itemText(1), in("Баланс", "Balanced"));
        EXPECT_EQ(choice.itemText(2), in("Тщательно", "Thorough"));
    }
    compression()->setFocus();
    QTest::keyClick(compression(), Qt::Key_Up);
    EXPECT_EQ(fixture.model().speed(), 8);
    QTest::keyClick(compression(), Qt::Key_Down);
    EXPECT_EQ(fixture.model().speed(), 6);
    QTest::keyClick(compression(), Qt::Key_Down);
    EXPECT_EQ(fixture.model().speed(), 4);
}

TEST_F(InspectorPanelTest, ShowsTheCompressionOnlyForTheMethodThatHasOne) {
    EXPECT_TRUE(showsText("Сжатие", "Compression"));
    click(system());
    settle();
    EXPECT_EQ(compression(), nullptr);
    EXPECT_FALSE(showsText("Сжатие", "Compression"));
    fixture.model().setLanguage(AppLanguage::russian);
    EXPECT_FALSE(showsText("Сжатие", "Compression"));
    click(optimized());
    EXPECT_NE(compression(), nullptr);
}

TEST_F(InspectorPanelTest, SaysWhenTheSystemHasNoEncoder) {
    for (const bool supported : {true, false}) {
        fixture.services.systemWriter = supported;
        for (const EncodingMode mode : {EncodingMode::efficient, EncodingMode::system}) {
            fixture.model().setMode(mode == EncodingMode::system ? EncodingMode::efficient : EncodingMode::system);
            fixture.model().setMode(mode);
            for (const AppLanguage language : AppLanguage::allCases) {
                fixture.model().setLanguage(language);
                const bool unavailable = mode == EncodingMode::system && !supported;
                EXPECT_EQ(showsText("Системный кодировщик недоступен. Выберите компактный режим.",
                                    "The system encoder is unavailable. Choose Optimized instead."),
                          unavailable);
                EXPECT_EQ(showsText("GIF сохраняет анимацию. Готовые AVIF копируются без изменений.",
                                    "GIF animation is preserved. Existing AVIF files are copied unchanged."),
                          !unavailable);
            }
        }
    }
    const QLabel& line = control<QLabel>(
        fixture.window(), QStringLiteral("The system encoder is unavailable. Choose Optimized instead."));
    EXPECT_EQ(line.palette().color(QPalette::WindowText), colors().danger);
}

TEST_F(InspectorPanelTest, AsksForAFolderAndShowsItsName) {
    for (const AppLanguage language : AppLanguage::allCases) {
        fixture.model().setLanguage(language);
        EXPECT_EQ(nameOf(folder()), in("Выбрать папку", "Choose a folder"));
        EXPECT_EQ(folder().explanation(), in("Для готовых изображений", "For converted images"));
    }
    EXPECT_TRUE(folder().toolTip().isEmpty());
    click(folder());
    const auto& asked = fixture.services.chooser->asked;
    ASSERT_EQ(asked.size(), 1U);
    EXPECT_EQ(asked[0].first.kind, FileRequest::Kind::folder);
    EXPECT_TRUE(asked[0].first.canCreateFolders);
    EXPECT_EQ(asked[0].first.confirmText, in("Сохранять сюда", "Save Here"));

    asked[0].second({}); // cancelled
    EXPECT_FALSE(fixture.model().output());
    asked[0].second({"/out/Web"});
    for (const AppLanguage language : AppLanguage::allCases) {
        fixture.model().setLanguage(language);
        EXPECT_EQ(nameOf(folder()), QStringLiteral("Web"));
        EXPECT_EQ(folder().explanation(), in("Нажмите, чтобы изменить", "Click to change"));
        EXPECT_EQ(QAccessible::queryAccessibleInterface(&folder())->text(QAccessible::Description),
                  folder().explanation());
    }
    EXPECT_EQ(plainTextOf(folder().toolTip()), QStringLiteral("/out/Web"));
    click(folder());
    asked[1].second({});
    EXPECT_EQ(fixture.model().output(), "/out/Web");
}

TEST_F(InspectorPanelTest, ShowsFoldersOfAnyName) {
    struct Row {
        std::filesystem::path folder;
        const char* name;
        const char* toolTip;
    };
    const std::string lengthy(300, 'n');
    const std::vector<Row> rows{
        {"/out/Tom & Jerry", "Tom & Jerry", "/out/Tom & Jerry"},
        {"/out/&Файл&", "&Файл&", "/out/&Файл&"},
        {"/out/<b>x<b>", "<b>x<b>", "/out/<b>x<b>"},
        {"/", "/", "/"},
        {"/out/\xFF", "\xEF\xBF\xBD", "/out/\xEF\xBF\xBD"},
        {"/out/" + lengthy, lengthy.c_str(), nullptr},
    };
    const int width = folder().width();
    for (const Row& row : rows) {
        fixture.model().setOutput(row.folder);
        settle();
        EXPECT_EQ(nameOf(folder()).toStdString(), row.name);
        EXPECT_EQ(plainTextOf(folder().toolTip()).toStdString(),
                  row.toolTip == nullptr ? "/out/" + lengthy : std::string(row.toolTip));
        EXPECT_EQ(folder().width(), width);
        // No key opens the chooser because of what a folder is called.
        EXPECT_TRUE(folder().shortcut().isEmpty());
    }
}

TEST_F(InspectorPanelTest, ReadsTheListAnewWhenSubfoldersAreSwitched) {
    fixture.list({"a.png"});
    click(subfolders());
    EXPECT_FALSE(fixture.model().recursive());
    waitUntil([this] { return fixture.services.scans->count() == 2; });
    EXPECT_FALSE(fixture.services.scans->calls().back().recursive);
    EXPECT_FALSE(subfolders().isEnabled()); // a second change would not be read
    fixture.services.scans->succeed({});
    fixture.awaitIdle();
    EXPECT_TRUE(subfolders().isEnabled());

    subfolders().setFocus();
    QTest::keyClick(&subfolders(), Qt::Key_Space);
    EXPECT_TRUE(fixture.model().recursive());
    waitUntil([this] { return fixture.services.scans->count() == 3; });
    EXPECT_TRUE(fixture.services.scans->calls().back().recursive);
    fixture.services.scans->succeed({});
    fixture.awaitIdle();
}

TEST_F(InspectorPanelTest, KeepsTheKeyboardOnTheSwitchThatBeganAScan) {
    subfolders().setFocus();
    QTest::keyClick(&subfolders(), Qt::Key_Space);
    EXPECT_NE(fixture.window().focusWidget(), nullptr);
    fixture.services.scans->succeed({});
    fixture.awaitIdle();
    settle();
    EXPECT_EQ(fixture.window().focusWidget(), &subfolders());
}

TEST_F(InspectorPanelTest, ExplainsSubfoldersInAToolTip) {
    for (const AppLanguage language : AppLanguage::allCases) {
        fixture.model().setLanguage(language);
        EXPECT_EQ(plainTextOf(subfolders().toolTip()), language.helpSections().at(2).answer);
    }
    EXPECT_EQ(AppLanguage(AppLanguage::english).helpSections().at(2).question,
              QStringLiteral("How do I include subfolders?"));
}

TEST_F(InspectorPanelTest, IsDisabledAsAWholeDuringARun) {
    fixture.prepare({"a.png"});
    const auto all = [this] {
        return QList<QWidget*>{&quality(), &optimized(), &system(), compression(), &folder(), &subfolders()};
    };
    for (QWidget* const widget : all()) {
        EXPECT_TRUE(widget->isEnabled()) << nameOf(*widget).toStdString();
    }
    fixture.start();
    for (QWidget* const widget : all()) {
        EXPECT_FALSE(widget->isEnabled()) << nameOf(*widget).toStdString();
    }
    fixture.services.convert();
    fixture.awaitIdle();
    for (QWidget* const widget : all()) {
        EXPECT_TRUE(widget->isEnabled()) << nameOf(*widget).toStdString();
    }
}

TEST_F(InspectorPanelTest, HandsItsSettingsToTheRun) {
    fixture.prepare({"a.png"});
    quality().setValue(80);
    compression()->setFocus();
    QTest::keyClick(compression(), Qt::Key_Down);
    fixture.start();
    const ConvertCall call = fixture.services.conversions->calls().front();
    EXPECT_DOUBLE_EQ(call.quality, 0.8);
    EXPECT_EQ(call.speed, 4);
    EXPECT_EQ(call.mode, EncodingMode::efficient);
    EXPECT_EQ(call.output, "/out");
    fixture.services.convert();
    fixture.awaitIdle();
}

} // namespace

} // namespace ovrel::test
