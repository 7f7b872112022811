#include "tests/updates/update_fixture.h"

#include <QMetaMethod>
#include <QMetaProperty>

#include <gmock/gmock.h>

#include <map>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

using Calls = std::vector<std::string>;

/// How often each property was said to have changed.
class Changes {
public:
    explicit Changes(UpdateManager& manager) {
        const auto count = [this, &manager](const char* name, void (UpdateManager::*changed)()) {
            QObject::connect(&manager, changed, &context_, [this, name] { ++counts_[name]; });
        };
        count("installing", &UpdateManager::installingChanged);
        count("checking", &UpdateManager::checkingChanged);
        count("heading", &UpdateManager::headingChanged);
        count("detail", &UpdateManager::detailChanged);
        count("progress", &UpdateManager::progressChanged);
        count("showsProgress", &UpdateManager::showsProgressChanged);
        count("actions", &UpdateManager::actionsChanged);
    }

    std::map<std::string, int> take() { return std::exchange(counts_, {}); }

private:
    std::map<std::string, int> counts_;
    QObject context_;
};

void doNothing() {}

} // namespace

TEST(UpdateManager, BeginsWithNothingToShow) {
    UpdateFixture fixture;
    EXPECT_FALSE(fixture.manager().installing());
    EXPECT_FALSE(fixture.manager().checking());
    EXPECT_FALSE(fixture.manager().processing());
    EXPECT_EQ(fixture.shown(), Shown());
    EXPECT_THAT(fixture.takeCalls(), IsEmpty());
}

TEST(UpdateManager, PublishesEachPropertyWithASignalOfItsOwn) {
    UpdateFixture fixture;
    fixture.begin(true);
    fixture.manager().show(QStringLiteral("heading"), QStringLiteral("detail"), true,
                           {UpdateManager::Action(QStringLiteral("button"), doNothing)});
    fixture.manager().showExtractionReceivedProgress(0.5);
    const std::map<std::string, QVariant> published{
        {"installing", false},
        {"checking", true},
        {"heading", QStringLiteral("heading")},
        {"detail", QStringLiteral("detail")},
        {"progress", QVariant::fromValue(std::optional(0.5))},
        {"showsProgress", true},
        {"actions", QVariant::fromValue(fixture.manager().actions())},
    };
    const QMetaObject& meta = UpdateManager::staticMetaObject;
    EXPECT_EQ(meta.propertyCount() - meta.propertyOffset(), static_cast<int>(published.size()));
    for (const auto& [name, value] : published) {
        SCOPED_TRACE(name);
        const QMetaProperty property = meta.property(meta.indexOfProperty(name.c_str()));
        ASSERT_TRUE(property.isValid());
        EXPECT_FALSE(property.isWritable());
        EXPECT_EQ(property.notifySignal().name(), QByteArray::fromStdString(name + "Changed"));
        EXPECT_TRUE(property.read(&fixture.manager()) == value);
    }
}

TEST(UpdateManager, TellsOfWhatHasChangedAndOfNothingElse) {
    UpdateFixture fixture;
    UpdateManager& manager = fixture.manager();
    Changes changes(manager);
    const auto one = [] { return QList{UpdateManager::Action(QStringLiteral("button"), doNothing)}; };

    manager.show(QStringLiteral("a"), QStringLiteral("b"), true, one());
    EXPECT_THAT(changes.take(),
                ElementsAre(Pair("actions", 1), Pair("detail", 1), Pair("heading", 1), Pair("showsProgress", 1)));
    manager.show(QStringLiteral("a"), QStringLiteral("b"), true, manager.actions());
    EXPECT_THAT(changes.take(), IsEmpty());
    manager.show(QStringLiteral("a"), QStringLiteral("b"), true, one()); // another button of the same title
    EXPECT_THAT(changes.take(), ElementsAre(Pair("actions", 1)));
    manager.showExtractionReceivedProgress(0.25);
    manager.showExtractionReceivedProgress(0.25);
    EXPECT_THAT(changes.take(), ElementsAre(Pair("progress", 1)));
    manager.show(QStringLiteral("a"), {}, true, manager.actions());
    EXPECT_THAT(changes.take(), ElementsAre(Pair("detail", 1), Pair("progress", 1)));
    fixture.authorize();
    changes.take();
    manager.dismissUpdateInstallation();
    EXPECT_THAT(changes.take(), ElementsAre(Pair("actions", 1), Pair("installing", 1)));
    manager.dismissUpdateInstallation();
    EXPECT_THAT(changes.take(), IsEmpty());
    fixture.begin(false);
    fixture.answer("words");
    EXPECT_THAT(changes.take(), ElementsAre(Pair("checking", 2)));
    manager.setProcessing(true);
    manager.setProcessing(false);
    EXPECT_THAT(changes.take(), IsEmpty());
}

