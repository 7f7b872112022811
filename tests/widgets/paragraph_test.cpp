#include "widgets/paragraph.h"

#include <QAccessible>
#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include <memory>

namespace ovrel::test {

namespace {

constexpr int width = 200;

/// Black on white, in a font whose lines have a known height.
void prepare(Paragraph& paragraph) {
    QPalette palette;
    palette.setColor(QPalette::Window, Qt::white);
    palette.setColor(QPalette::WindowText, Qt::black);
    paragraph.setPalette(palette);
}

int lineHeightOf(const Paragraph& paragraph) {
    return paragraph.fontMetrics().height();
}

/// The part of the picture in which something is drawn.
QRect inkOf(Paragraph& paragraph) {
    const QImage picture = paragraph.grab().toImage().convertToFormat(QImage::Format_Grayscale8);
    QRect ink;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (qGray(picture.pixel(x, y)) < 128) {
                ink |= QRect(x, y, 1, 1);
            }
        }
    }
    return ink;
}

TEST(Paragraph, IsAsHighAsItsLines) {
    struct Row {
        const char* what;
        QString text;
        int lines;
    };
    const Row rows[] = {
        {"nothing", {}, 0},
        {"a word", QStringLiteral("word"), 1},
        {"two lines", QStringLiteral("a\nb"), 2},
        {"an empty line between two", QStringLiteral("a\n\nb"), 3},
        {"what looks like a tag", QStringLiteral("<br><br><br>"), 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Paragraph paragraph;
        paragraph.setText(row.text);
        EXPECT_EQ(paragraph.heightForWidth(width), row.lines * lineHeightOf(paragraph));
    }
}

TEST(Paragraph, KnowsHowHighItsFirstWholeLinesAre) {
    Paragraph paragraph;
    paragraph.setText(QStringLiteral("a\nb\nc"));
    paragraph.setContentsMargins(0, 3, 0, 4);
    const int line = lineHeightOf(paragraph);
    EXPECT_EQ(paragraph.heightOfWholeLines(width, 3 * line + 7), 3 * line + 7);
    EXPECT_EQ(paragraph.heightOfWholeLines(width, 3 * line + 6), 2 * line + 7);
    EXPECT_EQ(paragraph.heightOfWholeLines(width, 1000), 3 * line + 7);
    EXPECT_EQ(paragraph.heightOfWholeLines(width, 0), 7);
}

TEST(Paragraph, GoesOnInTheNextLineInsideOfAWordThatIsTooWide) {
    for (const QString& text : {QString(200, u'W'), QStringLiteral("a ").repeated(200)}) {
        Paragraph paragraph;
        prepare(paragraph);
        paragraph.setText(text);
        const int height = paragraph.heightForWidth(width);
        EXPECT_GT(height, 2 * lineHeightOf(paragraph));
        EXPECT_LT(paragraph.heightForWidth(2 * width), height);

        paragraph.resize(width + 100, height);
        paragraph.setContentsMargins(0, 0, 100, 0);
        const QRect ink = inkOf(paragraph);
        EXPECT_LE(ink.right(), width);
        EXPECT_GT(ink.bottom(), height - lineHeightOf(paragraph));
    }
}

TEST(Paragraph, SpreadsItsLines) {
    Paragraph paragraph;
    paragraph.setText(QStringLiteral("a\nb\nc\nd"));
    const int usual = paragraph.heightForWidth(width);
    paragraph.setLineHeight(1.5);
    EXPECT_NEAR(paragraph.heightForWidth(width), usual * 1.5, 2.0);
}

TEST(Paragraph, KeepsItsMarginsFree) {
    Paragraph paragraph;
    prepare(paragraph);
    paragraph.setText(QString(200, u'W'));
    const int bare = paragraph.heightForWidth(width);
    paragraph.setContentsMargins(10, 20, 30, 40);
    EXPECT_EQ(paragraph.heightForWidth(width + 40), bare + 60);

    paragraph.resize(width + 40, bare + 60);
    EXPECT_TRUE(QRect(10, 20, width, bare).contains(inkOf(paragraph)));
}

TEST(Paragraph, FollowsItsFont) {
    Paragraph paragraph;
    paragraph.setText(QStringLiteral("one two three four five six seven"));
    const int usual = paragraph.heightForWidth(width);
    QFont larger = paragraph.font();
    larger.setPointSizeF(larger.pointSizeF() * 2);
    paragraph.setFont(larger);
    EXPECT_GE(paragraph.heightForWidth(width), 2 * usual);
}

TEST(Paragraph, StandsWhereItsAlignmentSays) {
    struct Row {
        const char* what;
        Qt::Alignment alignment;
        Qt::LayoutDirection direction;
        int centre; ///< of what is drawn
    };
    const Row rows[] = {
        {"leading", Qt::AlignLeft, Qt::LeftToRight, 10},
        {"leading from right to left", Qt::AlignLeft, Qt::RightToLeft, width - 10},
        {"centred", Qt::AlignHCenter, Qt::LeftToRight, width / 2},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Paragraph paragraph;
        prepare(paragraph);
        paragraph.setText(QStringLiteral("n"));
        paragraph.setAlignment(row.alignment);
        paragraph.setLayoutDirection(row.direction);
        paragraph.resize(width, paragraph.heightForWidth(width));
        EXPECT_NEAR(inkOf(paragraph).center().x(), row.centre, 10);
    }
}

TEST(Paragraph, IsReadOutAsWhatItIs) {
    struct Row {
        Paragraph::Role role;
        QAccessible::Role spoken;
    };
    const Row rows[] = {
        {Paragraph::Role::text, QAccessible::StaticText},
        {Paragraph::Role::heading, QAccessible::Heading},
    };
    for (const Row& row : rows) {
        Paragraph paragraph(row.role);
        paragraph.setText(QStringLiteral("What it says"));
        QAccessibleInterface* const spoken = QAccessible::queryAccessibleInterface(&paragraph);
        ASSERT_NE(spoken, nullptr);
        EXPECT_EQ(spoken->role(), row.spoken);
        EXPECT_EQ(spoken->text(QAccessible::Name), QStringLiteral("What it says"));
        paragraph.setText(QStringLiteral("Something else"));
        EXPECT_EQ(spoken->text(QAccessible::Name), QStringLiteral("Something else"));
    }
}

} // namespace

} // namespace ovrel::test
