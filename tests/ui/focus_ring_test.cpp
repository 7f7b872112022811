// Where the keyboard is can be seen in every window, by whoever uses the keyboard.

#include "ui/focus_ring.h"

#include "conversion/conversion_error.h"
#include "tests/ui/controls.h"
#include "tests/ui/looks.h"
#include "tests/ui/window_fixture.h"
#include "ui/about_window.h"
#include "ui/help_window.h"
#include "ui/segments.h"
#include "ui/switch.h"
#include "ui/wordmark_button.h"
#include "updates/update_panel_window.h"

#include <QApplication>
#include <QFocusFrame>
#include <QListView>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSlider>
#include <QStyleOptionSlider>
#include <QTest>

#include <gmock/gmock.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace ovrel::test {

namespace {

using testing::ElementsAre;

/// The ring that is seen in a window, or null.
QFocusFrame* ringIn(const QWidget& window) {
    for (QFocusFrame* const ring : window.findChildren<QFocusFrame*>()) {
        if (ring->isVisible()) {
            return ring;
        }
    }
    return nullptr;
}

/// What has the keyboard, as it is drawn: of segments all, of a switch its track.
QRect drawnShapeOf(const QWidget& focused) {
    if (const auto* const segments = qobject_cast<const Segments*>(focused.parentWidget())) {
        return placeOf(*segments);
    }
    const QRect place = placeOf(focused);
    if (qobject_cast<const WordmarkButton*>(&focused) != nullptr) {
        return place.adjusted(0, 2, 0, -2); // so that its ring stays off the text below
    }
    if (qobject_cast<const Switch*>(&focused) == nullptr) {
        return place;
    }
    QRect track(0, 0, 38, 22);
    track.moveCenter(place.center());
    track.moveRight(place.right() - 2);
    return track;
}

/// The ends of a switch are round, so that their line fades a little towards the outside.
bool isNear(const QColor& one, const QColor& other) {
    constexpr int little = 12;
    return std::abs(one.red() - other.red()) <= little && std::abs(one.green() - other.green()) <= little &&
           std::abs(one.blue() - other.blue()) <= little;
}

/// A line of 2 pixels, 2 pixels away from a shape, on each of its four sides.
void expectARingAround(const QRect& shape, const QImage& window) {
    constexpr int gap = 2;
    constexpr int width = 2;
    for (int distance = 1; distance <= gap + width + 1; ++distance) {
        const bool ring = distance > gap && distance <= gap + width;
        for (const QPoint pixel :
             {QPoint(shape.center().x(), shape.top() - distance), QPoint(shape.center().x(), shape.bottom() + distance),
              QPoint(shape.left() - distance, shape.center().y()),
              QPoint(shape.right() + distance, shape.center().y())}) {
            ASSERT_TRUE(window.rect().contains(pixel)) << pixel.x() << ", " << pixel.y();
            EXPECT_EQ(isNear(window.pixelColor(pixel), colors().accent), ring) << distance << " pixels away";
        }
    }
}

/// Along a vertical line through the knob of a slider: gap, line, gap, and the knob's own outline.
void expectARingAroundTheKnob(QSlider& slider) {
    constexpr int radius = 9;
    constexpr int ringDistance = 3;
    QStyleOptionSlider option;
    option.initFrom(&slider);
    option.minimum = slider.minimum();
    option.maximum = slider.maximum();
    option.sliderPosition = option.sliderValue = slider.value();
    option.upsideDown = slider.isRightToLeft();
    const QPoint middle(
        slider.style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, &slider).center().x(),
        slider.height() / 2);
    const auto share = [&](int distance) { // of the accent in a pixel, by the part in which it differs most
        const double ground = colors().surface.red();
        return (ground - colorAt(slider, middle - QPoint(0, distance)).red()) / (ground - colors().accent.red());
    };
    EXPECT_GT(share(radius + ringDistance), 0.7);
    EXPECT_LT(share(radius + 1), 0.3);
    EXPECT_GT(share(radius - 1), 0.7);
}

