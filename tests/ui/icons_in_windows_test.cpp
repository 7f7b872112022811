// Which icon stands where. An icon is found by its pixels, so that another one in its place is not found.

#include "conversion/conversion_error.h"
#include "tests/ui/controls.h"
#include "tests/ui/icon_search.h"
#include "tests/ui/looks.h"
#include "tests/ui/window_fixture.h"
#include "ui/drop_zone.h"
#include "ui/folder_button.h"
#include "ui/icons.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QListView>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>

#include <gtest/gtest.h>

#include <array>

namespace ovrel::test {

namespace {

using Token = QColor Colors::*;

/// What is expected in a place.
struct Sign {
    Icon icon;
    int size;
    Token color;
    Token ground;

    QImage picture() const { return iconOn(colors().*ground, icon, size, colors().*color); }
};

testing::AssertionResult shows(const QImage& picture, const Sign& sign) {
    return isPartOf(picture, sign.picture()) ? testing::AssertionSuccess() << "icon " << static_cast<int>(sign.icon)
                                             : testing::AssertionFailure() << "icon " << static_cast<int>(sign.icon);
}

testing::AssertionResult shows(QWidget& place, const Sign& sign) {
    return shows(pictureOf(place), sign);
}

class IconsInWindowsTest : public testing::TestWithParam<ColorScheme> {
protected:
    IconsInWindowsTest() {
        fixture.show();
        pointAtNothing(fixture.window());
    }

    template <typename Control = QAbstractButton>
    Control& find(const QString& name) {
        return control<Control>(fixture.window(), name);
    }
    QAbstractButton& button(const char* name) { return find(QString::fromUtf8(name)); }
    /// The part of the window around a text.
    QWidget& around(const char* text) { return *find<QLabel>(QString::fromUtf8(text)).parentWidget(); }

