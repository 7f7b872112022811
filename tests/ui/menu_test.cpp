#include "tests/ui/controls.h"
#include "tests/ui/looks.h"
#include "tests/ui/window_fixture.h"
#include "ui/ovrel_style.h"
#include "ui/theme.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QImage>
#include <QMenu>
#include <QPainter>
#include <QStyleOptionMenuItem>

#include <gtest/gtest.h>

namespace ovrel::test {

namespace {

TEST(Menu, IsOpaqueWhereverItIsNotCutAway) {
    const OvrelStyle style;
    QMenu menu;
    QStyleOptionMenuItem option;
    option.rect = QRect(0, 0, 83, 61);
    QStyleHintReturnMask mask;
    ASSERT_NE(style.styleHint(QStyle::SH_Menu_Mask, &option, &menu, &mask), 0);
    EXPECT_FALSE(mask.region.contains(QPoint(0, 0)));
    EXPECT_TRUE(mask.region.contains(QPoint(41, 0)));

    QImage picture(option.rect.size(), QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    {
        QPainter painter(&picture);
        style.drawPrimitive(QStyle::PE_PanelMenu, &option, &painter, &menu);
    }
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (mask.region.contains(QPoint(x, y))) {
                EXPECT_EQ(picture.pixelColor(x, y).alpha(), 255) << x << ", " << y;
            }
        }
    }
}

TEST(Menu, ListsCompressionsOnTheGroundOfAMenu) {
    for (const ColorScheme scheme : {ColorScheme::light, ColorScheme::dark}) {
        const ThemeDuring inTheme({scheme, false});
        WindowFixture fixture;
        fixture.show();
        auto& compression = *fixture.window().findChild<QComboBox*>();
        compression.showPopup();
        settle();
        QAbstractItemView& choices = *compression.view();
        const QImage picture = choices.window()->grab().toImage();
        const int unchosen = compression.currentIndex() == 0 ? 1 : 0;
        const QRect row = choices.visualRect(choices.model()->index(unchosen, 0));
        const QPoint edge = choices.viewport()->mapTo(choices.window(), row.topLeft() + QPoint(3, 3));
        EXPECT_TRUE(same(picture.pixelColor(edge), colors(scheme).surface));
        compression.hidePopup();
        settle();
    }
}

} // namespace

} // namespace ovrel::test
