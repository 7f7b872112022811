#include "tests/ui/controls.h"
#include "tests/ui/window_fixture.h"

#include <QPointer>

#include <gmock/gmock.h>

namespace ovrel::test {

namespace {

using testing::ElementsAre;

class BannerInWindowTest : public testing::Test {
protected:
    BannerInWindowTest() { fixture.show(); }

    void answer() {
        fixture.answerBanner();
        settle();
    }
    QAbstractButton* banner(const char* alt) {
        return findControl<QAbstractButton>(fixture.window(), QString::fromUtf8(alt));
    }

    WindowFixture fixture;
};

TEST_F(BannerInWindowTest, AppearsWhenItIsLoaded) {
    EXPECT_EQ(fixture.network.count(), 1U); // asked for when the window was shown
    EXPECT_FALSE(shows(fixture.window(), QStringLiteral("Ad")));
    answer();
    ASSERT_NE(banner("Walks"), nullptr);
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Ad")));
    click(*banner("Walks"));
    EXPECT_THAT(fixture.opened, ElementsAre(QUrl(QStringLiteral("https://example.com/en"))));
}

TEST_F(BannerInWindowTest, IsLoadedAnewForAnotherLanguage) {
    answer();
    fixture.model().setLanguage(AppLanguage::russian);
    EXPECT_EQ(banner("Walks"), nullptr);
    EXPECT_FALSE(shows(fixture.window(), QStringLiteral("Ad")));
    EXPECT_FALSE(shows(fixture.window(), QStringLiteral("Реклама")));
    answer();
    ASSERT_NE(banner("Прогулки"), nullptr);
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Реклама")));
}

TEST_F(BannerInWindowTest, OutlivesItsOwnClick) {
    answer();
    const QPointer<QAbstractButton> clicked = banner("Walks");
    bool livedToTheEnd = false;
    // Whoever opens the page may let other things happen meanwhile.
    fixture.whenOpened = [&] {
        fixture.model().setLanguage(AppLanguage::russian);
        livedToTheEnd = clicked != nullptr;
    };
    click(*clicked);
    EXPECT_TRUE(livedToTheEnd);
    EXPECT_EQ(banner("Walks"), nullptr);
    settle();
    EXPECT_EQ(clicked, nullptr);
}

TEST_F(BannerInWindowTest, IsNotAskedForAgainWhenTheLanguageStays) {
    answer();
    const std::size_t asked = fixture.network.count();
    fixture.model().setLanguage(AppLanguage::english);
    fixture.window().hide();
    fixture.window().show();
    EXPECT_EQ(fixture.network.count(), asked);
    EXPECT_NE(banner("Walks"), nullptr);
}

TEST_F(BannerInWindowTest, ForgetsTheOneThatWasOnItsWay) {
    fixture.model().setLanguage(AppLanguage::russian);
    EXPECT_TRUE(fixture.network.isStopped(0));
    EXPECT_EQ(fixture.network.count(), 2U);
}

TEST_F(BannerInWindowTest, HasTheSizeThatTheWindowHasRoomFor) {
    answer();
    struct Row {
        QSize window;
        QSize picture;
    };
    for (const Row& row : {Row{{930, 690}, {348, 58}}, Row{{1080, 780}, {432, 72}}, Row{{1600, 1000}, {540, 90}}}) {
        fixture.window().resize(row.window);
        settle();
        EXPECT_EQ(banner("Walks")->size(), row.picture);
    }
}

TEST_F(BannerInWindowTest, IsTheLastThatTheKeyboardComesTo) {
    answer();
    fixture.prepare({"a.png"});
    QWidget* const convert = &control(fixture.window(), QStringLiteral("Convert to AVIF"));
    QWidget* next = convert->nextInFocusChain();
    while (next != convert && (!next->isVisible() || (next->focusPolicy() & Qt::TabFocus) == 0)) {
        next = next->nextInFocusChain();
    }
    EXPECT_EQ(next, banner("Walks"));
}

} // namespace

} // namespace ovrel::test
