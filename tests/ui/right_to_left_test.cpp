// Where text runs from right to left, the window is its own mirror image, but for names of files.

#include "tests/ui/controls.h"
#include "tests/ui/icon_search.h"
#include "tests/ui/layout_checks.h"
#include "tests/ui/looks.h"
#include "tests/ui/window_fixture.h"
#include "ui/folder_button.h"
#include "ui/switch.h"

#include <QComboBox>
#include <QGuiApplication>
#include <QListView>
#include <QPainter>
#include <QProgressBar>
#include <QSlider>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace ovrel::test {

namespace {

/// The direction of text as long as this lives.
class DirectionDuring {
public:
    explicit DirectionDuring(Qt::LayoutDirection wanted) : before_(QGuiApplication::layoutDirection()) {
        QGuiApplication::setLayoutDirection(wanted);
    }
    ~DirectionDuring() { QGuiApplication::setLayoutDirection(before_); }
    DirectionDuring(const DirectionDuring&) = delete;
    DirectionDuring& operator=(const DirectionDuring&) = delete;

private:
    Qt::LayoutDirection before_;
};

class RightToLeftTest : public testing::Test {
protected:
    RightToLeftTest() {
        fixture.show();
        fixture.window().setFocus(Qt::MouseFocusReason);
        pointAtNothing(fixture.window());
    }

    QAbstractButton& button(const char* name) { return control(fixture.window(), QString::fromUtf8(name)); }
    QListView& list() { return *fixture.window().findChild<QListView*>(); }
    QRect rowAt(int row) { return list().visualRect(list().model()->index(row, 0)); }

    const DirectionDuring direction{Qt::RightToLeft};
    WindowFixture fixture;
};

QImage mirrored(const QImage& image) {
    return image.mirrored(true, false);
}

/// The half of a control in which its text begins, and the other.
QImage leadingHalf(QWidget& control) {
    return pictureOf(control, {control.width() / 2, 0, control.width() - control.width() / 2, control.height()});
}
QImage trailingHalf(QWidget& control) {
    return pictureOf(control, {0, 0, control.width() / 2, control.height()});
}

TEST_F(RightToLeftTest, PutsTheListBeforeTheSettings) {
    fixture.prepare({"a.png"});
    settle();
    const QList<QWidget*> regions = visibleChildrenOf(fixture.content());
    ASSERT_EQ(regions.size(), 4);
    EXPECT_GT(regions[1]->x(), regions[2]->geometry().right());
    EXPECT_GT(placeOf(button("Ovrel")).left(), placeOf(button("English")).right());
    EXPECT_LT(placeOf(button("Convert to AVIF")).right(), placeOf(button("Open output folder")).left());
    EXPECT_LT(placeOf(button("Add")).right(), placeOf(button("Clear List")).left());
}

TEST_F(RightToLeftTest, TurnsWhatPointsAlongTheText) {
    fixture.prepare({"a.png"});
    settle();
    const auto pointing = [](Icon icon, int size, const QColor& color, const QColor& ground) {
        const DirectionDuring usual(Qt::LeftToRight);
        return mirrored(iconOn(ground, icon, size, color));
    };
    const QImage arrow = pointing(Icon::arrowRight, 17, colors().onAccent, colors().accentFill);
    EXPECT_TRUE(isPartOf(trailingHalf(button("Convert to AVIF")), arrow));
    EXPECT_FALSE(isPartOf(pictureOf(button("Convert to AVIF")), mirrored(arrow)));
    QWidget& folder = *fixture.window().findChild<FolderButton*>();
    const QImage chevron = pointing(Icon::chevronRight, 15, colors().secondaryText, colors().surface);
    EXPECT_TRUE(isPartOf(trailingHalf(folder), chevron));
    EXPECT_FALSE(isPartOf(pictureOf(folder), mirrored(chevron)));
    // What does not point stays as it is, on the other side.
    EXPECT_TRUE(isPartOf(leadingHalf(folder), iconOn(colors().accentTint, Icon::folderFilled, 20, colors().accent)));
    EXPECT_TRUE(
        isPartOf(leadingHalf(button("Open output folder")), iconOn(colors().surface, Icon::folder, 17, colors().text)));
    QWidget& choice = *fixture.window().findChild<QComboBox*>();
    EXPECT_TRUE(
        isPartOf(trailingHalf(choice), iconOn(colors().surface, Icon::chevronDown, 14, colors().secondaryText)));
    EXPECT_TRUE(holds(leadingHalf(choice), colors().text));
}

TEST_F(RightToLeftTest, LetsTheSliderGrowFromTheRight) {
    auto& slider = *fixture.window().findChild<QSlider*>();
    fixture.model().setQuality(30);
    const int middle = slider.height() / 2;
    const auto at = [&](double share) { return colorAt(slider, {qRound(slider.width() * share), middle}).name(); };
    EXPECT_EQ(at(0.1), colors().track.name());
    EXPECT_EQ(at(0.6), colors().track.name());
    EXPECT_EQ(at(0.8), colors().accent.name());
    EXPECT_EQ(at(0.95), colors().accent.name());
    EXPECT_EQ(at(0.7), colors().knob.name());
    QTest::mouseClick(&slider, Qt::LeftButton, {}, {12, middle});
    EXPECT_GE(fixture.model().quality(), 95);
    QTest::mouseClick(&slider, Qt::LeftButton, {}, {slider.width() - 12, middle});
    EXPECT_LE(fixture.model().quality(), 6);
}

TEST_F(RightToLeftTest, PutsTheSwitchOnItsOtherSide) {
    auto& onOff = *fixture.window().findChild<Switch*>();
    EXPECT_LT(onOff.track().right(), onOff.width() / 2);
    ASSERT_TRUE(onOff.isChecked());
    EXPECT_EQ(colorAt(onOff, onOff.track().topLeft() + QPoint(11, 11)).name(), colors().knob.name());
    EXPECT_EQ(colorAt(onOff, onOff.track().topRight() + QPoint(-10, 11)).name(), colors().accentFill.name());
    EXPECT_TRUE(holds(leadingHalf(onOff), colors().text));
}

TEST_F(RightToLeftTest, LetsProgressGrowFromTheRight) {
    fixture.prepare({"a.png", "b.png"});
    fixture.start();
    fixture.services.convert();
    fixture.services.awaitConversions(2);
    fixture.awaitCompleted(1);
    settle();
    auto& bar = *fixture.window().findChild<QProgressBar*>();
    const auto at = [&](double share) { return colorAt(bar, {qRound(bar.width() * share), bar.height() / 2}).name(); };
    EXPECT_EQ(at(0.1), colors().inset.name());
    EXPECT_EQ(at(0.4), colors().inset.name());
    EXPECT_EQ(at(0.6), colors().accent.name());
    EXPECT_EQ(at(0.9), colors().accent.name());
    fixture.services.convert();
    fixture.awaitIdle();

    QProgressBar other; // one of Qt's own
    other.setRange(0, 10);
    other.setValue(3);
    other.resize(100, 6);
    other.show();
    EXPECT_EQ(colorAt(other, {20, 3}).name(), colors().inset.name());
    EXPECT_EQ(colorAt(other, {90, 3}).name(), colors().accent.name());
}

TEST_F(RightToLeftTest, MirrorsTheRows) {
    fixture.prepare({"a.gif"});
    fixture.start();
    fixture.services.convert();
    fixture.awaitIdle();
    settle();
    const QRect row = rowAt(0);
    const QImage right = pictureOf(*list().viewport(), row.adjusted(row.width() - 40, 0, 0, 0));
    const QImage left = pictureOf(*list().viewport(), row.adjusted(0, 0, 40 - row.width(), 0));
    EXPECT_TRUE(isPartOf(right, iconOn(colors().violetTint, Icon::playRectangle, 18, colors().violet)));
    EXPECT_TRUE(isPartOf(left, iconOn(colors().surface, Icon::checkCircle, 20, colors().success)));
}

/// The smallest part of a picture that holds all that differs from its ground.
QImage inkOf(const QImage& picture, const QColor& ground) {
    QRect ink;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (!same(picture.pixelColor(x, y), ground)) {
                ink |= QRect(x, y, 1, 1);
            }
        }
    }
    return picture.copy(ink);
}

