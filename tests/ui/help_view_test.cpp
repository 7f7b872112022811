#include "model/help_sections.h"
#include "tests/model/model_fixture.h"
#include "tests/ui/shown_texts.h"
#include "ui/help_view.h"
#include "ui/help_window.h"
#include "ui/theme.h"

#include <QApplication>
#include <QScrollBar>
#include <QTest>

#include <gtest/gtest.h>

namespace ovrel::test {

namespace {

class HelpViewTest : public testing::Test {
protected:
    ~HelpViewTest() override { applyTheme({}); }

    FakePreferences preferences;
};

/// The title, then each question above its answer.
QStringList textsIn(AppLanguage language) {
    QStringList texts{language.choose(QStringLiteral("Справка приложения Ovrel"), QStringLiteral("Ovrel Help"))};
    for (const HelpSection& section : language.helpSections())
        texts << section.question << section.answer;
    return texts;
}

/// The labels from top to bottom.
QList<QLabel*> labelsOf(const HelpView& view) {
    QList<QLabel*> labels = view.widget()->findChildren<QLabel*>();
    std::sort(labels.begin(), labels.end(), [](const QLabel* a, const QLabel* b) { return a->y() < b->y(); });
    return labels;
}

QStringList textsOf(const HelpView& view) {
    QStringList texts;
    for (const QLabel* const label : labelsOf(view))
        texts.append(label->text());
    return texts;
}

void expectNothingCut(const HelpView& view) {
    const QList<QLabel*> labels = labelsOf(view);
    for (const QLabel* const label : labels) {
        EXPECT_GE(label->height(), label->heightForWidth(label->width())) << label->text().toStdString();
        EXPECT_LE(label->geometry().right(), view.viewport()->width()) << label->text().toStdString();
    }
    EXPECT_EQ(view.verticalScrollBar()->maximum(), view.widget()->height() - view.viewport()->height());
    EXPECT_LE(labels.back()->geometry().bottom(), view.widget()->height() - 30);
    EXPECT_EQ(view.horizontalScrollBar()->maximum(), 0);
}

TEST_F(HelpViewTest, ShowsEveryQuestionAboveItsAnswer) {
    for (const AppLanguage language : AppLanguage::allCases) {
        saveLanguage(preferences, language);
        HelpView view(preferences);
        view.show();
        EXPECT_EQ(textsOf(view), textsIn(language));
    }
}

TEST_F(HelpViewTest, ChangesItsLanguageWhileItIsOpen) {
    HelpWindow window(preferences);
    window.open();
    const HelpView& view = *window.findChild<HelpView*>();
    for (const AppLanguage language : {AppLanguage::english, AppLanguage::russian, AppLanguage::english}) {
        saveLanguage(preferences, language);
        QApplication::processEvents();
        EXPECT_EQ(textsOf(view), textsIn(language));
        expectNothingCut(view);
    }
}

TEST_F(HelpViewTest, HasItsMeasures) {
    HelpView view(preferences);
    view.resize(680, 720);
    view.show();
    EXPECT_EQ(view.minimumSize(), QSize(520, 420));
    const QList<QLabel*> labels = labelsOf(view);
    ASSERT_EQ(labels.size(), 29);
    int bottom = 30;
    for (qsizetype i = 0; i < labels.size(); ++i) {
        const bool answer = i > 0 && i % 2 == 0;
        EXPECT_EQ(labels[i]->x(), 30);
        EXPECT_EQ(labels[i]->y(), i == 0 ? 30 : bottom + (answer ? 8 : 24));
        bottom = labels[i]->geometry().bottom() + 1;
    }
}

TEST_F(HelpViewTest, CutsNothingAtAnySizeOfWindowAndFont) {
    for (const double factor : {1.0, 2.0}) {
        QFont font = fontOf(TextStyle::body);
        font.setPointSizeF(font.pointSizeF() * factor);
        QApplication::setFont(font);
        HelpView view(preferences);
        for (const QSize size : {QSize(520, 420), QSize(680, 720), QSize(1600, 900)}) {
            SCOPED_TRACE(size.width() * factor);
            view.resize(size);
            view.show();
            QApplication::processEvents();
            expectNothingCut(view);
            for (const QLabel* const label : labelsOf(view))
                EXPECT_EQ(label->width(), std::min(760, view.viewport()->width() - 60));
        }
    }
}

TEST_F(HelpViewTest, ScrollsByTheKeyboard) {
    HelpWindow window(preferences);
    window.open();
    QApplication::setActiveWindow(&window);
    HelpView& view = *window.findChild<HelpView*>();
    ASSERT_EQ(QApplication::focusWidget(), &view);
    const QScrollBar& bar = *view.verticalScrollBar();
    ASSERT_GT(bar.maximum(), 2 * bar.pageStep());

    struct Row {
        const char* what;
        Qt::Key key;
        int position;
    };
    const Row rows[] = {
        {"a line down", Qt::Key_Down, bar.singleStep()},
        {"a page down", Qt::Key_PageDown, bar.singleStep() + bar.pageStep()},
        {"a line up", Qt::Key_Up, bar.pageStep()},
        {"a page up", Qt::Key_PageUp, 0},
        {"to the end", Qt::Key_End, bar.maximum()},
        {"to the beginning", Qt::Key_Home, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        QTest::keyClick(QApplication::focusWidget(), row.key);
        EXPECT_EQ(bar.value(), row.position);
    }
}

TEST_F(HelpViewTest, FollowsTheTheme) {
    HelpView view(preferences);
    view.show();
    for (const ColorScheme scheme : {ColorScheme::dark, ColorScheme::light}) {
        applyTheme({scheme, true});
        QApplication::processEvents();
        EXPECT_EQ(view.grab().toImage().pixelColor(0, 0), colors(scheme).window);
        for (const QLabel* const label : labelsOf(view))
            EXPECT_EQ(label->palette().color(label->foregroundRole()), colors(scheme).text);
    }
}

TEST_F(HelpViewTest, IsReadOutAsHeadingsAndAnswers) {
    saveLanguage(preferences, AppLanguage::english);
    HelpView view(preferences);
    view.show();
    QStringList headings{QStringLiteral("Ovrel Help")};
    QStringList answers;
    for (const HelpSection& section : AppLanguage(AppLanguage::english).helpSections()) {
        headings << section.question;
        answers << section.answer;
    }
    EXPECT_EQ(spokenNames(view, QAccessible::Heading), headings);
    EXPECT_EQ(spokenNames(view, QAccessible::StaticText), answers);
    EXPECT_EQ(view.accessibleName(), QStringLiteral("Ovrel Help"));
}

} // namespace

} // namespace ovrel::test