/// The outline of a row, within it.
void expectAnOutlinedRow(QListView& list, int row, bool outlined) {
    constexpr int gapBelow = 2;
    const QRect place = list.visualRect(list.model()->index(row, 0)).adjusted(0, 0, 0, -gapBelow);
    const QImage picture = pictureOf(*list.viewport(), place);
    const QPoint middle = picture.rect().center();
    for (const QPoint pixel : {QPoint(middle.x(), 0), QPoint(middle.x(), 1), QPoint(middle.x(), place.height() - 1),
                               QPoint(middle.x(), place.height() - 2), QPoint(0, middle.y()), QPoint(1, middle.y()),
                               QPoint(place.width() - 1, middle.y()), QPoint(place.width() - 2, middle.y())}) {
        EXPECT_EQ(same(picture.pixelColor(pixel), colors().accent), outlined) << pixel.x() << ", " << pixel.y();
    }
    EXPECT_FALSE(same(picture.pixelColor(middle.x(), 2), colors().accent));
}

/// Each control shows in its own way that it has the keyboard.
void expectFocusIsSeen(QWidget& focused) {
    if (auto* const slider = qobject_cast<QSlider*>(&focused)) {
        EXPECT_EQ(ringIn(*focused.window()), nullptr);
        expectARingAroundTheKnob(*slider);
    } else if (auto* const list = qobject_cast<QListView*>(&focused)) {
        EXPECT_EQ(ringIn(*focused.window()), nullptr);
        expectAnOutlinedRow(*list, list->currentIndex().row(), true);
    } else {
        const QFocusFrame* const ring = ringIn(*focused.window());
        ASSERT_NE(ring, nullptr);
        const QRect shape = drawnShapeOf(focused);
        EXPECT_TRUE(placeOf(*ring).contains(shape.adjusted(-4, -4, 4, 4)));
        expectARingAround(shape, focused.window()->grab().toImage());
    }
}

class FocusRingTest : public testing::Test {
protected:
    FocusRingTest() { fixture.show(); }

    QWidget& focused() { return *QApplication::focusWidget(); }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) { QTest::keyClick(&focused(), key, modifiers); }
    /// A list, a folder, a banner: whatever a window may offer to the keyboard.
    void fillTheWindow() {
        fixture.prepare({"a.png", "b.png"});
        fixture.model().setSelection({"/in/b.png"});
        fixture.answerBanner();
        settle();
    }
    /// Goes once around by Tab and does something at each stop.
    /// \return the names of the stops
    std::vector<std::string> goAround(const std::function<void(QWidget&)>& look) {
        std::vector<std::string> names;
        focusByKeyboard(control(fixture.window(), QStringLiteral("Ovrel")));
        do {
            names.push_back(nameOf(focused()).toStdString());
            SCOPED_TRACE(names.back());
            look(focused());
            press(Qt::Key_Tab);
        } while (nameOf(focused()) != QStringLiteral("Ovrel") && names.size() < 50);
        return names;
    }

    FocusRing ring{nullptr};
    WindowFixture fixture;
};

TEST_F(FocusRingTest, IsSeenAroundEveryControlThatTabComesTo) {
    fillTheWindow();
    for (const ColorScheme scheme : {ColorScheme::light, ColorScheme::dark}) {
        const ThemeDuring of({.scheme = scheme, .animations = false});
        EXPECT_THAT(goAround(expectFocusIsSeen),
                    ElementsAre("Ovrel", "English", "Clear List", "Add", "Images", "Remove Selected", "Image quality",
                                "Optimized", "Compression", "out", "Include subfolders", "Open output folder",
                                "Convert to AVIF", "Walks"));
    }
}

TEST_F(FocusRingTest, IsSeenInAnEmptyWindowAndDuringARun) {
    EXPECT_THAT(goAround(expectFocusIsSeen),
                ElementsAre("Ovrel", "English", "Choose Files…", "Choose Folder…", "Image quality", "Optimized",
                            "Compression", "Choose a folder", "Include subfolders"));
    fixture.prepare({"a.png"});
    fixture.start();
    settle();
    EXPECT_THAT(goAround(expectFocusIsSeen), ElementsAre("Ovrel", "English", "Images", "Open output folder", "Stop"));
    fixture.services.convert();
    fixture.awaitIdle();
}