    const ThemeDuring scheme{{.scheme = GetParam(), .animations = false}};
    WindowFixture fixture;
};

INSTANTIATE_TEST_SUITE_P(, IconsInWindowsTest, testing::Values(ColorScheme::light, ColorScheme::dark),
                         [](const auto& param) { return param.param == ColorScheme::dark ? "dark" : "light"; });

TEST_P(IconsInWindowsTest, StandInTheHeader) {
    QMenu menu;
    fixture.content().setMenu(&menu);
    settle();
    EXPECT_TRUE(shows(button("Ovrel"), {Icon::chevronDown, 13, &Colors::secondaryText, &Colors::surface}));
    EXPECT_TRUE(shows(around("Files processed on your Mac"), {Icon::lockShield, 15, &Colors::success, &Colors::inset}));
    QWidget& header = *button("Ovrel").parentWidget();
    EXPECT_TRUE(shows(header, {Icon::globe, 18, &Colors::secondaryText, &Colors::surface}));
    fixture.content().setMenu(nullptr);
}

TEST_P(IconsInWindowsTest, StandInTheEmptyList) {
    EXPECT_TRUE(shows(button("Choose Files…"), {Icon::photoStack, 17, &Colors::onAccent, &Colors::accentFill}));
    EXPECT_TRUE(shows(button("Choose Folder…"), {Icon::folderPlus, 17, &Colors::text, &Colors::surface}));
}

/// The picture of the empty list, 84 pixels large and turned.
QImage invitation(double degrees, Icon icon, const QColor& ground) {
    constexpr int size = 84;
    constexpr int room = 12;
    QImage image(size + room, size + room, QImage::Format_RGB32);
    image.fill(ground);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.translate(QRectF(image.rect()).center());
    painter.rotate(degrees);
    drawIcon(painter, icon, QRectF(-size / 2.0, -size / 2.0, size, size), colors().accent);
    painter.end();
    return image;
}

TEST_P(IconsInWindowsTest, InviteSlightlyTurnedUntilSomethingIsDraggedThere) {
    QWidget& zone = *fixture.window().findChild<DropZone*>();
    const auto isSeen = [&](double degrees, Icon icon, Token ground) {
        return isPartOf(pictureOf(zone), invitation(degrees, icon, colors().*ground));
    };
    EXPECT_TRUE(isSeen(-5, Icon::photoBadgePlus, &Colors::surface));
    EXPECT_FALSE(isSeen(0, Icon::photoBadgePlus, &Colors::surface));
    EXPECT_FALSE(isSeen(-5, Icon::photo, &Colors::surface));
    fixture.model().setTargeted(true);
    EXPECT_TRUE(isSeen(0, Icon::photoBadgePlus, &Colors::accentTint));
    fixture.model().setTargeted(false);
    EXPECT_TRUE(isSeen(-5, Icon::photoBadgePlus, &Colors::surface));
}

TEST_P(IconsInWindowsTest, StandWhereImagesAreGathered) {
    fixture.model().add({"/in"});
    settle();
    EXPECT_TRUE(shows(around("Gathering images…"), {Icon::spinner, 32, &Colors::accent, &Colors::surface}));
    fixture.services.scans->succeed({});
    fixture.awaitIdle();
}

TEST_P(IconsInWindowsTest, StandAroundTheList) {
    fixture.prepare({"a.png"});
    settle();
    EXPECT_TRUE(shows(button("Add"), {Icon::plus, 17, &Colors::accentText, &Colors::accentTint}));
    EXPECT_TRUE(shows(button("Add"), {Icon::chevronDown, 14, &Colors::accentText, &Colors::accentTint}));
    EXPECT_TRUE(shows(button("Remove Selected"), {Icon::trash, 17, &Colors::disabled, &Colors::surface}));
    fixture.model().setSelection({"/in/a.png"});
    EXPECT_TRUE(shows(button("Remove Selected"), {Icon::trash, 17, &Colors::secondaryText, &Colors::surface}));
    pointAt(button("Remove Selected"));
    // Only the text turns red.
    EXPECT_TRUE(shows(button("Remove Selected"), {Icon::trash, 17, &Colors::secondaryText, &Colors::hover}));
}

TEST_P(IconsInWindowsTest, StandInTheMenuOfTheList) {
    fixture.prepare({"a.png"});
    settle();
    QMenu& menu = *dynamic_cast<QPushButton&>(button("Add")).menu();
    menu.popup({0, 0});
    settle();
    constexpr std::array icons{Icon::photoStack, Icon::folderPlus};
    for (std::size_t entry = 0; entry < icons.size(); ++entry) {
        const QImage picture = menu.grab(menu.actionGeometry(menu.actions()[static_cast<int>(entry)])).toImage();
        EXPECT_TRUE(isPartOf(picture, iconOn(colors().surface, icons[entry], 17, colors().text))) << entry;
    }
    menu.close();
}

TEST_P(IconsInWindowsTest, StandInTheRows) {
    fixture.prepare({"a.png", "b.gif", "c.avif", "d.jpg", "e.webp"});
    fixture.window().setFocus(Qt::MouseFocusReason);
    settle();
    auto& list = *fixture.window().findChild<QListView*>();
    const auto row = [&](int number) {
        return pictureOf(*list.viewport(), list.visualRect(list.model()->index(number, 0)));
    };
    const auto isSeen = [&](int number, const Sign& sign) { return isPartOf(row(number), sign.picture()); };
    const Sign photo{Icon::photo, 18, &Colors::secondaryText, &Colors::photoTile};
    EXPECT_TRUE(isSeen(0, photo));
    EXPECT_TRUE(isSeen(1, {Icon::playRectangle, 18, &Colors::violet, &Colors::violetTint}));
    EXPECT_TRUE(isSeen(2, {Icon::twoDocuments, 18, &Colors::accentText, &Colors::accentTint}));
    EXPECT_TRUE(isSeen(3, photo));
    EXPECT_TRUE(isSeen(4, photo));

    const Sign done{Icon::checkCircle, 20, &Colors::success, &Colors::surface};
    const Sign failed{Icon::exclamationCircle, 20, &Colors::danger, &Colors::surface};
    const Sign busy{Icon::spinner, 18, &Colors::accent, &Colors::surface};
    fixture.startAndFailTheSecond();
    settle();
    for (int number = 0; number < 5; ++number) {
        EXPECT_EQ(isSeen(number, done), number == 0) << number;
        EXPECT_EQ(isSeen(number, failed), number == 1) << number;
        EXPECT_EQ(isSeen(number, busy), number == 2) << number;
    }
    fixture.model().setCancelled(true);
    fixture.services.convert();
    fixture.awaitIdle();
}

TEST_P(IconsInWindowsTest, StandInTheColumnOfSettings) {
    EXPECT_TRUE(shows(around("AVIF"), {Icon::sparkles, 22, &Colors::onAccent, &Colors::accentFill}));
    QWidget& folder = *fixture.window().findChild<FolderButton*>();
    EXPECT_TRUE(shows(folder, {Icon::folderFilled, 20, &Colors::accent, &Colors::accentTint}));
    EXPECT_TRUE(shows(folder, {Icon::chevronRight, 15, &Colors::secondaryText, &Colors::surface}));
    QWidget& choice = *fixture.window().findChild<QComboBox*>();
    EXPECT_TRUE(shows(choice, {Icon::chevronDown, 14, &Colors::secondaryText, &Colors::surface}));
    QWidget& line = around("GIF animation is preserved. Existing AVIF files are copied unchanged.");
    const Sign information{Icon::infoCircle, 16, &Colors::accentText, &Colors::window};
    const Sign failure{Icon::exclamationCircle, 16, &Colors::danger, &Colors::window};
    EXPECT_TRUE(shows(line, information));
    EXPECT_FALSE(shows(line, failure));
    fixture.services.systemWriter = false;
    fixture.model().setMode(EncodingMode::system);
    settle();
    EXPECT_TRUE(shows(line, failure));
    EXPECT_FALSE(shows(line, information));
}

TEST_P(IconsInWindowsTest, StandInTheFooter) {
    fixture.prepare({"a.png"});
    settle();
    EXPECT_TRUE(shows(button("Open output folder"), {Icon::folder, 17, &Colors::text, &Colors::surface}));
    EXPECT_TRUE(shows(button("Convert to AVIF"), {Icon::arrowRight, 17, &Colors::onAccent, &Colors::accentFill}));
    QWidget& status = *find<QLabel>(fixture.message()).parentWidget();
    const Sign failure{Icon::exclamationCircle, 17, &Colors::danger, &Colors::surface};
    EXPECT_FALSE(shows(status, failure));
    fixture.start();
    settle();
    EXPECT_TRUE(shows(button("Stop"), {Icon::stop, 17, &Colors::danger, &Colors::surface}));
    fixture.services.failToConvert();
    fixture.awaitIdle();
    settle();
    EXPECT_TRUE(shows(status, failure));
}

TEST_P(IconsInWindowsTest, StandInTheAlert) {
    fixture.model().setError(std::make_exception_ptr(ConversionError("Беда", "Trouble")));
    settle();
    QMessageBox& alert = *fixture.window().findChild<QMessageBox*>();
    const Sign failure{Icon::exclamationCircle, 40, &Colors::danger, &Colors::window};
    EXPECT_TRUE(shows(alert, failure));
    // It takes on a theme that comes while it is open.
    const ThemeDuring other(
        {.scheme = GetParam() == ColorScheme::dark ? ColorScheme::light : ColorScheme::dark, .animations = false});
    settle();
    EXPECT_TRUE(shows(alert, failure));
}

TEST_P(IconsInWindowsTest, StandBesideTheChoiceThatIsMade) {
    auto& choice = *fixture.window().findChild<QComboBox*>();
    choice.showPopup();
    settle();
    const auto rowOf = [&](int index) {
        return pictureOf(*choice.view()->viewport(), choice.view()->visualRect(choice.model()->index(index, 0)));
    };
    const auto isMarked = [&](int index) {
        for (const QColor& ground : {colors().surface, colors().accentTint}) {
            if (isPartOf(rowOf(index), iconOn(ground, Icon::check, 17, colors().accentText))) {
                return true;
            }
        }
        return false;
    };
    for (int index = 0; index < choice.count(); ++index) {
        EXPECT_EQ(isMarked(index), index == choice.currentIndex()) << index;
    }
    choice.hidePopup();
}

} // namespace

} // namespace ovrel::test
