#include "tests/ui/controls.h"
#include "tests/ui/window_fixture.h"

#include <QRadioButton>
#include <QTest>

#include <gmock/gmock.h>

namespace ovrel::test {

namespace {

using testing::ElementsAre;

QRadioButton& segment(WindowFixture& fixture, const char* name) {
    return control<QRadioButton>(fixture.window(), QString::fromUtf8(name));
}

TEST(HeaderBar, ShowsTheNameTheTaglineAndThePromiseInBothLanguages) {
    for (const AppLanguage language : AppLanguage::allCases) {
        WindowFixture fixture(language);
        fixture.show();
        EXPECT_EQ(fixture.window().windowTitle(), QStringLiteral("Ovrel"));
        EXPECT_EQ(control(fixture.window(), QStringLiteral("Ovrel")).text(), QStringLiteral("Ovrel"));
        EXPECT_TRUE(shows(fixture.window(), language.choose(QStringLiteral("Новая форма ваших изображений"),
                                                            QStringLiteral("A fresh format for your images"))));
        EXPECT_TRUE(shows(fixture.window(), language.choose(QStringLiteral("Обработка файлов на вашем Mac"),
                                                            QStringLiteral("Files processed on your Mac"))));
    }
}

TEST(HeaderBar, OffersBothLanguagesUnderTheirOwnNames) {
    for (const AppLanguage language : AppLanguage::allCases) {
        WindowFixture fixture(language);
        fixture.show();
        QRadioButton& russian = segment(fixture, "Русский");
        QRadioButton& english = segment(fixture, "English");
        EXPECT_EQ(roleOf(russian), QAccessible::RadioButton);
        EXPECT_EQ(roleOf(english), QAccessible::RadioButton);
        EXPECT_EQ(nameOf(*english.parentWidget()), QStringLiteral("Language / Язык"));
        EXPECT_EQ(russian.isChecked(), language == AppLanguage::russian);
        EXPECT_EQ(english.isChecked(), language == AppLanguage::english);
        EXPECT_LT(russian.mapTo(&fixture.window(), QPoint()).x(), english.mapTo(&fixture.window(), QPoint()).x());
    }
}

TEST(HeaderBar, StoresTheLanguageThatTheUserChooses) {
    WindowFixture fixture(AppLanguage::english);
    fixture.show();
    click(segment(fixture, "Русский"));
    EXPECT_EQ(fixture.model().language(), AppLanguage::russian);
    click(segment(fixture, "English"));
    EXPECT_EQ(fixture.model().language(), AppLanguage::english);
    EXPECT_THAT(fixture.services.preferences->written, ElementsAre("OvrelLanguage=ru", "OvrelLanguage=en"));
}

TEST(HeaderBar, LetsTheKeyboardChooseTheLanguage) {
    WindowFixture fixture(AppLanguage::russian);
    fixture.show();
    segment(fixture, "Русский").setFocus();
    QTest::keyClick(fixture.window().focusWidget(), Qt::Key_Right);
    EXPECT_EQ(fixture.window().focusWidget(), &segment(fixture, "English"));
    EXPECT_EQ(fixture.model().language(), AppLanguage::english);
    QTest::keyClick(fixture.window().focusWidget(), Qt::Key_Left);
    EXPECT_EQ(fixture.window().focusWidget(), &segment(fixture, "Русский"));
    EXPECT_EQ(fixture.model().language(), AppLanguage::russian);
    EXPECT_THAT(fixture.services.preferences->written, ElementsAre("OvrelLanguage=en", "OvrelLanguage=ru"));
}

TEST(HeaderBar, FollowsALanguageThatIsChosenElsewhere) {
    WindowFixture fixture(AppLanguage::english);
    fixture.show();
    saveLanguage(*fixture.services.preferences, AppLanguage::russian);
    EXPECT_TRUE(segment(fixture, "Русский").isChecked());
    EXPECT_FALSE(segment(fixture, "English").isChecked());
    EXPECT_EQ(fixture.services.preferences->written.size(), 1U); // what comes from there is not stored again
}

TEST(HeaderBar, KeepsThePromiseReadableWhereThereIsNoRoomForIt) {
    WindowFixture fixture(AppLanguage::russian);
    fixture.show();
    const QString promise = QStringLiteral("Обработка файлов на вашем Mac");
    QLabel& text = control<QLabel>(fixture.window(), promise);
    QWidget& badge = *text.parentWidget();
    QWidget& header = *badge.parentWidget();
    header.resize(500, header.height());
    EXPECT_FALSE(text.isVisible());
    EXPECT_TRUE(badge.isVisible());
    EXPECT_EQ(nameOf(badge), promise);
    EXPECT_EQ(plainTextOf(badge.toolTip()), promise);
    header.resize(1400, header.height());
    EXPECT_TRUE(text.isVisible());
}

} // namespace

} // namespace ovrel::test
