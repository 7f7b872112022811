#include "tests/ui/controls.h"
#include "tests/ui/window_fixture.h"
#include "ui/queue_delegate.h"
#include "ui/theme.h"

#include <QLabel>
#include <QListView>
#include <QSignalSpy>
#include <QTest>

#include <gmock/gmock.h>

#include <string>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class QueueSelectionTest : public testing::Test {
protected:
    void fill(const std::vector<std::string>& names) {
        fixture.list(names);
        fixture.show();
        settle();
    }
    QListView& list() { return *fixture.window().findChild<QListView*>(); }
    void clickRow(int row, Qt::KeyboardModifiers modifiers = {}) {
        const QPoint where = list().visualRect(list().model()->index(row, 0)).center();
        QTest::mouseClick(list().viewport(), Qt::LeftButton, modifiers, where);
    }
    void press(int key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(fixture.window().focusWidget(), static_cast<Qt::Key>(key), modifiers);
    }
    /// The rows that are shown as selected.
    std::vector<int> selectedRows() {
        std::vector<int> rows;
        for (const QModelIndex& index : list().selectionModel()->selectedIndexes()) {
            rows.push_back(index.row());
        }
        std::sort(rows.begin(), rows.end());
        return rows;
    }
    const Model::Ids& selection() { return fixture.model().selection(); }

    WindowFixture fixture;
};

TEST_F(QueueSelectionTest, IsMadeByClicksAsInAFileManager) {
    fill({"a.png", "b.png", "c.png", "d.png"});
    clickRow(1);
    EXPECT_THAT(selection(), UnorderedElementsAre("/in/b.png"));
    clickRow(3, Qt::ControlModifier);
    EXPECT_THAT(selection(), UnorderedElementsAre("/in/b.png", "/in/d.png"));
    clickRow(3, Qt::ControlModifier);
    EXPECT_THAT(selection(), UnorderedElementsAre("/in/b.png"));
    clickRow(0);
    clickRow(2, Qt::ShiftModifier);
    EXPECT_THAT(selection(), UnorderedElementsAre("/in/a.png", "/in/b.png", "/in/c.png"));
    clickRow(3);
    EXPECT_THAT(selection(), UnorderedElementsAre("/in/d.png"));
}

TEST_F(QueueSelectionTest, IsMadeByTheKeyboard) {
    fill({"a.png", "b.png", "c.png"});
    list().setFocus();
    press(Qt::Key_A, Qt::ControlModifier);
    EXPECT_THAT(selection(), UnorderedElementsAre("/in/a.png", "/in/b.png", "/in/c.png"));
    press(Qt::Key_Escape);
    EXPECT_THAT(selection(), IsEmpty());
    EXPECT_THAT(selectedRows(), IsEmpty());

    press(Qt::Key_Down);
    EXPECT_THAT(selection(), UnorderedElementsAre("/in/b.png"));
    press(Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_THAT(selection(), UnorderedElementsAre("/in/b.png", "/in/c.png"));
    press(Qt::Key_Home);
    EXPECT_THAT(selection(), UnorderedElementsAre("/in/a.png"));
    press(Qt::Key_End);
    EXPECT_THAT(selection(), UnorderedElementsAre("/in/c.png"));
}

TEST_F(QueueSelectionTest, SelectsAllWhereverTheKeyboardIs) {
    fill({"a.png", "b.png"});
    control(fixture.window(), QStringLiteral("Clear List")).setFocus();
    press(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(selection().size(), 2U);
    press(Qt::Key_Escape);
    EXPECT_EQ(selection().size(), 0U);
}

TEST_F(QueueSelectionTest, FollowsTheModel) {
    fill({"a.png", "b.png", "c.png"});
    fixture.model().setSelection({"/in/a.png", "/in/c.png"});
    EXPECT_THAT(selectedRows(), ElementsAre(0, 2));
    fixture.model().select({"/in/a.png"}, false);
    EXPECT_THAT(selectedRows(), ElementsAre(2));
    fixture.model().setSelection({"/in/b.png", "nothing of the list"});
    EXPECT_THAT(selectedRows(), ElementsAre(1));
    fixture.model().setSelection({});
    EXPECT_THAT(selectedRows(), IsEmpty());
}

TEST_F(QueueSelectionTest, IsCountedInBothLanguages) {
    fill({"a.png", "b.png", "c.png"});
    clickRow(0);
    clickRow(2, Qt::ShiftModifier);
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Selected: 3")));
    fixture.model().setLanguage(AppLanguage::russian);
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Выбрано файлов: 3")));
    clickRow(1, Qt::ControlModifier);
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Выбрано файлов: 2")));
}

TEST_F(QueueSelectionTest, IsProminentWhereThereIsOne) {
    fill({"a.png", "b.png"});
    const auto colorOfCount = [this](const QString& text) {
        const QLabel& count = control<QLabel>(fixture.window(), text);
        return count.palette().color(count.foregroundRole());
    };
    EXPECT_EQ(colorOfCount(QStringLiteral("Selected: 0")), colors().secondaryText);
    clickRow(0);
    EXPECT_EQ(colorOfCount(QStringLiteral("Selected: 1")), colors().text);
}

TEST_F(QueueSelectionTest, IsRemovedByTheDeleteKey) {
    fill({"a.png", "b.png", "c.png"});
    clickRow(0);
    clickRow(2, Qt::ControlModifier);
    press(Qt::Key_Delete);
    EXPECT_THAT(selection(), IsEmpty());
    EXPECT_THAT(selectedRows(), IsEmpty());
    ASSERT_EQ(list().model()->rowCount(), 1);
    EXPECT_EQ(fixture.window().focusWidget(), &list());
    press(Qt::Key_Delete); // nothing is selected now
    EXPECT_EQ(list().model()->rowCount(), 1);
}

TEST_F(QueueSelectionTest, WorksOnAfterARemovalAndAScan) {
    fill({"a.png", "b.png", "c.png"});
    clickRow(0);
    click(fixture.window(), QStringLiteral("Remove Selected"));
    clickRow(1);
    EXPECT_THAT(selection(), UnorderedElementsAre("/in/c.png"));

    fixture.model().rescan();
    fixture.services.scans->succeed({{"/in/a.png", ""}, {"/in/b.png", ""}, {"/in/c.png", ""}, {"/in/d.png", ""}});
    fixture.awaitIdle();
    EXPECT_THAT(selection(), IsEmpty());
    EXPECT_THAT(selectedRows(), IsEmpty());
    ASSERT_EQ(list().model()->rowCount(), 3); // what was removed stays away
    clickRow(0);
    clickRow(2, Qt::ShiftModifier);
    EXPECT_THAT(selection(), UnorderedElementsAre("/in/b.png", "/in/c.png", "/in/d.png"));
}

TEST_F(QueueSelectionTest, OutlivesARunAndItsLanguage) {
    fill({"a.png", "b.png"});
    fixture.model().setOutput("/out");
    clickRow(1);
    fixture.start();
    fixture.model().setLanguage(AppLanguage::russian);
    fixture.services.convert();
    fixture.services.convert();
    fixture.awaitIdle();
    EXPECT_THAT(selection(), UnorderedElementsAre("/in/b.png"));
    EXPECT_THAT(selectedRows(), ElementsAre(1));
}

/// Draws as the one before it, and counts.
class CountingDelegate final : public QStyledItemDelegate {
public:
    explicit CountingDelegate(const QAbstractItemDelegate& drawing) : drawing_(drawing) {}

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        ++paints;
        drawing_.paint(painter, option, index);
    }
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        ++measures;
        return drawing_.sizeHint(option, index);
    }

    mutable int paints = 0;
    mutable int measures = 0;

private:
    const QAbstractItemDelegate& drawing_;
};

