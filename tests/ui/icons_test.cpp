// Each icon by itself: it has a picture, in one color, sharp on every screen.

#include "ui/icons.h"

#include "tests/ui/looks.h"

#include <QDir>
#include <QGuiApplication>
#include <QPainter>
#include <QSvgRenderer>

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace ovrel::test {

namespace {

using testing::UnorderedElementsAreArray;

struct Row {
    Icon icon;
    const char* file;
};

const std::vector<Row> icons{
    {Icon::arrowRight, "arrow-right"},
    {Icon::checkCircle, "check-circle-filled"},
    {Icon::check, "check"},
    {Icon::chevronDown, "chevron-down"},
    {Icon::chevronRight, "chevron-right"},
    {Icon::exclamationCircle, "exclamation-circle-filled"},
    {Icon::folderFilled, "folder-filled"},
    {Icon::folderPlus, "folder-plus"},
    {Icon::folder, "folder"},
    {Icon::globe, "globe"},
    {Icon::infoCircle, "info-circle"},
    {Icon::lockShield, "lock-shield"},
    {Icon::photoBadgePlus, "photo-badge-plus"},
    {Icon::photoStack, "photo-stack"},
    {Icon::photo, "photo"},
    {Icon::playRectangle, "play-rectangle"},
    {Icon::plus, "plus"},
    {Icon::sparkles, "sparkles"},
    {Icon::spinner, "spinner"},
    {Icon::stop, "stop"},
    {Icon::trash, "trash"},
    {Icon::twoDocuments, "two-documents"},
};

/// An icon on nothing, as a widget would draw it on a screen of some scale.
QImage drawn(Icon icon, int size, const QColor& color, double scale = 1) {
    const int pixels = qRound(size * scale);
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    image.setDevicePixelRatio(scale);
    QPainter painter(&image);
    drawIcon(painter, icon, QRectF(0, 0, size, size), color);
    painter.end();
    image.setDevicePixelRatio(1);
    return image;
}

/// What its file holds, drawn at so many pixels: only how much of each is covered.
QImage coverageOf(const char* file, int pixels) {
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    QSvgRenderer(QStringLiteral(":/ovrel/icons/%1.svg").arg(QString::fromUtf8(file))).render(&painter);
    painter.end();
    return image.convertToFormat(QImage::Format_Alpha8);
}

/// How many pixels are covered at least half.
int inkOf(const QImage& image) {
    constexpr int half = 128;
    int ink = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            ink += qAlpha(image.pixel(x, y)) >= half ? 1 : 0;
        }
    }
    return ink;
}

TEST(Icons, HaveAFileEach) {
    std::vector<std::string> files{"ovrel.svg"}; // the program's own
    for (const Row& row : icons) {
        files.push_back(std::string(row.file) + ".svg");
    }
    std::vector<std::string> present;
    for (const QString& name : QDir(QStringLiteral(":/ovrel/icons")).entryList()) {
        present.push_back(name.toStdString());
    }
    EXPECT_THAT(present, UnorderedElementsAreArray(files));
    EXPECT_EQ(icons.size(), static_cast<std::size_t>(Icon::twoDocuments)); // `none` has none
}

TEST(Icons, DrawSomethingEachAndEachSomethingElse) {
    constexpr int size = 24;
    std::vector<QImage> all;
    for (const Row& row : icons) {
        const QImage image = drawn(row.icon, size, Qt::black);
        EXPECT_GE(inkOf(image), 20) << row.file;
        EXPECT_LT(inkOf(image), size * size) << row.file;
        EXPECT_THAT(all, testing::Not(testing::Contains(image))) << row.file;
        all.push_back(image);
    }
    EXPECT_EQ(inkOf(drawn(Icon::none, size, Qt::black)), 0);
}

TEST(Icons, HaveOneColor) {
    for (const ColorScheme scheme : {ColorScheme::light, ColorScheme::dark}) {
        const QRgb color = colors(scheme).accentText.rgba();
        for (const Row& row : icons) {
            const QImage image = drawn(row.icon, 32, colors(scheme).accentText);
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    const QRgb pixel = image.pixel(x, y);
                    if (qAlpha(pixel) == 255) {
                        ASSERT_EQ(pixel, color) << row.file;
                    }
                }
            }
            EXPECT_TRUE(holds(image, colors(scheme).accentText)) << row.file;
            EXPECT_EQ(image.convertToFormat(QImage::Format_Alpha8), coverageOf(row.file, 32)) << row.file;
        }
    }
}

