#include "remote/banner_view.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QHelpEvent>
#include <QTest>
#include <QToolTip>

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Columns of one pixel, black and white in turn, which only an exact picture keeps.
Image stripes(std::uint32_t width, std::uint32_t height) {
    Image image;
    image.width = width;
    image.height = height;
    image.samples = PixelBuffer::zeroed(height, image.bytesPerRow());
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x) {
            std::uint8_t* const pixel = image.row(y) + std::size_t{4} * x;
            std::fill_n(pixel, 3, static_cast<std::uint8_t>(x % 2 == 0 ? 0 : 255));
            pixel[3] = 255;
        }
    }
    return image;
}

BannerModel::Creative creativeOf(Image image) {
    return {{std::make_shared<const Image>(std::move(image))},
            QUrl(QStringLiteral("https://ovrel.example/app/go?a=1&b=<i>")),
            QStringLiteral("Walks <b>outside</b> & more")};
}

class BannerViewTest : public testing::Test {
protected:
    /// A view of its own size.
    std::unique_ptr<BannerView> viewOf(const BannerModel::Creative& shown, int width,
                                       AppLanguage language = AppLanguage::english) {
        auto view = std::make_unique<BannerView>(shown, language, [this](const QUrl& link) {
            opened.push_back(link.toString().toStdString());
            return false;
        });
        view->resize(width, view->heightForWidth(width));
        view->show();
        return view;
    }

    static QAbstractButton& pictureOf(const BannerView& view) { return *view.findChild<QAbstractButton*>(); }
    static QLabel& noteOf(const BannerView& view) { return *view.findChild<QLabel*>(); }

    BannerModel::Creative creative = creativeOf(stripes(600, 100));
    std::vector<std::string> opened;
};

TEST_F(BannerViewTest, OpensItsLinkByMouseAndKeyboard) {
    const auto view = viewOf(creative, 432);
    QAbstractButton& picture = pictureOf(*view);
    const std::string link = creative.link.toString().toStdString();

    QTest::mouseClick(&picture, Qt::LeftButton);
    EXPECT_THAT(opened, ElementsAre(link));
    for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter}) {
        opened.clear();
        QTest::keyClick(&picture, key);
        EXPECT_THAT(opened, ElementsAre(link)) << key;
    }
}

TEST_F(BannerViewTest, DoesNothingForOtherButtonsAndKeys) {
    const auto view = viewOf(creative, 432);
    QAbstractButton& picture = pictureOf(*view);
    QTest::mouseClick(&picture, Qt::RightButton);
    QTest::mouseClick(&picture, Qt::MiddleButton);
    QTest::mouseClick(&noteOf(*view), Qt::LeftButton);
    QTest::keyClick(&picture, Qt::Key_A);
    EXPECT_THAT(opened, IsEmpty());
    EXPECT_EQ(picture.contextMenuPolicy(), Qt::PreventContextMenu);
}

TEST_F(BannerViewTest, IsReachedByTab) {
    QWidget window;
    auto* const view = new BannerView(
        creative, AppLanguage::english, [](const QUrl& /*link*/) { return true; }, &window);
    window.show();
    QTest::keyClick(&window, Qt::Key_Tab);
    EXPECT_EQ(window.focusWidget(), &pictureOf(*view));
    EXPECT_EQ(view->focusProxy(), &pictureOf(*view));
}

TEST_F(BannerViewTest, SaysThatItIsAnAdvertisement) {
    struct Row {
        AppLanguage language;
        const char* note;
        const char* toolTip;
    };
    const Row rows[] = {
        {AppLanguage::russian, "Реклама",
         "Баннер выбирается только по языку приложения. Файлы не отправляются на сервер."},
        {AppLanguage::english, "Ad", "The banner is selected only by the app language. Your files are never uploaded."},
    };
    for (const Row& row : rows) {
        const auto view = viewOf(creative, 432, row.language);
        EXPECT_EQ(noteOf(*view).text(), QString::fromUtf8(row.note));
        EXPECT_EQ(noteOf(*view).toolTip(), QString::fromUtf8(row.toolTip));
        EXPECT_EQ(noteOf(*view).foregroundRole(), QPalette::PlaceholderText);
    }
}

TEST_F(BannerViewTest, NamesItselfAndItsLink) {
    const auto view = viewOf(creative, 432);
    EXPECT_EQ(pictureOf(*view).toolTip(),
              creative.alt + QStringLiteral("\nhttps://ovrel.example/app/go?a=1&b=%3Ci%3E"));

    QAccessibleInterface& spoken = *QAccessible::queryAccessibleInterface(&pictureOf(*view));
    EXPECT_EQ(spoken.role(), QAccessible::Button);
    EXPECT_EQ(spoken.text(QAccessible::Name), creative.alt);
    EXPECT_EQ(spoken.text(QAccessible::Description), QStringLiteral("https://ovrel.example/app/go?a=1&b=%3Ci%3E"));
    EXPECT_TRUE(spoken.state().focusable);
    EXPECT_TRUE(spoken.actionInterface()->actionNames().contains(QAccessibleActionInterface::pressAction()));
    spoken.actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(QTest::qWaitFor([&] { return !opened.empty(); }));
}