class LongQueueTest : public QueueSelectionTest {
protected:
    static constexpr int count = 100'000;

    LongQueueTest() {
        std::vector<std::string> names;
        names.reserve(count);
        for (int index = 0; index < count; ++index) {
            names.push_back(std::to_string(index) + ".png");
        }
        fixture.window(); // makes the list before its items
        list().setItemDelegate(&delegate);
        fill(names);
        fixture.window().grab();
        delegate.paints = 0;
        delegate.measures = 0;
    }
    ~LongQueueTest() override { fixture.destroyWindow(); }

    /// More rows than these are not to be seen at once.
    static constexpr int seen = 30;

    const QueueDelegate drawing;
    CountingDelegate delegate{drawing};
};

TEST_F(LongQueueTest, DrawsAndMeasuresOnlyWhatIsSeen) {
    for (int picture = 0; picture < 3; ++picture) {
        list().scrollTo(list().model()->index(picture * (count / 2 - 1), 0));
        fixture.window().grab();
    }
    EXPECT_GT(delegate.paints, 3);
    EXPECT_LE(delegate.paints, 3 * seen + seen);
    EXPECT_LE(delegate.measures, 10 * seen);
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("100000")));
}

TEST_F(LongQueueTest, TellsOnceThatEverythingIsSelected) {
    QSignalSpy told(&fixture.model(), &Model::selectionChanged);
    press(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(told.count(), 1);
    EXPECT_EQ(selection().size(), std::size_t{count});
    EXPECT_TRUE(shows(fixture.window(), QStringLiteral("Selected: 100000")));
    press(Qt::Key_Escape);
    EXPECT_EQ(told.count(), 2);
    EXPECT_THAT(selection(), IsEmpty());
    fixture.window().grab();
    EXPECT_LE(delegate.paints, 3 * seen);
}

TEST_F(LongQueueTest, DrawsOneRowAnewWhenOneImageIsDone) {
    fixture.model().setOutput("/out");
    fixture.start();
    settle();
    delegate.paints = 0;
    QSignalSpy changes(list().model(), &QAbstractItemModel::dataChanged);
    QSignalSpy resets(list().model(), &QAbstractItemModel::modelReset);
    fixture.services.convert();
    fixture.services.awaitConversions(2);
    fixture.awaitCompleted(1);
    settle();
    ASSERT_EQ(changes.count(), 2); // the one that is done, and the next
    for (const QList<QVariant>& change : changes) {
        EXPECT_EQ(change.at(0).toModelIndex(), change.at(1).toModelIndex());
    }
    EXPECT_EQ(resets.count(), 0);
    EXPECT_LE(delegate.paints, seen);
    fixture.model().setCancelled(true);
    fixture.services.convert();
    fixture.awaitIdle();
}

TEST_F(LongQueueTest, FollowsTheImageInHandUnlessTheUserLooksElsewhere) {
    fixture.model().setOutput("/out");
    const auto isSeen = [this](int row) {
        return list().viewport()->rect().intersects(list().visualRect(list().model()->index(row, 0)));
    };
    fixture.start();
    for (int done = 1; done <= seen; ++done) {
        fixture.services.convert();
        fixture.services.awaitConversions(static_cast<std::size_t>(done) + 1);
        fixture.awaitCompleted(done);
    }
    EXPECT_TRUE(isSeen(seen));
    EXPECT_FALSE(isSeen(0));
    list().scrollToBottom();
    fixture.services.convert();
    fixture.services.awaitConversions(seen + 2);
    fixture.awaitCompleted(seen + 1);
    EXPECT_TRUE(isSeen(count - 1));
    fixture.model().setCancelled(true);
    fixture.services.convert();
    fixture.awaitIdle();
}

} // namespace

} // namespace ovrel::test
