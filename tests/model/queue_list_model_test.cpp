#include "model/queue_list_model.h"
#include "tests/model/model_fixture.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace ovrel::test {

namespace {

using Kind = QueueListModel::Kind;
using State = QueueListModel::State;

/// A list under the eyes of Qt's own judge, who ends the program when it breaks a rule of item models.
struct Fixture : ModelFixture {
    QueueListModel rows{model()};
    QAbstractItemModelTester judge{&rows, QAbstractItemModelTester::FailureReportingMode::Fatal};

    QVariant at(int row, int role) const { return rows.data(rows.index(row), role); }
    std::string textAt(int row, int role) const { return at(row, role).toString().toStdString(); }
    State stateAt(int row) const { return at(row, QueueListModel::state).value<State>(); }
};

TEST(QueueListModel, HasARowForEachItem) {
    Fixture fixture;
    EXPECT_EQ(fixture.rows.rowCount(), 0);
    fixture.list({"a.png", "b.GIF", "c.avif"});
    ASSERT_EQ(fixture.rows.rowCount(), 3);
    EXPECT_EQ(fixture.rows.rowCount(fixture.rows.index(0)), 0);
    EXPECT_EQ(fixture.textAt(1, Qt::DisplayRole), "b.GIF");
    EXPECT_EQ(fixture.textAt(1, QueueListModel::fileName), "b.GIF");
    EXPECT_EQ(fixture.at(0, QueueListModel::kind).value<Kind>(), Kind::image);
    EXPECT_EQ(fixture.at(1, QueueListModel::kind).value<Kind>(), Kind::animation);
    EXPECT_EQ(fixture.at(2, QueueListModel::kind).value<Kind>(), Kind::copy);
    EXPECT_EQ(fixture.at(2, QueueListModel::id).toByteArray(), "/in/c.avif");
    EXPECT_EQ(fixture.textAt(0, Qt::ToolTipRole), "/in/a.png");
    EXPECT_FALSE(fixture.at(0, Qt::DecorationRole).isValid());
    fixture.model().clearQueue();
    EXPECT_EQ(fixture.rows.rowCount(), 0);
}

TEST(QueueListModel, TakesTheItemsThatAreThereBeforeIt) {
    ModelFixture fixture;
    fixture.list({"a.png"});
    EXPECT_EQ(QueueListModel(fixture.model()).rowCount(), 1);
}

TEST(QueueListModel, NotesWhatIsSpecialAboutAFile) {
    Fixture fixture;
    fixture.list({"a.png", "b.gif", "c.avif"});
    EXPECT_EQ(fixture.textAt(0, QueueListModel::note), "");
    EXPECT_EQ(fixture.textAt(1, QueueListModel::note), "Preserve animation");
    EXPECT_EQ(fixture.textAt(2, QueueListModel::note), "Copy without changes");
    QSignalSpy changes(&fixture.rows, &QueueListModel::dataChanged);
    fixture.model().setLanguage(AppLanguage::russian);
    EXPECT_EQ(changes.count(), 1);
    EXPECT_EQ(fixture.textAt(1, QueueListModel::note), "С сохранением анимации");
    EXPECT_EQ(fixture.textAt(2, QueueListModel::note), "Копирование без изменений");
}

TEST(QueueListModel, FollowsARun) {
    Fixture fixture;
    fixture.prepare({"a.png", "b.png", "c.png"});
    EXPECT_EQ(fixture.stateAt(0), State::waiting);
    EXPECT_EQ(fixture.textAt(0, QueueListModel::text), "");
    fixture.model().start();
    fixture.awaitConversions(1);
    EXPECT_EQ(fixture.stateAt(0), State::processing);
    EXPECT_EQ(fixture.textAt(0, QueueListModel::text), "Converting…");
    fixture.convert("a.avif");
    fixture.failToConvert();
    fixture.awaitConversions(3);
    EXPECT_EQ(fixture.stateAt(0), State::success);
    EXPECT_EQ(fixture.textAt(0, QueueListModel::text), "✓ a.avif");
    EXPECT_EQ(fixture.textAt(0, QueueListModel::toolTip), "/in/a.png\n✓ a.avif");
    EXPECT_EQ(fixture.stateAt(1), State::failure);
    EXPECT_EQ(fixture.textAt(1, QueueListModel::text), "Error: Trouble");
    EXPECT_EQ(fixture.textAt(1, Qt::ToolTipRole), "/in/b.png\nError: Trouble");
    fixture.model().setLanguage(AppLanguage::russian);
    EXPECT_EQ(fixture.textAt(1, Qt::ToolTipRole), "/in/b.png\nОшибка: Беда");
    EXPECT_EQ(fixture.stateAt(2), State::processing);
    fixture.convert();
    fixture.awaitIdle();

    QSignalSpy changes(&fixture.rows, &QueueListModel::dataChanged);
    fixture.model().resetQueueStatus();
    EXPECT_EQ(changes.count(), 1);
    EXPECT_EQ(fixture.stateAt(1), State::waiting);
}

TEST(QueueListModel, TellsOfOneRowWhenOneItemChanges) {
    Fixture fixture;
    fixture.prepare({"a.png", "b.png", "c.png"});
    fixture.convert();
    fixture.model().start();
    fixture.awaitConversions(2);
    QSignalSpy changes(&fixture.rows, &QueueListModel::dataChanged);
    QSignalSpy resets(&fixture.rows, &QueueListModel::modelReset);
    fixture.convert();
    fixture.awaitConversions(3);
    ASSERT_EQ(changes.count(), 2);
    for (int change = 0; change < 2; ++change) {
        EXPECT_EQ(changes.at(change).at(0).toModelIndex().row(), change + 1);
        EXPECT_EQ(changes.at(change).at(1).toModelIndex().row(), change + 1);
    }
    EXPECT_EQ(resets.count(), 0);
    fixture.convert();
    fixture.awaitIdle();
}

/// What a view knows that hears of parts alone. At each part it looks at all rows.
class Follower {
public:
    explicit Follower(const QueueListModel& rows) : rows_(rows) {
        QObject::connect(&rows, &QAbstractItemModel::rowsInserted, &context_,
                         [this](const QModelIndex& /*parent*/, int first, int last) {
                             for (int row = first; row <= last; ++row) {
                                 names_.insert(names_.begin() + row, nameAt(row));
                             }
                             look();
                         });
        QObject::connect(&rows, &QAbstractItemModel::rowsRemoved, &context_,
                         [this](const QModelIndex& /*parent*/, int first, int last) {
                             names_.erase(names_.begin() + first, names_.begin() + last + 1);
                             look();
                         });
        QObject::connect(&rows, &QAbstractItemModel::modelReset, &context_, [this] {
            ++resets;
            names_.clear();
            for (int row = 0; row < rows_.rowCount(); ++row) {
                names_.push_back(nameAt(row));
            }
            look();
        });
    }

