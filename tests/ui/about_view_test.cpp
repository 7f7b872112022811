#include "tests/model/model_fixture.h"
#include "tests/ui/shown_texts.h"
#include "ui/about_text.h"
#include "ui/about_view.h"
#include "ui/about_window.h"
#include "ui/icons.h"
#include "ui/theme.h"

#include <QApplication>
#include <QCryptographicHash>
#include <QPainter>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

#include <gtest/gtest.h>

#include <string>

namespace ovrel::test {

namespace {

class AboutViewTest : public testing::Test {
protected:
    AboutViewTest() { QCoreApplication::setApplicationVersion(QStringLiteral("2.3")); }
    ~AboutViewTest() override {
        QCoreApplication::setApplicationVersion({});
        applyTheme({});
    }

    FakePreferences preferences;
};

std::string checksum(std::u16string_view TextPair::*column) {
    QByteArray bytes;
    for (const TextPair& paragraph : aboutParagraphs) {
        const std::u16string_view text = paragraph.*column;
        bytes += QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size())).toUtf8() + '\n';
    }
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex().toStdString();
}

TEST(AboutText, HasEveryParagraphInOrder) {
    EXPECT_EQ(checksum(&TextPair::russian), "c924089f975ddd68be6f56352b62b9c1593a0c963272b5da290a6ebce89b0be8");
    EXPECT_EQ(checksum(&TextPair::english), "1027692872edb4f76e53d38a67995ef80c9cc7314b08e79f996b37393831f0a3");
    EXPECT_EQ(aboutParagraphs[4].in(AppLanguage::english),
              QStringLiteral("Ovrel is a free app with Russian and English language support, plus light and dark "
                             "themes."));
}

TEST_F(AboutViewTest, SaysWhatTheProgramIsInTheStoredLanguage) {
    struct Row {
        AppLanguage language;
        QStringList lines; ///< above the paragraphs
    };
    const Row rows[] = {
        {AppLanguage::russian,
         {QStringLiteral("Ovrel"), QStringLiteral("Новая форма ваших изображений"), QStringLiteral("Версия 2.3")}},
        {AppLanguage::english,
         {QStringLiteral("Ovrel"), QStringLiteral("A fresh format for your images"), QStringLiteral("Version 2.3")}},
    };
    for (const Row& row : rows) {
        saveLanguage(preferences, row.language);
        const AboutView view(preferences);
        QStringList texts = row.lines;
        for (const TextPair& paragraph : aboutParagraphs)
            texts.append(paragraph.in(row.language));
        EXPECT_EQ(shownTexts(view), texts);
    }
}

TEST_F(AboutViewTest, ChangesItsLanguageWhileItIsOpen) {
    AboutWindow window(preferences);
    window.open();
    const QStringList russian = shownTexts(window);
    const int russianHeight = window.height();

    saveLanguage(preferences, AppLanguage::english);
    QApplication::processEvents();
    const QStringList english = shownTexts(window);
    ASSERT_EQ(english.size(), russian.size());
    for (qsizetype i = 1; i < english.size(); ++i)
        EXPECT_NE(english[i], russian[i]);
    EXPECT_LT(window.height(), russianHeight);

    saveLanguage(preferences, AppLanguage::russian);
    QApplication::processEvents();
    EXPECT_EQ(shownTexts(window), russian);
    EXPECT_EQ(window.height(), russianHeight);
}

TEST_F(AboutViewTest, ReadsTheVersionWhenItIsDrawn) {
    AboutView view(preferences);
    QCoreApplication::setApplicationVersion(QStringLiteral("2.4"));
    view.show();
    EXPECT_TRUE(shownTexts(view).contains(QStringLiteral("Версия 2.4")));
}

TEST_F(AboutViewTest, ShowsAnEmptyValueWithoutAVersion) {
    QCoreApplication::setApplicationVersion({});
    AboutView view(preferences);
    view.show();
    EXPECT_EQ(shownTexts(view).at(2), QStringLiteral("Версия "));
    saveLanguage(preferences, AppLanguage::english);
    EXPECT_EQ(shownTexts(view).at(2), QStringLiteral("Version "));
}