// Sizes that are whole pixels at each scale.
TEST(Icons, AreDrawnAnewForEveryScale) {
    constexpr int size = 16;
    for (const Row& row : icons) {
        const QImage one = drawn(row.icon, size, Qt::black);
        for (const double scale : {1.25, 1.5, 2.0, 3.0}) {
            const QImage sharp = drawn(row.icon, size, Qt::black, scale);
            const int pixels = qRound(size * scale);
            ASSERT_EQ(sharp.width(), pixels);
            EXPECT_EQ(sharp.convertToFormat(QImage::Format_Alpha8), coverageOf(row.file, pixels))
                << row.file << " at " << scale;
            EXPECT_NE(sharp, one.scaled(pixels, pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)) << row.file;
        }
    }
}

// Sizes and places that are no whole pixels are brought to them.
TEST(Icons, StandOnWholePixelsOfTheScreen) {
    for (const double scale : {1.0, 1.25, 1.5, 1.75, 2.0}) {
        for (const double left : {0.0, 3.0, 5.5}) {
            constexpr int size = 17;
            QImage image(60, 60, QImage::Format_ARGB32_Premultiplied);
            image.fill(Qt::transparent);
            image.setDevicePixelRatio(scale);
            QPainter painter(&image);
            drawIcon(painter, Icon::globe, QRectF(left, left, size, size), Qt::black);
            painter.end();
            image.setDevicePixelRatio(1);
            const QPoint corner = (QPointF(left, left) * scale).toPoint();
            const int pixels = qRound(size * scale);
            EXPECT_EQ(image.copy(corner.x(), corner.y(), pixels, pixels).convertToFormat(QImage::Format_Alpha8),
                      coverageOf("globe", pixels))
                << left << " at " << scale;
        }
    }
}

TEST(Icons, AreSharpInAWidgetThatIsDrawnIntoAPicture) {
    class Sign final : public QWidget {
    protected:
        void paintEvent(QPaintEvent* /*event*/) override {
            QPainter painter(this);
            drawIcon(painter, Icon::globe, QRectF(rect()), Qt::black);
        }
    };
    Sign sign;
    constexpr int size = 16;
    sign.resize(size, size);
    for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
        QImage picture(QSize(size, size) * scale, QImage::Format_ARGB32_Premultiplied);
        picture.fill(Qt::transparent);
        picture.setDevicePixelRatio(scale);
        sign.render(&picture, QPoint(), QRegion(), QWidget::RenderFlags());
        picture.setDevicePixelRatio(1);
        EXPECT_EQ(picture.convertToFormat(QImage::Format_Alpha8), coverageOf("globe", picture.width())) << scale;
    }
}

TEST(Icons, OfMenusHaveTheColorsOfTheTheme) {
    constexpr QSize size(32, 32);
    for (const ColorScheme scheme : {ColorScheme::light, ColorScheme::dark}) {
        const QIcon icon = themeIcon(Icon::folderPlus); // before the theme comes
        const ThemeDuring of({.scheme = scheme, .animations = false});
        EXPECT_EQ(icon.pixmap(size).toImage(), drawn(Icon::folderPlus, 32, colors(scheme).text));
        EXPECT_EQ(icon.pixmap(size, QIcon::Disabled).toImage(), drawn(Icon::folderPlus, 32, colors(scheme).disabled));
    }
    EXPECT_TRUE(themeIcon(Icon::none).isNull());
}

TEST(Icons, PointAlongTheText) {
    constexpr int size = 16;
    std::vector<QImage> usual;
    for (const Row& row : icons) {
        usual.push_back(drawn(row.icon, size, Qt::black));
    }
    const Qt::LayoutDirection before = QGuiApplication::layoutDirection();
    QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    for (std::size_t index = 0; index < icons.size(); ++index) {
        const Icon icon = icons[index].icon;
        const bool turns = icon == Icon::arrowRight || icon == Icon::chevronRight;
        EXPECT_EQ(drawn(icon, size, Qt::black), turns ? usual[index].mirrored(true, false) : usual[index])
            << icons[index].file;
        if (turns) {
            EXPECT_NE(usual[index].mirrored(true, false), usual[index]) << icons[index].file;
        }
    }
    QGuiApplication::setLayoutDirection(before);
}

} // namespace

} // namespace ovrel::test
