#include "tests/model/model_fixture.h"

#include <gmock/gmock.h>

#include <QCoreApplication>

namespace ovrel::test {

namespace {

TEST(ModelLifetime, MayEndWhileItScans) {
    ModelFixture fixture;
    fixture.model().add({"/in"});
    waitUntil([&] { return fixture.scans->count() == 1; });
    fixture.destroyModel();
    fixture.scans->succeed({{"/in/a.png", ""}});
    drain();
    EXPECT_EQ(fixture.scans->count(), 1U);
}

TEST(ModelLifetime, MayEndBeforeItsScanBegins) {
    ModelFixture fixture;
    fixture.model().add({"/in"});
    fixture.destroyModel();
    drain();
    EXPECT_EQ(fixture.scans->count(), 0U);
}

TEST(ModelLifetime, MayEndBeforeTheFirstImageOfARun) {
    ModelFixture fixture;
    fixture.prepare({"a.png"});
    fixture.model().start();
    fixture.destroyModel();
    drain();
    EXPECT_EQ(fixture.conversions->count(), 0U);
}

TEST(ModelLifetime, MayEndDuringARunThatThenBeginsNothingMore) {
    ModelFixture fixture;
    fixture.prepare({"a.png", "b.png", "c.png"});
    fixture.convert();
    fixture.model().start();
    fixture.awaitConversions(2);
    fixture.destroyModel();
    fixture.convert();
    drain();
    EXPECT_EQ(fixture.conversions->count(), 2U);
    EXPECT_EQ(fixture.awake, 0);
}

TEST(ModelLifetime, MayEndWhileItTellsOfAnything) {
    for (std::size_t index = 0; index < signalsOfModel().size(); ++index) {
        for (int time = 1; time <= 3; ++time) {
            SCOPED_TRACE("signal " + std::to_string(index) + ", time " + std::to_string(time));
            ModelFixture fixture;
            fixture.model();
            int count = 0;
            QObject::connect(&fixture.model(), signalsOfModel()[index], [&] {
                if (++count == time) {
                    fixture.destroyModel();
                }
            });
            const auto with = [&](const auto& step) {
                if (fixture.hasModel()) {
                    step(fixture.model());
                }
            };
            fixture.scans->succeed({{"/in/a.png", ""}, {"/in/b.png", ""}});
            fixture.convert();
            fixture.failToConvert();
            with([](Model& model) { model.add({"/in"}); });
            waitUntil([&] { return !fixture.hasModel() || !fixture.model().scanning(); });
            with([](Model& model) { model.setOutput("/out"); });
            with([](Model& model) { model.setLanguage(AppLanguage::russian); });
            with([](Model& model) { model.start(); });
            waitUntil([&] { return !fixture.hasModel() || !fixture.model().busy(); });
            with([](Model& model) { model.setSelection({"/in/a.png"}); });
            with([](Model& model) { model.removeSelected(); });
            with([](Model& model) { model.clearQueue(); });
            if (fixture.hasModel()) {
                EXPECT_LT(count, time);
            }
        }
    }
}

TEST(ModelLifetime, MayEndWhileItTellsOfAStatus) {
    for (int time = 1; time <= 4; ++time) {
        ModelFixture fixture;
        fixture.prepare({"a.png", "b.png"});
        int count = 0;
        QObject::connect(&fixture.model(), &Model::statusChanged, [&] {
            if (++count == time) {
                fixture.destroyModel();
            }
        });
        fixture.convert();
        fixture.convert();
        fixture.model().start();
        waitUntil([&] { return !fixture.hasModel(); });
        drain();
        EXPECT_EQ(count, time);
    }
}

TEST(ModelLifetime, MayEndByAnUpdateThatHasWaitedForIt) {
    ModelFixture fixture;
    fixture.prepare({"a.png"});
    fixture.model().start();
    EXPECT_TRUE(fixture.updates.manager().shouldPostponeRelaunchForUpdate(installableItem(),
                                                                          OneShot<>([&] { fixture.destroyModel(); })));
    fixture.convert();
    waitUntil([&] { return !fixture.hasModel(); });
    drain();
}

TEST(ModelClosing, IsFreeWhenNothingGoesOn) {
    ModelFixture fixture;
    EXPECT_EQ(fixture.model().requestClose(), Model::Closing::now);
    fixture.prepare({"a.png"});
    EXPECT_EQ(fixture.model().requestClose(), Model::Closing::now);
    EXPECT_FALSE(fixture.model().cancelled());
}

TEST(ModelClosing, StopsARunFirstAndDoesNotWaitForItTheSecondTime) {
    ModelFixture fixture;
    fixture.prepare({"a.png", "b.png"});
    for (int run = 1; run <= 2; ++run) {
        fixture.model().start();
        EXPECT_EQ(fixture.model().requestClose(), Model::Closing::afterRun);
        EXPECT_TRUE(fixture.model().cancelled());
        EXPECT_EQ(fixture.model().requestClose(), Model::Closing::atOnce);
        fixture.awaitIdle();
        EXPECT_EQ(fixture.model().requestClose(), Model::Closing::now);
    }
}

TEST(ModelClosing, WaitsForAnImageThatIsTheLastAnyway) {
    ModelFixture fixture;
    fixture.prepare({"a.png", "b.png"});
    fixture.model().start();
    fixture.awaitConversions(1);
    fixture.model().setCancelled(true);
    EXPECT_EQ(fixture.model().requestClose(), Model::Closing::afterRun);
    fixture.convert();
    fixture.awaitIdle();
    EXPECT_EQ(fixture.conversions->count(), 1U);
}

TEST(ModelClosing, DoesNotWaitForAScan) {
    ModelFixture fixture;
    fixture.model().add({"/in"});
    EXPECT_EQ(fixture.model().requestClose(), Model::Closing::atOnce);
}

} // namespace

} // namespace ovrel::test
