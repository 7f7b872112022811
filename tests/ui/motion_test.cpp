// What moves where the desktop lets things move, and that nothing does where it does not. Movement goes on in the event
// loop alone, so that what is looked at before it turns is the beginning.

#include "tests/ui/controls.h"
#include "tests/ui/looks.h"
#include "tests/ui/window_fixture.h"
#include "ui/button.h"
#include "ui/decoration.h"
#include "ui/drop_zone.h"
#include "ui/hover_fade.h"
#include "ui/progress_bar.h"
#include "ui/switch.h"

#include <QApplication>
#include <QEnterEvent>
#include <QPainter>
#include <QProgressBar>

#include <gtest/gtest.h>

namespace ovrel::test {

namespace {

TEST(Motion, LastsAsLongAsDesigned) {
    EXPECT_EQ(motion::hover, 100);
    EXPECT_EQ(motion::drag, 150);
    EXPECT_EQ(motion::progress, 120);
    EXPECT_EQ(motion::spinnerTurn, 900);
    constexpr int longest = 150;
    for (const int once : {motion::hover, motion::drag, motion::progress}) {
        EXPECT_LE(once, longest);
    }
}

/// With animations and without.
class MotionTest : public testing::TestWithParam<bool> {
protected:
    MotionTest() {
        fixture.show();
        pointAtNothing(fixture.window());
    }

    static bool moves() { return GetParam(); }
    /// The pointer comes and goes; the event loop does not turn.
    static void enter(QWidget& widget) {
        QEnterEvent event({1, 1}, {1, 1}, {1, 1});
        QApplication::sendEvent(&widget, &event);
    }
    static void leave(QWidget& widget) {
        QEvent event(QEvent::Leave);
        QApplication::sendEvent(&widget, &event);
    }
    /// Does something that ends in another picture: slowly or at once.
    template <typename Change>
    static void expectChange(QWidget& widget, Change&& change) {
        const QImage before = pictureOf(widget);
        change();
        const QImage first = pictureOf(widget);
        EXPECT_EQ(first == before, moves());
        if (moves()) {
            waitUntil([&] { return pictureOf(widget) != before; });
        } else {
            settle();
            EXPECT_EQ(pictureOf(widget), first); // and that is that
        }
    }

    const ThemeDuring theme{{.scheme = ColorScheme::light, .animations = GetParam()}};
    WindowFixture fixture;
};

INSTANTIATE_TEST_SUITE_P(, MotionTest, testing::Bool(),
                         [](const auto& param) { return param.param ? "animated" : "still"; });

TEST_P(MotionTest, OfThePointersEffect) {
    fixture.prepare({"a.png"});
    settle();
    for (QAbstractButton* const button : fixture.window().findChildren<QAbstractButton*>()) {
        const auto* const fade = button->findChild<HoverFade*>(QString(), Qt::FindDirectChildrenOnly);
        if (fade == nullptr || !button->isVisible() || !button->isEnabled()) {
            continue;
        }
        SCOPED_TRACE(nameOf(*button).toStdString());
        EXPECT_EQ(fade->duration(), motion::hover);
        enter(*button);
        EXPECT_EQ(fade->state() == HoverFade::Running, moves());
        EXPECT_EQ(fade->value(), moves() ? 0 : 1);
        waitUntil([&] { return fade->value() == 1; });
        leave(*button);
        EXPECT_EQ(fade->state() == HoverFade::Running, moves());
        EXPECT_EQ(fade->value(), moves() ? 1 : 0);
        waitUntil([&] { return fade->value() == 0; });
    }
}

TEST_P(MotionTest, OfADragOverTheEmptyList) {
    QWidget& zone = *fixture.window().findChild<DropZone*>();
    const QPoint ground(40, 40);
    const auto isTinted = [&] { return same(colorAt(zone, ground), colors().accentTint); };
    fixture.model().setTargeted(true);
    EXPECT_EQ(isTinted(), !moves());
    waitUntil(isTinted);
    fixture.model().setTargeted(false);
    EXPECT_EQ(same(colorAt(zone, ground), colors().surface), !moves());
    waitUntil([&] { return same(colorAt(zone, ground), colors().surface); });
}

TEST_P(MotionTest, OfTheIconThatStraightens) {
    QWidget& zone = *fixture.window().findChild<DropZone*>();
    // Its outermost pixels, which a turn moves; of the accent on any ground.
    const auto shape = [&] {
        const QImage picture = pictureOf(zone);
        QRect all;
        for (int y = 0; y < picture.height() / 2; ++y) {
            for (int x = 20; x < picture.width() - 20; ++x) {
                if (y > 20 && same(picture.pixelColor(x, y), colors().accent)) {
                    all |= QRect(x, y, 1, 1);
                }
            }
        }
        return all;
    };
    const QRect turned = shape();
    fixture.model().setTargeted(true);
    EXPECT_EQ(shape() == turned, moves());
    waitUntil([&] { return shape() != turned; });
    fixture.model().setTargeted(false);
    waitUntil([&] { return shape() == turned; });
}

TEST_P(MotionTest, OfTheSwitch) {
    auto& onOff = *fixture.window().findChild<Switch*>();
    expectChange(onOff, [&] { onOff.setChecked(false); });
    const QPoint knob = onOff.track().topLeft() + QPoint(11, 11);
    waitUntil([&] { return same(colorAt(onOff, knob), colors().knob); });
}

TEST_P(MotionTest, OfTheProgress) {
    ProgressBar bar;
    bar.resize(200, 6);
    bar.show();
    bar.setCounters(0, 4);
    settle();
    expectChange(bar, [&] { bar.setCounters(2, 4); });
    waitUntil([&] { return same(colorAt(bar, {95, 3}), colors().accent); });
    EXPECT_TRUE(same(colorAt(bar, {105, 3}), colors().inset));
    // A new run begins at once, whatever moves.
    bar.setCounters(0, 4);
    EXPECT_FALSE(holds(pictureOf(bar), colors().accent));
}

TEST(Motion, LeavesASpinnerAsAnArc) {
    const ThemeDuring still({.scheme = ColorScheme::light, .animations = false});
    Spinner spinner(32);
    spinner.show();
    settle();
    QImage arc(spinner.size(), QImage::Format_RGB32);
    arc.fill(colors().window);
    QPainter painter(&arc);
    drawSpinner(painter, arc.rect(), 0);
    painter.end();
    EXPECT_EQ(pictureOf(spinner).convertToFormat(QImage::Format_RGB32), arc);
    settle();
    EXPECT_EQ(pictureOf(spinner).convertToFormat(QImage::Format_RGB32), arc);
}

TEST(Motion, LeavesTheSignOfABusyBarInItsMiddle) {
    const ThemeDuring still({.scheme = ColorScheme::light, .animations = false});
    QProgressBar bar;
    bar.setRange(0, 0);
    bar.resize(300, 6);
    bar.show();
    const auto expectToStandStill = [&] {
        EXPECT_TRUE(same(colorAt(bar, {150, 3}), colors().accent));
        EXPECT_TRUE(same(colorAt(bar, {110, 3}), colors().accent));
        EXPECT_TRUE(same(colorAt(bar, {190, 3}), colors().accent));
        EXPECT_TRUE(same(colorAt(bar, {90, 3}), colors().inset));
        EXPECT_TRUE(same(colorAt(bar, {210, 3}), colors().inset));
    };
    expectToStandStill();
    settle();
    expectToStandStill();
}

} // namespace

} // namespace ovrel::test
