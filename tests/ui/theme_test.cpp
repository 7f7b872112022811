#include "ui/theme.h"

#include "tests/ui/controls.h"
#include "tests/ui/window_fixture.h"
#include "ui/decoration.h"
#include "ui/endless_animation.h"

#include <QApplication>
#include <QListView>
#include <QProgressBar>
#include <QTimer>
#include <QToolTip>
#include <QWindow>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace ovrel::test {

namespace {

using Token = QColor Colors::*;

struct Row {
    const char* name;
    Token token;
    const char* light;
    const char* dark;
};

const std::vector<Row> tokens{
    {"window", &Colors::window, "#F3F5F8", "#13171C"},
    {"surface", &Colors::surface, "#FFFFFF", "#1B2027"},
    {"inset", &Colors::inset, "#E9EDF2", "#272E37"},
    {"hover", &Colors::hover, "#F1F4F8", "#222932"},
    {"border", &Colors::border, "#DCE1E8", "#2E3640"},
    {"control border", &Colors::controlBorder, "#7B8694", "#6F7B8A"},
    {"text", &Colors::text, "#17202B", "#EDF1F5"},
    {"secondary text", &Colors::secondaryText, "#545F6D", "#A4AFBB"},
    {"accent", &Colors::accent, "#1F8CE0", "#1F8CE0"},
    {"accent fill", &Colors::accentFill, "#1773BE", "#1870B8"},
    {"accent hover", &Colors::accentHover, "#1567AB", "#1B7AC7"},
    {"accent press", &Colors::accentPress, "#115690", "#145F9E"},
    {"accent text", &Colors::accentText, "#1264A8", "#72BCF5"},
    {"accent tint", &Colors::accentTint, "#E6F2FC", "#15293D"},
    {"selection", &Colors::selection, "#DDEEFC", "#1A3B5A"},
    {"selection border", &Colors::selectionBorder, "#B4D8F6", "#28598A"},
    {"success", &Colors::success, "#17804A", "#4DC784"},
    {"danger", &Colors::danger, "#C2352B", "#FF8078"},
    {"danger tint", &Colors::dangerTint, "#FCEAE8", "#3A2022"},
    {"violet", &Colors::violet, "#6F48C4", "#BBA2F7"},
    {"violet tint", &Colors::violetTint, "#EFE9FB", "#2C2446"},
    {"photo tile", &Colors::photoTile, "#EDF0F4", "#272E37"},
    {"disabled", &Colors::disabled, "#98A2AE", "#616C79"},
    {"disabled fill", &Colors::disabledFill, "#E9EDF2", "#242A32"},
    {"selected segment, disabled", &Colors::segmentSelectedDisabled, "#F6F8FA", "#313943"},
    {"selected segment", &Colors::segmentSelected, "#FFFFFF", "#3A4450"},
    {"track", &Colors::track, "#C3CBD5", "#4A5563"},
    {"scroll bar", &Colors::scrollBar, "#C3CBD5", "#454F5B"},
    {"tool tip", &Colors::toolTip, "#1E2630", "#38424E"},
    {"tool tip text", &Colors::toolTipText, "#F2F5F8", "#F2F5F8"},
    {"knob", &Colors::knob, "#FFFFFF", "#FFFFFF"},
    {"on accent", &Colors::onAccent, "#FFFFFF", "#FFFFFF"},
};

TEST(Theme, HasTheColorsOfTheDesign) {
    for (const Row& row : tokens) {
        EXPECT_EQ((colors(ColorScheme::light).*row.token).rgba(), QColor(QLatin1String(row.light)).rgba()) << row.name;
        EXPECT_EQ((colors(ColorScheme::dark).*row.token).rgba(), QColor(QLatin1String(row.dark)).rgba()) << row.name;
    }
    EXPECT_EQ(tokens.size(), sizeof(Colors) / sizeof(QColor)); // none is left out
}

TEST(Theme, HasOneAccentColor) {
    EXPECT_NEAR(ovrelAccent.redF(), 0.12, 1e-4);
    EXPECT_NEAR(ovrelAccent.greenF(), 0.55, 1e-4);
    EXPECT_NEAR(ovrelAccent.blueF(), 0.88, 1e-4);
    EXPECT_EQ(ovrelAccent.alphaF(), 1.0F);
    for (const ColorScheme scheme : {ColorScheme::light, ColorScheme::dark}) {
        EXPECT_EQ(colors(scheme).accent, ovrelAccent);
    }
}

// WCAG 2.2, relative luminance; of the eight bits that are shown.
double luminance(const QColor& color) {
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.red() / 255.0) + 0.7152 * linear(color.green() / 255.0) +
           0.0722 * linear(color.blue() / 255.0);
}