TEST(UpdateManager, GivesEachActionAnIdentityOfItsOwn) {
    const UpdateManager::Action first(QStringLiteral("button"), doNothing);
    const UpdateManager::Action second(QStringLiteral("button"), doNothing);
    const UpdateManager::Action copy = first; // NOLINT(performance-unnecessary-copy-initialization): the subject
    EXPECT_FALSE(first.id.isNull());
    EXPECT_NE(first.id, second.id);
    EXPECT_EQ(first.id, copy.id);
    EXPECT_FALSE(first == second);
    EXPECT_TRUE(first == copy);
}

TEST(UpdateManager, MakesItsPanelOnceAndTitlesItEachTime) {
    UpdateFixture fixture;
    fixture.manager().show(QStringLiteral("a"), {}, false, {});
    EXPECT_THAT(fixture.takeCalls(), ElementsAre("panel: made", "panel: title Ovrel Update", "panel: front"));
    fixture.language = AppLanguage::russian;
    EXPECT_THAT(fixture.takeCalls(), IsEmpty());
    fixture.manager().show(QStringLiteral("b"), {}, false, {});
    EXPECT_THAT(fixture.takeCalls(), ElementsAre("panel: title Обновление Ovrel", "panel: front"));
    fixture.manager().dismissUpdateInstallation();
    EXPECT_THAT(fixture.takeCalls(), ElementsAre("panel: out"));
    fixture.manager().show(QStringLiteral("c"), {}, false, {});
    EXPECT_THAT(fixture.takeCalls(), ElementsAre("panel: title Обновление Ovrel", "panel: front"));
}

TEST(UpdateManager, HasEverythingReadyWhenThePanelIsMade) {
    UpdateFixture fixture;
    Shown shown;
    fixture.manager().setPanelFactory([&](UpdateManager&) {
        shown = fixture.shown();
        return nullptr;
    });
    fixture.manager().show(QStringLiteral("a"), QStringLiteral("b"), true,
                           {UpdateManager::Action(QStringLiteral("button"), doNothing)});
    EXPECT_EQ(shown, (Shown{"a", "b", true, {}, {"button"}}));
}

TEST(UpdateManager, KeepsItsStateWithoutAPanelAndShowsItOnceThereIsOne) {
    UpdateFixture fixture;
    fixture.manager().setPanelFactory({});
    bool completed = false;
    fixture.manager().notice(QStringLiteral("a"), QStringLiteral("b"), [&completed] { completed = true; });
    EXPECT_EQ(fixture.shown(), (Shown{"a", "b", false, {}, {"OK"}}));
    fixture.manager().showUpdateInFocus();
    fixture.press("OK");
    EXPECT_TRUE(completed);
    EXPECT_THAT(fixture.manager().actions(), IsEmpty());
    fixture.manager().dismissUpdateInstallation();
    EXPECT_THAT(fixture.takeCalls(), IsEmpty());

    int made = 0;
    fixture.manager().setPanelFactory([&made](UpdateManager&) {
        ++made;
        return nullptr;
    });
    fixture.manager().show(QStringLiteral("c"), {}, false, {});
    EXPECT_EQ(made, 1);
}

TEST(UpdateManager, ConfirmsAMessageAfterItIsGone) {
    UpdateFixture fixture;
    fixture.manager().notice(QStringLiteral("a"), QStringLiteral("b"), [&fixture] {
        fixture.record(fixture.manager().actions().isEmpty() ? "confirmed, no actions" : "confirmed, still actions");
    });
    EXPECT_EQ(fixture.shown(), (Shown{"a", "b", false, {}, {"OK"}}));
    fixture.takeCalls();
    fixture.press("OK");
    EXPECT_THAT(fixture.takeCalls(), ElementsAre("panel: out", "confirmed, no actions"));
    EXPECT_EQ(fixture.shown(), (Shown{"a", "b", false, {}, {}}));
}

TEST(UpdateManager, MayShowTheNextMessageFromAConfirmation) {
    UpdateFixture fixture;
    fixture.manager().notice(QStringLiteral("a"), {},
                             [&fixture] { fixture.manager().notice(QStringLiteral("b"), {}, [] {}); });
    fixture.takeCalls();
    fixture.press("OK");
    EXPECT_THAT(fixture.takeCalls(), ElementsAre("panel: out", "panel: title Ovrel Update", "panel: front"));
    EXPECT_EQ(fixture.shown(), (Shown{"b", "", false, {}, {"OK"}}));
}

TEST(UpdateManager, LeavesWhatIsShownInTheLanguageInWhichItAppeared) {
    UpdateFixture fixture(AppLanguage::russian);
    fixture.manager().showDownloadDidStartExtractingUpdate();
    fixture.language = AppLanguage::english;
    fixture.manager().showExtractionReceivedProgress(0.5);
    fixture.manager().showUpdateInFocus();
    EXPECT_EQ(fixture.shown().heading, "Проверяем и подготавливаем обновление…");
    fixture.manager().showDownloadDidStartExtractingUpdate();
    EXPECT_EQ(fixture.shown().heading, "Verifying and preparing update…");
}

} // namespace ovrel::test