TEST_F(FocusRingTest, FitsIntoTheSmallestWindow) {
    fillTheWindow();
    fixture.window().resize(930, 690);
    settle();
    EXPECT_EQ(goAround(expectFocusIsSeen).size(), 14U);
}

TEST_F(FocusRingTest, IsNotSeenByWhoeverUsesTheMouse) {
    fillTheWindow();
    pointAtNothing(fixture.window());
    std::vector<QWidget*> stops;
    goAround([&](QWidget& stop) { stops.push_back(&stop); });
    useTheMouse();
    fixture.window().setFocus(Qt::MouseFocusReason);
    const QImage without = fixture.window().grab().toImage();
    for (QWidget* const stop : stops) {
        SCOPED_TRACE(nameOf(*stop).toStdString());
        focusByKeyboard(*stop);
        EXPECT_NE(fixture.window().grab().toImage(), without);
        useTheMouse(); // which may be on what has the keyboard already
        EXPECT_EQ(QApplication::focusWidget(), stop);
        EXPECT_EQ(ringIn(fixture.window()), nullptr);
        EXPECT_EQ(fixture.window().grab().toImage(), without);
    }
}

// Qt moves the keyboard by itself when what has it is hidden or disabled.
TEST_F(FocusRingTest, IsNotSeenAfterAnythingThatTheMouseBringsAbout) {
    fixture.prepare({"a.png", "b.png"});
    settle();
    auto& list = *fixture.window().findChild<QListView*>();
    expectAnOutlinedRow(list, 0, false);
    click(fixture.window(), QStringLiteral("Convert to AVIF"));
    fixture.services.convert();
    fixture.services.convert();
    fixture.awaitIdle();
    settle();
    EXPECT_EQ(ringIn(fixture.window()), nullptr);
    expectAnOutlinedRow(list, 0, false);
    click(fixture.window(), QStringLiteral("Clear List"));
    settle();
    EXPECT_NE(QApplication::focusWidget(), nullptr);
    EXPECT_EQ(ringIn(fixture.window()), nullptr);
}

TEST_F(FocusRingTest, GoesWithAClickIntoWhatHasTheKeyboard) {
    fixture.prepare({"a.png", "b.png"});
    settle();
    auto& list = *fixture.window().findChild<QListView*>();
    focusByKeyboard(list);
    press(Qt::Key_Down);
    const int row = list.currentIndex().row();
    expectAnOutlinedRow(list, row, true);
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualRect(list.currentIndex()).center());
    expectAnOutlinedRow(list, row, false);
}

TEST_F(FocusRingTest, GoesWithAClickAndComesBackWithAKey) {
    fillTheWindow();
    auto& list = *fixture.window().findChild<QListView*>();
    focusByKeyboard(list);
    press(Qt::Key_Down);
    const int row = list.currentIndex().row();
    expectAnOutlinedRow(list, row, true);
    click(fixture.window(), QStringLiteral("System"));
    EXPECT_EQ(ringIn(fixture.window()), nullptr);
    press(Qt::Key_Left);
    EXPECT_EQ(nameOf(focused()), QStringLiteral("Optimized"));
    expectFocusIsSeen(focused());

    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualRect(list.model()->index(0, 0)).center());
    EXPECT_EQ(QApplication::focusWidget(), &list);
    EXPECT_EQ(ringIn(fixture.window()), nullptr);
    expectAnOutlinedRow(list, 0, false);
    press(Qt::Key_Down);
    expectAnOutlinedRow(list, 1, true);
    expectAnOutlinedRow(list, 0, false);
}

TEST_F(FocusRingTest, GoesWithWhatItIsAround) {
    fillTheWindow();
    focusByKeyboard(control(fixture.window(), QStringLiteral("Remove Selected")));
    EXPECT_NE(ringIn(fixture.window()), nullptr);
    press(Qt::Key_Space); // disables the button
    settle();
    EXPECT_NE(QApplication::focusWidget(), nullptr);
    expectFocusIsSeen(focused());
}