// WCAG 2.2, contrast ratio.
double contrast(const QColor& one, const QColor& other) {
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

struct Pairing {
    const char* name;
    Token color;
    std::vector<Token> grounds; ///< on which it is drawn
    double least;               ///< 4.5 for text, 3 for controls and icons
};

const std::vector<Token> everywhere{&Colors::window, &Colors::surface,    &Colors::inset,
                                    &Colors::hover,  &Colors::accentTint, &Colors::selection};

const std::vector<Pairing> pairings{
    {"text", &Colors::text, everywhere, 4.5},
    {"secondary text", &Colors::secondaryText, everywhere, 4.5},
    {"values and tonal labels", &Colors::accentText, everywhere, 4.5},
    {"failures", &Colors::danger, everywhere, 4.5},
    {"stop", &Colors::danger, {&Colors::surface, &Colors::dangerTint}, 4.5},
    {"label of the primary button",
     &Colors::onAccent,
     {&Colors::accentFill, &Colors::accentHover, &Colors::accentPress},
     4.5},
    {"tool tip", &Colors::toolTipText, {&Colors::toolTip}, 4.5},
    {"chosen segment", &Colors::text, {&Colors::segmentSelected}, 4.5},
    {"accent", &Colors::accent, everywhere, 3.0},
    {"borders of controls", &Colors::controlBorder, {&Colors::window, &Colors::surface, &Colors::inset}, 3.0},
    {"done", &Colors::success, everywhere, 3.0},
    {"animations", &Colors::violet, {&Colors::surface, &Colors::violetTint}, 3.0},
    {"copies", &Colors::accentText, {&Colors::surface, &Colors::accentTint}, 3.0},
    {"pictures", &Colors::secondaryText, {&Colors::surface, &Colors::photoTile}, 3.0},
};

TEST(Theme, HasEnoughContrastInBothSchemes) {
    for (const ColorScheme scheme : {ColorScheme::light, ColorScheme::dark}) {
        const Colors& of = colors(scheme);
        for (const Pairing& pairing : pairings) {
            for (const Token ground : pairing.grounds) {
                EXPECT_GE(contrast(of.*pairing.color, of.*ground), pairing.least)
                    << pairing.name << " on " << (of.*ground).name().toStdString();
            }
        }
    }
}

TEST(Theme, IsTakenOnByTheWholeProgram) {
    const Theme before = theme();
    for (const ColorScheme scheme : {ColorScheme::dark, ColorScheme::light}) {
        applyTheme({.scheme = scheme, .animations = false});
        EXPECT_EQ(theme().scheme, scheme);
        EXPECT_EQ(colors().window, colors(scheme).window);
        EXPECT_EQ(QApplication::palette().color(QPalette::Window), colors(scheme).window);
        EXPECT_EQ(QApplication::palette().color(QPalette::WindowText), colors(scheme).text);
        EXPECT_EQ(QApplication::palette().color(QPalette::Disabled, QPalette::WindowText), colors(scheme).disabled);
        EXPECT_EQ(QToolTip::palette().color(QPalette::ToolTipBase), colors(scheme).toolTip);
        EXPECT_EQ(QToolTip::palette().color(QPalette::ToolTipText), colors(scheme).toolTipText);
    }
    applyTheme(before);
}

TEST(Theme, GivesTextTheSizeThatTheDesktopWants) {
    struct FactorRow {
        double systemPoints;
        double factor;
    };
    for (const FactorRow& row :
         {FactorRow{9, 1}, FactorRow{10, 1}, FactorRow{11, 1}, FactorRow{12, 1.2}, FactorRow{15, 1.5}, FactorRow{20, 2},
          FactorRow{8, 0.8}, FactorRow{-1, 1}, FactorRow{0, 1}}) {
        EXPECT_DOUBLE_EQ(textFactor(row.systemPoints), row.factor) << row.systemPoints;
    }
}

/// Counts how often a widget is told to take on a theme.
class Listener final : public QWidget {
public:
    int told = 0;

protected:
    void changeEvent(QEvent* event) override {
        told += event->type() == QEvent::StyleChange ? 1 : 0;
        QWidget::changeEvent(event);
    }
};

TEST(Theme, IsTakenOnAgainWhenTheDesktopChangesIts) {
    applyTheme(theme());
    Listener one;
    Listener other;
    one.show();
    other.show();
    one.told = 0;
    for (const QWidget* const window : {&one, &other}) {
        QEvent change(QEvent::ThemeChange);
        QCoreApplication::sendEvent(window->windowHandle(), &change);
    }
    settle();
    EXPECT_EQ(one.told, 1); // however many windows hear of it
}

/// What moves for ever does so only while it is seen, wanted, and the desktop lets it.
class MovementTest : public testing::Test {
protected:
    MovementTest() { applyTheme({.scheme = before.scheme, .animations = true}); }
    ~MovementTest() override { applyTheme(before); }
    MovementTest(const MovementTest&) = delete;
    MovementTest& operator=(const MovementTest&) = delete;

    static bool moves(const QWidget& widget) {
        const auto* const movement = widget.findChild<EndlessAnimation*>();
        return movement != nullptr && movement->state() == EndlessAnimation::Running;
    }
    static void setAnimations(bool animations) { applyTheme({.scheme = theme().scheme, .animations = animations}); }
    static void expectToFollowTheDesktop(const QWidget& widget) {
        EXPECT_TRUE(moves(widget));
        setAnimations(false);
        EXPECT_FALSE(moves(widget));
        setAnimations(true);
        EXPECT_TRUE(moves(widget));
    }

    const Theme before = theme();
};

TEST_F(MovementTest, OfASpinnerFollowsTheDesktop) {
    Spinner spinner(32);
    EXPECT_FALSE(moves(spinner));
    spinner.show();
    expectToFollowTheDesktop(spinner);
    spinner.hide();
    EXPECT_FALSE(moves(spinner));
}

TEST_F(MovementTest, OfTheListFollowsTheDesktop) {
    WindowFixture fixture;
    fixture.show();
    fixture.prepare({"a.png"});
    const QWidget& list = *fixture.window().findChild<QListView*>();
    EXPECT_FALSE(moves(list));
    fixture.start();
    expectToFollowTheDesktop(list);
    fixture.services.convert();
    fixture.awaitIdle();
    EXPECT_FALSE(moves(list));
}

TEST_F(MovementTest, OfABusyBarFollowsTheDesktop) {
    QProgressBar bar;
    bar.setRange(0, 0);
    bar.show();
    bar.grab();
    expectToFollowTheDesktop(bar);
    bar.hide();
    EXPECT_FALSE(moves(bar));
    bar.show();
    EXPECT_TRUE(moves(bar));
    bar.setRange(0, 10);
    bar.setValue(5);
    bar.grab();
    EXPECT_FALSE(moves(bar)); // it says how far things are
}

TEST_F(MovementTest, OfABusyBarIsOneHoweverOftenItIsPainted) {
    QProgressBar bar;
    bar.setRange(0, 0);
    bar.show();
    for (int paint = 0; paint < 5; ++paint) {
        bar.grab();
    }
    EXPECT_EQ(bar.findChildren<EndlessAnimation*>().size(), 1);
    EXPECT_TRUE(bar.findChildren<QTimer*>().isEmpty());
}

TEST(Theme, HasTheSizesAndWeightsOfTheDesign) {
    struct TypeRow {
        TextStyle style;
        double points;
        int weight;
    };
    // Relative to running text, which follows the desktop.
    const double unit = fontOf(TextStyle::body).pointSizeF() / 10;
    for (const TypeRow& row : {TypeRow{TextStyle::overline, 8.5, 700}, TypeRow{TextStyle::caption, 9, 400},
                               TypeRow{TextStyle::body, 10, 400}, TypeRow{TextStyle::strong, 10, 500},
                               TypeRow{TextStyle::controlTitle, 10, 600}, TypeRow{TextStyle::section, 12, 700},
                               TypeRow{TextStyle::wordmark, 14, 700}, TypeRow{TextStyle::emptyHeading, 16, 700},
                               TypeRow{TextStyle::pageTitle, 20, 700}}) {
        EXPECT_NEAR(fontOf(row.style).pointSizeF(), row.points * unit, 0.01) << row.points;
        EXPECT_EQ(fontOf(row.style).weight(), row.weight) << row.points;
    }
    EXPECT_EQ(fontOf(TextStyle::overline).letterSpacing(), 105.5);
}

} // namespace

} // namespace ovrel::test