TEST_F(AboutViewTest, HasItsMeasures) {
    AboutView view(preferences);
    view.resize(540, view.heightForWidth(540));
    view.show();
    EXPECT_EQ(view.width(), 540);
    const QList<QWidget*> parts = view.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
    ASSERT_EQ(parts.size(), 9);
    int bottom = 30 - 18;
    for (const QWidget* const part :
         {parts[3], parts[0], parts[1], parts[2], parts[4], parts[5], parts[6], parts[7], parts[8]}) {
        EXPECT_EQ(part->y(), bottom + 18);
        bottom = part->geometry().bottom() + 1;
    }
    EXPECT_EQ(view.height(), bottom + 30);
    EXPECT_EQ(parts[3]->geometry(), QRect((540 - 76) / 2, 30, 76, 76));
    for (int i = 4; i < 9; ++i) {
        EXPECT_EQ(parts[i]->x(), 30);
        EXPECT_EQ(parts[i]->width(), 480);
    }
}

TEST_F(AboutViewTest, DrawsTheProgramsIconSharpAtEveryScale) {
    AboutView view(preferences);
    view.resize(540, view.heightForWidth(540));
    const double scale = 2.0;
    QImage picture(view.size() * scale, QImage::Format_RGB32);
    picture.setDevicePixelRatio(scale);
    view.render(&picture);
    const QRect place(QPoint((540 - 76), 60), QSize(152, 152));

    QImage icon(place.size(), QImage::Format_RGB32);
    icon.fill(view.palette().color(QPalette::Window));
    QPainter painter(&icon);
    drawApplicationIcon(painter, icon.rect());
    painter.end();
    EXPECT_EQ(picture.copy(place), icon);
}

TEST_F(AboutViewTest, FollowsTheTheme) {
    AboutView view(preferences);
    view.show();
    for (const ColorScheme scheme : {ColorScheme::dark, ColorScheme::light}) {
        applyTheme({scheme, true});
        QApplication::processEvents();
        EXPECT_EQ(view.grab().toImage().pixelColor(0, 0), colors(scheme).window);
        for (const QLabel* const label : view.findChildren<QLabel*>()) {
            const bool version = label->text().startsWith(QStringLiteral("Версия"));
            EXPECT_EQ(label->palette().color(label->foregroundRole()),
                      version ? colors(scheme).secondaryText : colors(scheme).text);
        }
    }
}

TEST_F(AboutViewTest, IsReadOutWhole) {
    AboutWindow window(preferences);
    saveLanguage(preferences, AppLanguage::english);
    window.open();
    QStringList spoken = spokenNames(window, QAccessible::Heading);
    EXPECT_EQ(spoken, QStringList{QStringLiteral("Ovrel")});
    spoken += spokenNames(window, QAccessible::StaticText);
    EXPECT_EQ(spoken, shownTexts(window));
}

TEST_F(AboutViewTest, FillsItsWindowAndScrollsOnlyWhereTheScreenIsTooSmall) {
    AboutWindow window(preferences);
    window.open();
    const QScrollArea& scroll = *window.findChild<QScrollArea*>();
    EXPECT_EQ(window.windowTitle(), QStringLiteral("Ovrel"));
    EXPECT_EQ(window.size(), scroll.widget()->size());
    EXPECT_EQ(window.size(), window.minimumSize());
    EXPECT_EQ(window.size(), window.maximumSize());

    QFont huge = QApplication::font();
    huge.setPointSizeF(huge.pointSizeF() * 3);
    QApplication::setFont(huge);
    const int available = window.screen()->availableGeometry().height();
    EXPECT_TRUE(QTest::qWaitFor([&] { return window.height() == available; }));
    EXPECT_EQ(scroll.widget()->height(), scroll.widget()->heightForWidth(540));
    EXPECT_EQ(scroll.viewport()->width(), 540);
    EXPECT_EQ(scroll.verticalScrollBar()->maximum(), scroll.widget()->height() - window.height());
    EXPECT_GT(scroll.verticalScrollBar()->maximum(), 0);
}

} // namespace

} // namespace ovrel::test