TEST_F(FocusRingTest, StaysWhenTheThemeChanges) {
    fillTheWindow();
    for (const char* const name : {"Ovrel", "Add", "Optimized", "Include subfolders"}) {
        SCOPED_TRACE(name);
        focusByKeyboard(control(fixture.window(), QString::fromUtf8(name)));
        const ThemeDuring dark({.scheme = ColorScheme::dark, .animations = false});
        expectFocusIsSeen(focused());
    }
}

TEST_F(FocusRingTest, FollowsTheKeyboardFromWindowToWindow) {
    press(Qt::Key_Tab);
    EXPECT_EQ(nameOf(focused()), QStringLiteral("Choose Folder…"));
    EXPECT_NE(ringIn(fixture.window()), nullptr);
    fixture.model().setError(std::make_exception_ptr(ConversionError("Беда", "Trouble")));
    settle();
    QMessageBox& alert = *fixture.window().findChild<QMessageBox*>();
    waitUntil([&] { return alert.isActiveWindow(); });
    EXPECT_EQ(nameOf(focused()), QStringLiteral("OK"));
    EXPECT_EQ(focused().window(), &alert);
    expectFocusIsSeen(focused());
    press(Qt::Key_Space);
    fixture.window().activateWindow(); // as desktops do
    waitUntil([this] { return fixture.window().isActiveWindow(); });
    settle();
    EXPECT_EQ(nameOf(focused()), QStringLiteral("Choose Folder…"));
    expectFocusIsSeen(focused());
}

TEST_F(FocusRingTest, IsSeenAroundEveryButtonOfTheUpdatePanel) {
    UpdateManager& manager = fixture.services.updates.manager();
    manager.setPanelFactory(updatePanelFactory());
    manager.showUpdateFoundWithAppcastItem(installableItem(), {}, fixture.services.updates.reply());
    settle();
    QWidget* panel = nullptr;
    for (QWidget* const window : QApplication::topLevelWidgets()) {
        panel = qobject_cast<UpdatePanelWindow*>(window) != nullptr ? window : panel;
    }
    ASSERT_NE(panel, nullptr);
    waitUntil([&] { return panel->isActiveWindow(); });
    std::vector<std::string> buttons;
    for (int stop = 0; stop < 8; ++stop) {
        press(Qt::Key_Tab);
        if (qobject_cast<QPushButton*>(&focused()) != nullptr) {
            buttons.push_back(nameOf(focused()).toStdString());
            SCOPED_TRACE(buttons.back());
            expectFocusIsSeen(focused());
        }
    }
    EXPECT_THAT(buttons, testing::IsSupersetOf({"Install Update", "Later", "Skip This Version"}));
}

// Their only stop is the text, which fills the window; what the keyboard does there is scroll it.
TEST_F(FocusRingTest, IsNotNeededWhereThereIsOnlyTextToScroll) {
    HelpWindow help(*fixture.services.preferences);
    AboutWindow about(*fixture.services.preferences);
    for (SideWindow* const window : {static_cast<SideWindow*>(&help), static_cast<SideWindow*>(&about)}) {
        SCOPED_TRACE(window->metaObject()->className());
        window->open();
        waitUntil([&] { return window->isActiveWindow(); });
        QWidget* const first = QApplication::focusWidget();
        ASSERT_NE(first, nullptr);
        EXPECT_NE(qobject_cast<QScrollArea*>(first), nullptr);
        QTest::keyClick(first, Qt::Key_Tab);
        EXPECT_EQ(QApplication::focusWidget(), first);
        EXPECT_EQ(ringIn(*window), nullptr);
    }
    const QScrollBar& bar = *help.findChild<QScrollArea*>()->verticalScrollBar();
    help.activateWindow();
    waitUntil([&] { return help.isActiveWindow(); });
    QTest::keyClick(&focused(), Qt::Key_PageDown);
    EXPECT_GT(bar.value(), 0);
}

} // namespace

} // namespace ovrel::test