    std::vector<std::string> names() const { return names_; }

    int parts = 0; ///< removals and insertions, resets included
    int resets = 0;

private:
    std::string nameAt(int row) const {
        return rows_.data(rows_.index(row), QueueListModel::fileName).toString().toStdString();
    }

    void look() {
        ++parts;
        ASSERT_EQ(rows_.rowCount(), static_cast<int>(names_.size()));
        for (int row = 0; row < rows_.rowCount(); ++row) {
            const std::string name = names_.at(static_cast<std::size_t>(row));
            ASSERT_EQ(nameAt(row), name);
            ASSERT_EQ(rows_.rowOf("/in/" + name), row);
        }
    }

    const QueueListModel& rows_;
    QObject context_;
    std::vector<std::string> names_;
};

TEST(QueueListModel, KeepsTheRowsThatStay) {
    using Names = std::vector<std::string>;
    Fixture fixture;
    Follower view(fixture.rows);
    fixture.list({"a.png", "b.png", "c.png", "d.png"});
    EXPECT_EQ(view.resets, 1);
    const QPersistentModelIndex current = fixture.rows.index(2);
    const auto expect = [&](const Names& names, int currentRow) {
        EXPECT_EQ(view.names(), names);
        EXPECT_EQ(fixture.listed(), names);
        EXPECT_EQ(current.row(), currentRow);
        EXPECT_EQ(view.resets, 1);
    };
    fixture.list({"0.png", "a.png", "b.png", "b1.png", "b2.png", "c.png", "d.png", "e.png"});
    expect({"0.png", "a.png", "b.png", "b1.png", "b2.png", "c.png", "d.png", "e.png"}, 5);
    EXPECT_EQ(view.parts, 4);
    fixture.model().setSelection({"/in/0.png", "/in/b1.png", "/in/b2.png", "/in/e.png"});
    fixture.model().removeSelected();
    expect({"a.png", "b.png", "c.png", "d.png"}, 2);
    EXPECT_EQ(view.parts, 7);
    fixture.list({"b.png", "b3.png", "c.png"});
    expect({"b.png", "b3.png", "c.png"}, 2);
    EXPECT_EQ(view.parts, 10);
    EXPECT_EQ(fixture.rows.rowOf("/in/d.png"), -1);
    fixture.list({"b.png", "b3.png", "c.png"});
    expect({"b.png", "b3.png", "c.png"}, 2);
    EXPECT_EQ(view.parts, 10);
}

TEST(QueueListModel, BeginsAnewWhereTheOrderIsAnother) {
    Fixture fixture;
    Follower view(fixture.rows);
    fixture.list({"a.png", "b.png", "c.png"});
    fixture.list({"c.png", "a.png", "b.png"});
    EXPECT_EQ(view.resets, 2);
    EXPECT_EQ(view.names(), fixture.listed());
    fixture.model().clearQueue();
    EXPECT_EQ(view.resets, 3);
    EXPECT_EQ(view.names(), fixture.listed());
}

TEST(QueueListModel, TellsOfManyPiecesAsOfANewList) {
    Fixture fixture;
    std::vector<std::string> all;
    Model::Ids everySecond;
    for (int number = 10'000; number < 12'100; ++number) {
        all.push_back(std::to_string(number) + ".png");
        if (number % 2 == 0) {
            everySecond.insert("/in/" + all.back());
        }
    }
    fixture.list(all);
    QSignalSpy resets(&fixture.rows, &QueueListModel::modelReset);
    QSignalSpy removals(&fixture.rows, &QueueListModel::rowsRemoved);
    fixture.model().setSelection(everySecond);
    fixture.model().removeSelected();
    EXPECT_EQ(resets.count(), 1);
    EXPECT_EQ(removals.count(), 0);
    EXPECT_EQ(fixture.rows.rowCount(), 1'050);
}

TEST(QueueListModel, FollowsAListenerThatChangesTheListAgain) {
    Fixture fixture;
    fixture.list({"a.png", "b.png", "c.png", "d.png"});
    QObject::connect(&fixture.rows, &QueueListModel::rowsRemoved, &fixture.model(), [&] {
        fixture.model().setSelection({"/in/b.png"});
        fixture.model().removeSelected();
    });
    fixture.model().setSelection({"/in/a.png", "/in/c.png"});
    fixture.model().removeSelected();
    ASSERT_EQ(fixture.rows.rowCount(), 1);
    EXPECT_EQ(fixture.textAt(0, Qt::DisplayRole), "d.png");
    EXPECT_EQ(fixture.rows.rowOf("/in/d.png"), 0);
}

TEST(QueueListModel, FindsARowByItsId) {
    Fixture fixture;
    fixture.list({"a.png", "b.png", "c.png"});
    EXPECT_EQ(fixture.rows.rowOf("/in/c.png"), 2);
    fixture.model().setSelection({"/in/a.png"});
    fixture.model().removeSelected();
    EXPECT_EQ(fixture.rows.rowOf("/in/c.png"), 1);
    EXPECT_EQ(fixture.rows.rowOf("/in/a.png"), -1);
}

} // namespace

} // namespace ovrel::test
