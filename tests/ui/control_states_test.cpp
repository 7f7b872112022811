// What the pointer and the program do to a control, as it is seen: the colors of the design in both schemes.

#include "tests/ui/controls.h"
#include "tests/ui/looks.h"
#include "tests/ui/window_fixture.h"
#include "ui/folder_button.h"
#include "ui/switch.h"

#include <QComboBox>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QSlider>
#include <QTest>

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ovrel::test {

namespace {

using Token = QColor Colors::*;

constexpr ColorScheme schemes[] = {ColorScheme::light, ColorScheme::dark};

std::string nameOf(ColorScheme scheme) {
    return scheme == ColorScheme::dark ? "dark" : "light";
}

/// Where nothing stands: no text, no icon, no round corner.
QPoint beside(const QWidget& control) {
    return {6, control.height() / 2};
}

/// The straight part of the upper edge.
QPoint upperEdge(const QWidget& control) {
    return {control.width() / 2, 0};
}

/// How a control looks in one state. Null where there is nothing of its own.
struct Look {
    Token fill;
    Token border;
    Token text;
    Token absent = nullptr; ///< what text and icons have in other states
};

void expectLook(QWidget& control, const Look& look, const char* state) {
    SCOPED_TRACE(state);
    if (look.fill != nullptr) {
        EXPECT_EQ(colorAt(control, beside(control)).name(), (colors().*look.fill).name());
    }
    if (look.border != nullptr) {
        EXPECT_EQ(colorAt(control, upperEdge(control)).name(), (colors().*look.border).name());
    }
    if (look.text != nullptr) {
        EXPECT_TRUE(holds(pictureOf(control), colors().*look.text)) << (colors().*look.text).name().toStdString();
    }
    if (look.absent != nullptr) {
        EXPECT_FALSE(holds(pictureOf(control), colors().*look.absent)) << (colors().*look.absent).name().toStdString();
    }
}

class ControlStatesTest : public testing::TestWithParam<ColorScheme> {
protected:
    ControlStatesTest() {
        fixture.show();
        pointAtNothing(fixture.window());
    }

    void fillTheWindow() {
        fixture.prepare({"a.png", "b.gif", "c.avif", "d.png"});
        settle();
    }
    void startARun() {
        fillTheWindow();
        fixture.model().setSelection({"/in/a.png"});
        fixture.start();
        settle();
    }
    void endTheRun() {
        fixture.model().setCancelled(true);
        fixture.services.convert();
        fixture.awaitIdle();
    }
    template <typename Control = QAbstractButton>
    Control& find(const char* name) {
        return control<Control>(fixture.window(), QString::fromUtf8(name));
    }
    /// Untouched, under the pointer, held down, and untouched again.
    void expectLooks(QWidget& control, const Look& usual, const Look& hovered, const Look& pressed) {
        expectLook(control, usual, "untouched");
        pointAt(control);
        expectLook(control, hovered, "under the pointer");
        QTest::mousePress(&control, Qt::LeftButton);
        expectLook(control, pressed, "held down");
        // Let go of elsewhere, nothing happens.
        constexpr QPoint elsewhere(-9, -9);
        QTest::mouseMove(&control, elsewhere);
        QTest::mouseRelease(&control, Qt::LeftButton, {}, elsewhere);
        pointAtNothing(fixture.window());
        expectLook(control, usual, "left again");
    }

    const ThemeDuring scheme{{.scheme = GetParam(), .animations = false}};
    WindowFixture fixture;
};

INSTANTIATE_TEST_SUITE_P(, ControlStatesTest, testing::ValuesIn(schemes),
                         [](const auto& param) { return nameOf(param.param); });

TEST_P(ControlStatesTest, OfThePrimaryButton) {
    fillTheWindow();
    expectLooks(find("Convert to AVIF"), {&Colors::accentFill, nullptr, &Colors::onAccent},
                {&Colors::accentHover, nullptr, &Colors::onAccent}, {&Colors::accentPress, nullptr, &Colors::onAccent});
    fixture.model().setOutput({});
    expectLook(find("Convert to AVIF"), {&Colors::disabledFill, nullptr, &Colors::disabled, &Colors::text}, "disabled");
}

TEST_P(ControlStatesTest, OfASecondaryButton) {
    fillTheWindow();
    expectLooks(find("Open output folder"), {&Colors::surface, &Colors::controlBorder, &Colors::text},
                {&Colors::hover, &Colors::controlBorder, &Colors::text},
                {&Colors::inset, &Colors::controlBorder, &Colors::text});
    find("Open output folder").setEnabled(false);
    expectLook(find("Open output folder"), {&Colors::surface, &Colors::border, &Colors::disabled, &Colors::text},
               "disabled");
}

TEST_P(ControlStatesTest, OfTheTonalButton) {
    fillTheWindow();
    QAbstractButton& add = find("Add");
    expectLook(add, {&Colors::accentTint, nullptr, &Colors::accentText}, "untouched");
    pointAt(add);
    expectLook(add, {&Colors::selection, nullptr, &Colors::accentText}, "under the pointer");
    add.setDown(true); // a click opens the menu and waits for it
    expectLook(add, {&Colors::selectionBorder, nullptr, &Colors::accentText}, "held down");
    add.setDown(false);
    fixture.start();
    expectLook(add, {&Colors::disabledFill, nullptr, &Colors::disabled, &Colors::text}, "disabled");
    endTheRun();
}

TEST_P(ControlStatesTest, OfAFlatButton) {
    fillTheWindow();
    expectLooks(find("Clear List"), {&Colors::surface, nullptr, &Colors::text},
                {&Colors::hover, nullptr, &Colors::text}, {&Colors::inset, nullptr, &Colors::text});
    fixture.start();
    expectLook(find("Clear List"), {&Colors::surface, nullptr, &Colors::disabled, &Colors::text}, "disabled");
    endTheRun();
}

TEST_P(ControlStatesTest, OfTheButtonThatRemoves) {
    fillTheWindow();
    expectLook(find("Remove Selected"), {&Colors::surface, nullptr, &Colors::disabled, &Colors::text}, "disabled");
    fixture.model().setSelection({"/in/a.png"});
    expectLooks(find("Remove Selected"), {&Colors::surface, nullptr, &Colors::text},
                {&Colors::hover, nullptr, &Colors::danger, &Colors::text},
                {&Colors::inset, nullptr, &Colors::danger, &Colors::text});
}

TEST_P(ControlStatesTest, OfTheButtonThatStops) {
    startARun();
    expectLooks(find("Stop"), {&Colors::surface, &Colors::danger, &Colors::danger},
                {&Colors::dangerTint, &Colors::danger, &Colors::danger},
                {&Colors::dangerTint, &Colors::danger, &Colors::danger});
    click(find("Stop"));
    settle(); // the longer text takes its room
    expectLook(find("Stopping…"), {&Colors::disabledFill, nullptr, &Colors::disabled, &Colors::danger},
               "asked to stop");
    endTheRun();
}

TEST_P(ControlStatesTest, OfTheNameThatOpensTheMenu) {
    QMenu menu;
    fixture.content().setMenu(&menu);
    settle();
    QAbstractButton& name = find("Ovrel");
    const auto ground = [&] { return colorAt(name, {2, name.height() / 2}).name(); };
    EXPECT_EQ(ground(), colors().surface.name());
    pointAt(name);
    EXPECT_EQ(ground(), colors().hover.name());
    name.setDown(true);
    EXPECT_EQ(ground(), colors().inset.name());
    EXPECT_TRUE(holds(pictureOf(name), colors().text));
    fixture.content().setMenu(nullptr);
}

TEST_P(ControlStatesTest, OfTheFolder) {
    auto& folder = *fixture.window().findChild<FolderButton*>();
    expectLooks(folder, {&Colors::surface, &Colors::controlBorder, &Colors::text},
                {&Colors::hover, &Colors::controlBorder, &Colors::text},
                {&Colors::inset, &Colors::controlBorder, &Colors::text});
    constexpr QPoint tile(13, 27);
    EXPECT_EQ(colorAt(folder, tile).name(), colors().accentTint.name());
    EXPECT_TRUE(holds(pictureOf(folder), colors().secondaryText));
    startARun();
    expectLook(folder, {&Colors::surface, &Colors::border, &Colors::disabled, &Colors::text}, "disabled");
    EXPECT_EQ(colorAt(folder, tile).name(), colors().disabledFill.name());
    EXPECT_FALSE(holds(pictureOf(folder), colors().accent));
    EXPECT_FALSE(holds(pictureOf(folder), colors().secondaryText));
    endTheRun();
}

TEST_P(ControlStatesTest, OfSegments) {
    QAbstractButton& chosen = find("Optimized");
    QAbstractButton& other = find("System");
    QWidget& group = *chosen.parentWidget();
    const auto track = [&] { return colorAt(group, {group.width() / 2, 1}).name(); };
    EXPECT_EQ(track(), colors().inset.name());
    expectLook(chosen, {&Colors::segmentSelected, &Colors::controlBorder, &Colors::text}, "chosen");
    expectLook(other, {&Colors::inset, nullptr, &Colors::secondaryText}, "not chosen");
    EXPECT_FALSE(holds(pictureOf(other), colors().text));
    pointAt(other);
    expectLook(other, {&Colors::inset, nullptr, &Colors::text}, "not chosen, under the pointer");
    pointAtNothing(fixture.window());
    EXPECT_FALSE(holds(pictureOf(other), colors().text));
    click(other);
    expectLook(other, {&Colors::segmentSelected, &Colors::controlBorder, &Colors::text}, "now chosen");
    expectLook(chosen, {&Colors::inset, nullptr, &Colors::secondaryText}, "no longer chosen");
    click(chosen);
    startARun();
    expectLook(chosen, {&Colors::segmentSelectedDisabled, &Colors::border, &Colors::disabled}, "disabled, chosen");
    expectLook(other, {&Colors::inset, nullptr, &Colors::disabled, &Colors::text}, "disabled");
    endTheRun();
}

TEST_P(ControlStatesTest, OfAChoice) {
    auto& choice = *fixture.window().findChild<QComboBox*>();
    expectLook(choice, {&Colors::surface, &Colors::controlBorder, &Colors::text}, "untouched");
    EXPECT_TRUE(holds(pictureOf(choice, {choice.width() - 30, 0, 30, choice.height()}), colors().secondaryText));
    pointAt(choice);
    expectLook(choice, {&Colors::hover, &Colors::controlBorder, &Colors::text}, "under the pointer");
    pointAtNothing(fixture.window());
    startARun();
    expectLook(choice, {&Colors::surface, &Colors::border, &Colors::disabled, &Colors::text}, "disabled");
    EXPECT_FALSE(holds(pictureOf(choice), colors().secondaryText));
    EXPECT_FALSE(holds(pictureOf(choice), colors().text));
    endTheRun();
}

TEST_P(ControlStatesTest, OfASwitch) {
    auto& onOff = *fixture.window().findChild<Switch*>();
    const QRect track = onOff.track();
    const QPoint left = track.topLeft() + QPoint(11, 11);
    const QPoint right = track.topRight() + QPoint(-10, 11);
    const auto expectTrack = [&](bool on, Token fill, Token knob) {
        EXPECT_EQ(colorAt(onOff, on ? left : right).name(), (colors().*fill).name());
        EXPECT_EQ(colorAt(onOff, on ? right : left).name(), (colors().*knob).name());
    };
    const auto press = [&] {
        fixture.services.scans->succeed({});
        click(onOff);
        fixture.awaitIdle(); // the folders are read anew
    };
    ASSERT_TRUE(onOff.isChecked());
    expectTrack(true, &Colors::accentFill, &Colors::knob);
    EXPECT_TRUE(holds(pictureOf(onOff), colors().text));
    press();
    expectTrack(false, &Colors::controlBorder, &Colors::knob);
    startARun();
    expectTrack(false, &Colors::inset, &Colors::disabled);
    EXPECT_TRUE(holds(pictureOf(onOff), colors().disabled));
    EXPECT_FALSE(holds(pictureOf(onOff), colors().text));
    endTheRun();
    press();
    startARun();
    expectTrack(true, &Colors::inset, &Colors::disabled);
    endTheRun();
}

TEST_P(ControlStatesTest, OfTheSlider) {
    auto& slider = *fixture.window().findChild<QSlider*>();
    const int middle = slider.height() / 2;
    const QPoint filled(20, middle);
    const QPoint groove(slider.width() - 20, middle);
    // The least value's knob is at the left end, the greatest at the right one.
    const QPoint knob(slider.width() * slider.value() / 100, middle);
    EXPECT_EQ(colorAt(slider, filled).name(), colors().accent.name());
    EXPECT_EQ(colorAt(slider, groove).name(), colors().track.name());
    EXPECT_EQ(colorAt(slider, knob).name(), colors().knob.name());
    pointAt(slider, knob);
    EXPECT_EQ(colorAt(slider, knob).name(), colors().accentTint.name());
    pointAtNothing(fixture.window());
    EXPECT_EQ(colorAt(slider, knob).name(), colors().knob.name());
    startARun();
    EXPECT_EQ(colorAt(slider, filled).name(), colors().disabled.name());
    EXPECT_EQ(colorAt(slider, groove).name(), colors().disabledFill.name());
    EXPECT_EQ(colorAt(slider, knob).name(), colors().surface.name());
    EXPECT_FALSE(holds(pictureOf(slider), colors().accent));
    endTheRun();
}

TEST_P(ControlStatesTest, OfTheOutputCard) {
    const QLabel& format = find<QLabel>("AVIF");
    QWidget& card = *format.parentWidget();
    EXPECT_EQ(colorAt(card, beside(card)).name(), colors().accentTint.name());
    startARun();
    EXPECT_EQ(colorAt(card, beside(card)).name(), colors().disabledFill.name());
    for (const Token lively : {&Colors::text, &Colors::secondaryText, &Colors::accentText, &Colors::accentFill}) {
        EXPECT_FALSE(holds(pictureOf(card), colors().*lively)) << (colors().*lively).name().toStdString();
    }
    endTheRun();
}

/// Rows of the list, whose ground has more states than any button's.
class RowStatesTest : public ControlStatesTest {
protected:
    RowStatesTest() {
        fillTheWindow();
        fixture.window().setFocus(Qt::MouseFocusReason);
    }

    QListView& list() { return *fixture.window().findChild<QListView*>(); }
    QRect rowAt(int row) { return list().visualRect(list().model()->index(row, 0)); }
    QColor ground(int row) { return colorAt(*list().viewport(), rowAt(row).center()); }
    QColor outline(int row) { return colorAt(*list().viewport(), {rowAt(row).center().x(), rowAt(row).top()}); }
    QColor tile(int row) { return colorAt(*list().viewport(), rowAt(row).topLeft() + QPoint(10, 22)); }
};

INSTANTIATE_TEST_SUITE_P(, RowStatesTest, testing::ValuesIn(schemes),
                         [](const auto& param) { return nameOf(param.param); });

TEST_P(RowStatesTest, AreUntouchedAndUnderThePointer) {
    EXPECT_EQ(ground(0).name(), colors().surface.name());
    pointAt(*list().viewport(), rowAt(0).center());
    EXPECT_EQ(ground(0).name(), colors().hover.name());
    EXPECT_EQ(ground(1).name(), colors().surface.name());
    pointAt(*list().viewport(), rowAt(1).center());
    EXPECT_EQ(ground(0).name(), colors().surface.name());
    EXPECT_EQ(ground(1).name(), colors().hover.name());
    pointAtNothing(fixture.window());
    EXPECT_EQ(ground(1).name(), colors().surface.name());
}

TEST_P(RowStatesTest, AreSelectedWhereverTheKeyboardIsInTheWindow) {
    EXPECT_EQ(tile(0).name(), colors().photoTile.name());
    fixture.model().setSelection({"/in/a.png", "/in/b.gif", "/in/c.avif"});
    for (QWidget* const place : {static_cast<QWidget*>(&list()), static_cast<QWidget*>(&find("Clear List"))}) {
        place->setFocus(Qt::MouseFocusReason);
        for (const int row : {0, 1, 2}) {
            EXPECT_EQ(ground(row).name(), colors().selection.name());
            EXPECT_EQ(outline(row).name(), colors().selectionBorder.name());
            EXPECT_EQ(tile(row).name(), colors().surface.name());
        }
        EXPECT_EQ(ground(3).name(), colors().surface.name());
    }
    pointAt(*list().viewport(), rowAt(0).center());
    EXPECT_EQ(ground(0).name(), colors().selection.name());
}

TEST_P(RowStatesTest, AreSelectedInAWindowThatIsNotInUse) {
    fixture.model().setSelection({"/in/a.png"});
    list().setFocus(Qt::MouseFocusReason);
    QWidget other;
    other.show();
    other.activateWindow();
    waitUntil([&] { return other.isActiveWindow(); });
    EXPECT_EQ(ground(0).name(), colors().inset.name());
    EXPECT_EQ(outline(0).name(), colors().border.name());
    EXPECT_EQ(tile(0).name(), colors().surface.name());
    fixture.window().activateWindow();
    waitUntil([this] { return fixture.window().isActiveWindow(); });
    EXPECT_EQ(ground(0).name(), colors().selection.name());
}

TEST_P(RowStatesTest, AreDoneAndFailed) {
    fixture.startAndFailTheSecond();
    settle();
    const auto row = [this](int number) { return pictureOf(*list().viewport(), rowAt(number)); };
    EXPECT_TRUE(holds(row(0), colors().success));
    EXPECT_FALSE(holds(row(0), colors().danger));
    EXPECT_TRUE(holds(row(1), colors().danger));
    EXPECT_FALSE(holds(row(1), colors().success));
    endTheRun();
}

TEST_P(ControlStatesTest, OfALink) {
    QLabel label(QStringLiteral("<a href=\"https://example.com\">Ovrel</a>"));
    label.setAutoFillBackground(true);
    label.show();
    EXPECT_TRUE(holds(label.grab().toImage(), colors().accentText));
    EXPECT_EQ(label.grab().toImage().pixelColor(0, 0).name(), colors().window.name());
}

TEST_P(ControlStatesTest, OfAMenu) {
    QMenu menu;
    menu.addAction(QStringLiteral("One"));
    menu.addAction(QStringLiteral("Two"))->setEnabled(false);
    menu.popup({0, 0});
    const auto entry = [&](int number) { return menu.actionGeometry(menu.actions()[number]); };
    const auto ground = [&](int number) {
        return menu.grab().toImage().pixelColor(entry(number).right() - 10, entry(number).center().y()).name();
    };
    const auto holdsText = [&](int number, Token color) {
        return holds(menu.grab(entry(number)).toImage(), colors().*color);
    };
    EXPECT_EQ(ground(0), colors().surface.name());
    EXPECT_TRUE(holdsText(0, &Colors::text));
    EXPECT_TRUE(holdsText(1, &Colors::disabled));
    EXPECT_FALSE(holdsText(1, &Colors::text));
    menu.setActiveAction(menu.actions()[0]);
    EXPECT_EQ(ground(0), colors().accentTint.name());
    menu.setActiveAction(menu.actions()[1]);
    EXPECT_EQ(ground(1), colors().surface.name());
    menu.close();
}

} // namespace

} // namespace ovrel::test
