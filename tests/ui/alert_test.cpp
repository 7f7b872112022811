#include "conversion/conversion_error.h"
#include "tests/ui/controls.h"
#include "tests/ui/window_fixture.h"

#include <QMessageBox>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

namespace ovrel::test {

namespace {

std::exception_ptr trouble(const char* russian = "Беда", const char* english = "Trouble") {
    return std::make_exception_ptr(ConversionError(russian, english));
}

class AlertTest : public testing::Test {
protected:
    AlertTest() { fixture.show(); }

    /// The alert that is open, or null.
    QMessageBox* alert() {
        settle();
        for (QMessageBox* const box : fixture.window().findChildren<QMessageBox*>()) {
            if (box->isVisible()) {
                return box;
            }
        }
        return nullptr;
    }

    WindowFixture fixture;
};

TEST_F(AlertTest, SaysWhatWentWrongInTheLanguageOfTheWindow) {
    for (const AppLanguage language : AppLanguage::allCases) {
        fixture.model().setLanguage(language);
        EXPECT_EQ(alert(), nullptr);
        fixture.model().setError(trouble());
        ASSERT_NE(alert(), nullptr);
        const QString title = language.choose(QStringLiteral("Не удалось выполнить действие"),
                                              QStringLiteral("Unable to Complete Action"));
        EXPECT_EQ(alert()->windowTitle(), title);
        EXPECT_TRUE(shows(*alert(), title));
        EXPECT_TRUE(shows(*alert(), language.choose(QStringLiteral("Беда"), QStringLiteral("Trouble"))));
        EXPECT_EQ(roleOf(*alert()), QAccessible::AlertMessage);
        ASSERT_EQ(alert()->buttons().size(), 1);
        EXPECT_EQ(alert()->buttons().front()->text(), QStringLiteral("OK"));
        click(*alert(), QStringLiteral("OK"));
        EXPECT_EQ(alert(), nullptr);
        EXPECT_EQ(fixture.model().error(), nullptr);
        settle();
    }
}

TEST_F(AlertTest, HasATitleThatStandsOut) {
    fixture.model().setError(trouble());
    ASSERT_NE(alert(), nullptr);
    const QFont title = control<QLabel>(*alert(), QStringLiteral("Unable to Complete Action")).font();
    const QFont text = control<QLabel>(*alert(), QStringLiteral("Trouble")).font();
    EXPECT_GT(title.pointSizeF(), text.pointSizeF());
    EXPECT_GT(title.weight(), text.weight());
}

TEST_F(AlertTest, FollowsTheLanguageWhileItIsOpen) {
    fixture.model().setError(trouble());
    fixture.model().setLanguage(AppLanguage::russian);
    EXPECT_EQ(alert()->windowTitle(), QStringLiteral("Не удалось выполнить действие"));
    EXPECT_TRUE(shows(*alert(), QStringLiteral("Беда")));
    EXPECT_FALSE(shows(*alert(), QStringLiteral("Trouble")));
    EXPECT_EQ(alert()->buttons().front()->text(), QStringLiteral("OK"));
}

TEST_F(AlertTest, KeepsItsTextsOffItsEdges) {
    fixture.model().setError(trouble());
    settle();
    for (const QWidget* const shown :
         {static_cast<const QWidget*>(&control<QLabel>(*alert(), QStringLiteral("Trouble"))),
          static_cast<const QWidget*>(&control(*alert(), QStringLiteral("OK")))}) {
        const QRect place(shown->mapTo(alert(), QPoint()), shown->size());
        EXPECT_TRUE(alert()->rect().adjusted(24, 24, -24, -24).contains(place)) << place.x() << ", " << place.y();
    }
}

TEST_F(AlertTest, ShowsASecondErrorInTheSameAlert) {
    fixture.model().setError(trouble());
    fixture.model().setError(trouble("Другая", "Another"));
    EXPECT_TRUE(shows(*alert(), QStringLiteral("Another")));
    EXPECT_FALSE(shows(*alert(), QStringLiteral("Trouble")));
    EXPECT_EQ(fixture.window().findChildren<QMessageBox*>().size(), 1);
    click(*alert(), QStringLiteral("OK"));
    EXPECT_EQ(alert(), nullptr);
    EXPECT_EQ(fixture.model().error(), nullptr);
}

TEST_F(AlertTest, IsClearedByTheKeyboardToo) {
    for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Return, Qt::Key_Space}) {
        fixture.model().setError(trouble());
        ASSERT_NE(alert(), nullptr);
        settle();
        QTest::keyClick(alert()->focusWidget(), key);
        EXPECT_EQ(alert(), nullptr);
        EXPECT_EQ(fixture.model().error(), nullptr);
    }
}

TEST_F(AlertTest, TakesWhatItSaysForPlainText) {
    fixture.model().setError(trouble("<b>Беда<b>", "<b>Trouble<b>"));
    for (const QLabel* const label : alert()->findChildren<QLabel*>()) {
        if (label->text() == QStringLiteral("<b>Trouble<b>")) {
            EXPECT_EQ(label->textFormat(), Qt::PlainText);
            return;
        }
    }
    FAIL() << "the text is not shown";
}

TEST_F(AlertTest, IsShownWhenFilesCannotBeRead) {
    fixture.services.scans->fail(std::make_exception_ptr(
        std::filesystem::filesystem_error("", "/in", std::make_error_code(std::errc::permission_denied))));
    fixture.model().add({"/in"});
    fixture.awaitIdle();
    ASSERT_NE(alert(), nullptr);
    EXPECT_TRUE(shows(*alert(), fixture.model().language().describe(fixture.model().error())));
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Unable to read files")));
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Drop your images here")));
}

TEST_F(AlertTest, IsNotOpenedByARun) {
    fixture.prepare({"a.png"});
    fixture.start();
    fixture.services.failToConvert();
    fixture.awaitIdle();
    EXPECT_EQ(alert(), nullptr);
}

TEST_F(AlertTest, GoesWithItsError) {
    fixture.model().setError(trouble());
    fixture.model().setError(nullptr);
    EXPECT_EQ(alert(), nullptr);
}

TEST_F(AlertTest, EndsWithItsWindow) {
    fixture.model().setError(trouble());
    fixture.destroyWindow();
    settle();
    for (const QWidget* const window : QApplication::topLevelWidgets()) {
        EXPECT_EQ(qobject_cast<const QMessageBox*>(window), nullptr);
    }
}

} // namespace

} // namespace ovrel::test