/// Names that a right-to-left paragraph would set in another order.
const std::vector<std::string> names{"!a.png", "(1) b.png", "c (2).png", "d...png", "שלום 1.png", "1 سلام.png"};

/// A name at the trailing end of its place, read from left to right.
QImage nameFromLeftToRight(const std::string& name) {
    QImage picture(400, 40, QImage::Format_RGB32);
    picture.fill(colors().surface);
    QPainter painter(&picture);
    painter.setLayoutDirection(Qt::LeftToRight);
    painter.setFont(fontOf(TextStyle::strong));
    painter.setPen(colors().text);
    painter.drawText(picture.rect(), Qt::AlignRight | Qt::TextSingleLine, QString::fromStdString(name));
    painter.end();
    return inkOf(picture, colors().surface);
}

TEST_F(RightToLeftTest, LeavesTheNamesOfFilesAsTheyAre) {
    fixture.list(names);
    fixture.window().setFocus(Qt::MouseFocusReason);
    settle();
    for (int row = 0; row < static_cast<int>(names.size()); ++row) {
        constexpr int tile = 45;
        const QImage drawn =
            inkOf(pictureOf(*list().viewport(), rowAt(row).adjusted(0, 0, -tile, 0)), colors().surface);
        const std::string& name = names[static_cast<std::size_t>(row)];
        EXPECT_EQ(drawn.convertToFormat(QImage::Format_RGB32), nameFromLeftToRight(name)) << name;
    }
}

TEST_F(RightToLeftTest, BeginsNamesAtTheTile) {
    fixture.list({"a.png"});
    settle();
    const QRect row = rowAt(0);
    constexpr int tile = 50;
    EXPECT_TRUE(
        holds(pictureOf(*list().viewport(), row.adjusted(row.width() - tile - 40, 0, -tile, 0)), colors().text));
    EXPECT_FALSE(holds(pictureOf(*list().viewport(), row.adjusted(0, 0, -row.width() / 2, 0)), colors().text));
}

TEST(RightToLeftLayout, CutsNothing) {
    const DirectionDuring direction(Qt::RightToLeft);
    for (const AppLanguage language : AppLanguage::allCases) {
        for (const WindowState& state : windowStates()) {
            for (const QSize size : {QSize(930, 690), QSize(1080, 780)}) {
                SCOPED_TRACE(std::string(state.name) + ", " + language.rawValue().toStdString() + ", " +
                             std::to_string(size.width()));
                WindowFixture fixture(language);
                fixture.window().resize(size);
                fixture.show();
                state.arrange(fixture);
                expectGoodLayout(fixture);
                EXPECT_EQ(fixture.window().size(), size);
            }
        }
    }
}

} // namespace

} // namespace ovrel::test