TEST_F(BannerViewTest, TakesNothingOfItsToolTipForMarkup) {
    const auto view = viewOf(creative, 432);
    QHelpEvent hover(QEvent::ToolTip, QPoint(5, 5), view->mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(&pictureOf(*view), &hover);
    EXPECT_TRUE(QToolTip::isVisible());
    EXPECT_TRUE(QToolTip::text().contains(QStringLiteral("Walks &lt;b&gt;outside&lt;/b&gt; &amp; more<br")));
    QToolTip::hideText();
}

TEST_F(BannerViewTest, FitsThePictureIntoTheRoomThatItGets) {
    const auto view = viewOf(creative, 432);
    const int noteHeight = noteOf(*view).sizeHint().height();
    struct Row {
        const char* what;
        QSize room;
        QRect picture;
    };
    const Row rows[] = {
        {"of its own shape", QSize(432, 72 + 3 + noteHeight), QRect(0, 0, 432, 72)},
        {"wider", QSize(632, 72 + 3 + noteHeight), QRect(100, 0, 432, 72)},
        {"higher", QSize(432, 172 + 3 + noteHeight), QRect(0, 50, 432, 72)},
        {"none", QSize(432, 3 + noteHeight), QRect(216, 0, 0, 0)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        view->resize(row.room);
        EXPECT_EQ(pictureOf(*view).geometry(), row.picture);
        const QRect note = noteOf(*view).geometry();
        EXPECT_EQ(note.top(), row.picture.bottom() + 1 + 3);
        EXPECT_LE(std::abs(note.left() - (view->width() - 1 - note.right())), 1);
    }
}

TEST_F(BannerViewTest, HasThePicturesDisplaySizeUnlessItsRoomIsSet) {
    for (const auto& [width, height] : {std::pair{600U, 100U}, {4320U, 720U}}) {
        const auto view = viewOf(creativeOf(stripes(width, height)), 1080);
        const int below = 3 + noteOf(*view).sizeHint().height();
        EXPECT_EQ(view->sizeHint(), QSize(1080, 180 + below));
        EXPECT_EQ(pictureOf(*view).size(), QSize(1080, 180));
        view->setFixedWidth(432);
        EXPECT_EQ(view->sizeHint(), QSize(432, 72 + below));
        EXPECT_EQ(view->minimumSizeHint(), QSize(432, 72 + below));
    }
}

TEST_F(BannerViewTest, IsSharpWhereAPointHasSeveralPixels) {
    for (const int scale : {1, 2}) {
        const auto factor = static_cast<std::uint32_t>(scale);
        const auto view = viewOf(creativeOf(stripes(432 * factor, 72 * factor)), 432);
        QImage picture(QSize(432, 72) * scale, QImage::Format_RGB32);
        picture.setDevicePixelRatio(scale);
        view->render(&picture, QPoint(), QRect(0, 0, 432, 72));
        const int middle = picture.height() / 2;
        for (int x = 0; x < picture.width(); ++x) {
            ASSERT_EQ(qGray(picture.pixel(x, middle)), x % 2 == 0 ? 0 : 255) << x;
        }
    }
}

TEST_F(BannerViewTest, RoundsItsCorners) {
    const auto view = viewOf(creative, 432);
    QPalette palette;
    palette.setColor(QPalette::Window, Qt::green);
    view->setPalette(palette);
    const QImage picture = view->grab().toImage();
    for (const QPoint corner : {QPoint(0, 0), QPoint(431, 0), QPoint(0, 71), QPoint(431, 71)}) {
        EXPECT_EQ(picture.pixelColor(corner), QColor(Qt::green));
    }
    for (const QPoint inside : {QPoint(0, 8), QPoint(8, 0), QPoint(431, 63), QPoint(423, 71)}) {
        EXPECT_NE(picture.pixelColor(inside), QColor(Qt::green));
    }
}

TEST_F(BannerViewTest, GrowsWithTheFontOfItsNote) {
    const auto view = viewOf(creative, 432);
    const int usual = view->heightForWidth(432);
    QFont huge = noteOf(*view).font();
    huge.setPointSizeF(huge.pointSizeF() * 2);
    noteOf(*view).setFont(huge);
    QApplication::processEvents();
    EXPECT_GT(view->heightForWidth(432), usual);
    EXPECT_EQ(noteOf(*view).height(), noteOf(*view).sizeHint().height());
}

TEST_F(BannerViewTest, MayEndWhenItsLinkIsOpened) {
    std::unique_ptr<BannerView> view;
    view = std::make_unique<BannerView>(creative, AppLanguage::english, [&](const QUrl& /*link*/) {
        view->deleteLater();
        view.release();
        return true;
    });
    QTest::mouseClick(&pictureOf(*view), Qt::LeftButton);
    EXPECT_EQ(view, nullptr);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace

} // namespace ovrel::test
