#include "ui/tool_tip.h"

#include "tests/ui/controls.h"

#include <QLabel>
#include <QToolTip>

#include <gtest/gtest.h>

namespace ovrel::test {

namespace {

/// As Qt makes the label of a tool tip.
QSize sizeOf(const QString& toolTip) {
    QLabel label;
    label.setFont(QToolTip::font());
    label.setText(toolTip);
    label.setWordWrap(Qt::mightBeRichText(toolTip));
    return label.sizeHint();
}

int lineHeight() {
    return sizeOf(plainToolTip(QStringLiteral("n"))).height();
}

TEST(ToolTip, ShowsAShortTextInOneLine) {
    const QString path = QStringLiteral("/home/somebody/Pictures/2024/Spring/harbour.png");
    const QSize size = sizeOf(plainToolTip(path));
    EXPECT_EQ(size.height(), lineHeight());
    EXPECT_GE(size.width(), QFontMetrics(QToolTip::font()).horizontalAdvance(path));
}

TEST(ToolTip, BreaksALongTextIntoLinesThatAreEasyToRead) {
    const QString text = QStringLiteral("Every word of this has room somewhere. ").repeated(10);
    const QSize size = sizeOf(plainToolTip(text));
    EXPECT_GT(size.height(), 2 * lineHeight());
    EXPECT_GE(size.width(), 340);
    EXPECT_LE(size.width(), 400);
    EXPECT_EQ(plainTextOf(plainToolTip(text)), text.trimmed());
}

TEST(ToolTip, KeepsLinesAndSigns) {
    for (const QString& text : {QStringLiteral("a\nb"), QStringLiteral("<b>a</b> & b"), QStringLiteral("a   b")}) {
        EXPECT_EQ(plainTextOf(plainToolTip(text)), text);
    }
    EXPECT_GT(sizeOf(plainToolTip(QStringLiteral("a\nb"))).height(), lineHeight());
}

} // namespace

} // namespace ovrel::test
