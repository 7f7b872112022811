#include "tests/model/model_fixture.h"

#include <gmock/gmock.h>

#include <QCoreApplication>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The message in both languages, with a bar between them.
std::string bothMessages(Model& model) {
    const AppLanguage before = model.language();
    model.setLanguage(AppLanguage::russian);
    const std::string russian = model.message().toStdString();
    model.setLanguage(AppLanguage::english);
    const std::string english = model.message().toStdString();
    model.setLanguage(before);
    return russian + " | " + english;
}

TEST(ModelRun, CanStartOnlyWhenAllThatItNeedsIsThere) {
    ModelFixture fixture;
    Model& model = fixture.model();
    EXPECT_FALSE(model.canStart());
    model.setOutput("/out");
    EXPECT_FALSE(model.canStart());
    fixture.list({"a.png"});
    EXPECT_TRUE(model.canStart());
    model.setOutput(std::nullopt);
    EXPECT_FALSE(model.canStart());
    model.setOutput("/out");

    model.rescan();
    EXPECT_FALSE(model.canStart());
    fixture.scans->succeed({{"/in/a.png", ""}});
    fixture.awaitIdle();
    EXPECT_TRUE(model.canStart());

    model.start();
    EXPECT_FALSE(model.canStart());
    fixture.convert();
    fixture.awaitIdle();
    EXPECT_TRUE(model.canStart());

    fixture.updates.authorize();
    ASSERT_TRUE(fixture.updates.manager().installing());
    EXPECT_FALSE(model.canStart());
}

TEST(ModelRun, NeedsTheSystemsWriterForWhatIsNeitherAvifNorGif) {
    struct Row {
        std::vector<std::string> names;
        EncodingMode mode;
        bool systemWriter;
        bool canStart;
    };
    const Row rows[] = {
        {{"a.jpg"}, EncodingMode::efficient, false, true},
        {{"a.jpg"}, EncodingMode::system, true, true},
        {{"a.jpg"}, EncodingMode::system, false, false},
        {{"a.avif", "b.GIF", "c.gif", "d.AVIF"}, EncodingMode::system, false, true},
        {{"a.avif", "b.gif", "c.jpg"}, EncodingMode::system, false, false},
    };
    for (const Row& row : rows) {
        ModelFixture fixture;
        fixture.systemWriter = row.systemWriter;
        fixture.prepare(row.names);
        fixture.model().setMode(row.mode);
        EXPECT_EQ(fixture.model().canStart(), row.canStart);
        fixture.model().start();
        EXPECT_EQ(fixture.model().busy(), row.canStart);
        fixture.model().setCancelled(true);
        fixture.awaitIdle();
    }
}

TEST(ModelRun, TellsWhenItsStartBecomesPossibleOrImpossible) {
    ModelFixture fixture;
    SignalCount changes(fixture.model(), &Model::canStartChanged);
    fixture.model().setOutput("/out");
    EXPECT_EQ(changes.take(), 1);
    fixture.list({"a.png"});
    EXPECT_EQ(changes.take(), 2); // the beginning and the end of the scan
    fixture.model().setMode(EncodingMode::system);
    EXPECT_EQ(changes.take(), 1);
    fixture.updates.authorize();
    EXPECT_EQ(changes.take(), 1);
    EXPECT_FALSE(fixture.model().canStart());
    fixture.updates.manager().dismissUpdateInstallation();
    EXPECT_EQ(changes.take(), 1);
    EXPECT_TRUE(fixture.model().canStart());
    fixture.model().setQuality(1);
    fixture.model().setSelection({"/in/a.png"});
    EXPECT_EQ(changes.take(), 0);
}

TEST(ModelRun, DoesNothingWithoutAnOutputFolder) {
    ModelFixture fixture;
    fixture.list({"a.png"});
    fixture.model().start();
    EXPECT_FALSE(fixture.model().busy());
    drain();
    EXPECT_EQ(fixture.conversions->count(), 0U);
}

TEST(ModelRun, ConvertsOneItemAfterTheOtherInTheOrderOfTheList) {
    ModelFixture fixture;
    fixture.prepare({"a.png", "b.avif", "c.gif"});
    Model& model = fixture.model();
    model.start();
    EXPECT_TRUE(model.busy());
    EXPECT_EQ(model.activeItem(), std::nullopt);
    EXPECT_TRUE(model.statuses().empty());
    EXPECT_EQ(fixture.message(), "Files queued: 3");

    fixture.awaitConversions(1);
    EXPECT_EQ(model.activeItem(), model.items().at(0));
    EXPECT_EQ(fixture.statusOf("a.png"), "Converting…");
    EXPECT_EQ(fixture.statusOf("b.avif"), "");
    EXPECT_EQ(bothMessages(model), "Преобразую 1 из 3: a.png | Converting 1 of 3: a.png");

    fixture.convert("a.avif");
    waitUntil([&] { return model.completed() == 1; });
    EXPECT_EQ(model.successes(), 1);
    EXPECT_EQ(fixture.statusOf("a.png"), "✓ a.avif");
    EXPECT_EQ(fixture.statusOf("b.avif"), "Copying…");
    EXPECT_EQ(bothMessages(model), "Копирую 2 из 3: b.avif | Copying 2 of 3: b.avif");
    EXPECT_EQ(fixture.statusOf("b.avif", AppLanguage::russian), "Копирование…");

    fixture.convert("b-2.avif");
    waitUntil([&] { return model.completed() == 2; });
    EXPECT_EQ(fixture.statusOf("b.avif"), "✓ b-2.avif · copied");
    fixture.awaitConversions(3);
    EXPECT_EQ(fixture.conversions->count(), 3U);

    fixture.convert("c.avif", true);
    fixture.awaitIdle();
    EXPECT_EQ(fixture.statusOf("c.gif"), "✓ c.avif · animated");
    EXPECT_TRUE(model.finished());
    EXPECT_EQ(model.activeItem(), std::nullopt);
    EXPECT_EQ(model.completed(), 3);
    EXPECT_EQ(model.successes(), 3);
    EXPECT_EQ(model.failures(), 0);
    EXPECT_EQ(bothMessages(model), "Готово: 3 успешно, 0 с ошибками | Done: 3 successful, 0 failed");
    EXPECT_EQ(model.error(), nullptr);
}

TEST(ModelRun, GoesOnAfterAFailureAndNeverShowsAnAlert) {
    ModelFixture fixture;
    fixture.prepare({"a.png", "b.webp", "c.png"});
    fixture.failToConvert();
    fixture.convert("b.avif", true);
    fixture.conversions->fail(std::make_exception_ptr(FileError(FileError::writeOutOfSpace, "/out")));
    fixture.model().start();
    fixture.awaitIdle();
    EXPECT_EQ(fixture.statusOf("a.png"), "Error: Trouble");
    EXPECT_EQ(fixture.statusOf("a.png", AppLanguage::russian), "Ошибка: Беда");
    EXPECT_EQ(fixture.statusOf("b.webp"), "✓ b.avif · first frame only");
    EXPECT_EQ(fixture.statusOf("c.png"), "Error: There is not enough free disk space.");
    EXPECT_EQ(fixture.message(), "Done: 1 successful, 2 failed");
    EXPECT_EQ(fixture.model().error(), nullptr);
}

TEST(ModelRun, GoesThroughEveryItemWhenAllFail) {
    ModelFixture fixture;
    fixture.prepare({"a.png", "b.png", "c.png"});
    for (int count = 0; count < 3; ++count) {
        fixture.failToConvert();
    }
    fixture.model().start();
    fixture.awaitIdle();
    EXPECT_EQ(bothMessages(fixture.model()), "Готово: 0 успешно, 3 с ошибками | Done: 0 successful, 3 failed");
}

TEST(ModelRun, StopsAfterTheImageInHand) {
    ModelFixture fixture;
    std::vector<std::string> names;
    for (int number = 0; number < 10; ++number) {
        names.push_back(std::to_string(number) + ".png");
    }
    fixture.prepare(names);
    fixture.model().start();
    fixture.awaitConversions(1);
    fixture.model().setCancelled(true);
    EXPECT_TRUE(fixture.model().busy());
    EXPECT_EQ(fixture.message(), "Converting 1 of 10: 0.png");
    fixture.convert();
    fixture.awaitIdle();
    EXPECT_EQ(fixture.conversions->count(), 1U);
    EXPECT_EQ(bothMessages(fixture.model()),
              "Остановлено: 1 успешно, 0 с ошибками, 9 осталось | Stopped: 1 successful, 0 failed, 9 remaining");
    EXPECT_TRUE(fixture.model().cancelled());
}

TEST(ModelRun, SaysThatItWasStoppedWhenThatCameWithTheLastImage) {
    ModelFixture fixture;
    fixture.prepare({"a.png", "b.png"});
    fixture.convert();
    fixture.model().start();
    fixture.awaitConversions(2);
    fixture.model().setCancelled(true);
    fixture.failToConvert();
    fixture.awaitIdle();
    EXPECT_EQ(fixture.message(), "Stopped: 1 successful, 1 failed, 0 remaining");
}

TEST(ModelRun, ConvertsNothingWhenItIsStoppedBeforeTheFirst) {
    ModelFixture fixture;
    fixture.prepare({"a.png"});
    fixture.model().start();
    fixture.model().setCancelled(true);
    fixture.awaitIdle();
    EXPECT_EQ(fixture.conversions->count(), 0U);
    EXPECT_EQ(fixture.message(), "Stopped: 0 successful, 0 failed, 1 remaining");
}

TEST(ModelRun, StartsAfreshAfterAStoppedOne) {
    ModelFixture fixture;
    fixture.prepare({"a.png", "b.png"});
    fixture.model().start();
    fixture.awaitConversions(1);
    fixture.model().setCancelled(true);
    fixture.failToConvert();
    fixture.awaitIdle();
    ASSERT_EQ(fixture.message(), "Stopped: 0 successful, 1 failed, 1 remaining");

    fixture.model().start();
    EXPECT_FALSE(fixture.model().cancelled());
    EXPECT_FALSE(fixture.model().finished());
    EXPECT_TRUE(fixture.model().statuses().empty());
    EXPECT_EQ(fixture.model().completed(), 0);
    fixture.convert();
    fixture.convert();
    fixture.awaitIdle();
    EXPECT_EQ(fixture.message(), "Done: 2 successful, 0 failed");
}

TEST(ModelRun, TakesItsSettingsAlongWhenItStarts) {
    ModelFixture fixture;
    fixture.prepare({"a.png", "b.png"});
    Model& model = fixture.model();
    model.setQuality(85);
    model.setMode(EncodingMode::system);
    model.setSpeed(4);
    const auto change = [&] {
        model.setQuality(1);
        model.setMode(EncodingMode::efficient);
        model.setSpeed(8);
        model.setOutput("/elsewhere");
    };
    model.start();
    change();
    fixture.convert();
    fixture.convert();
    fixture.awaitIdle();
    const std::vector<ConvertCall> calls = fixture.conversions->calls();
    ASSERT_EQ(calls.size(), 2U);
    for (const ConvertCall& call : calls) {
        EXPECT_DOUBLE_EQ(call.quality, 0.85);
        EXPECT_EQ(call.mode, EncodingMode::system);
        EXPECT_EQ(call.speed, 4);
        EXPECT_EQ(call.output, "/out");
    }
}

TEST(ModelRun, IsWordedInALanguageThatChangesOnTheWay) {
    ModelFixture fixture;
    fixture.prepare({"a.png", "b.png"});
    fixture.model().start();
    fixture.awaitConversions(1);
    SignalCount changes(fixture.model(), &Model::messageChanged);
    fixture.model().setLanguage(AppLanguage::russian);
    EXPECT_EQ(changes.take(), 1);
    EXPECT_EQ(fixture.message(), "Преобразую 1 из 2: a.png");
    fixture.convert();
    fixture.failToConvert();
    fixture.awaitIdle();
    EXPECT_EQ(fixture.message(), "Готово: 1 успешно, 1 с ошибками");
    fixture.model().setLanguage(AppLanguage::english);
    EXPECT_EQ(fixture.statusOf("b.png", fixture.model().language()), "Error: Trouble");
}

TEST(ModelRun, NeverTellsOfAnEleventhOfTen) {
    ModelFixture fixture;
    fixture.prepare({"a.png", "b.png"});
    std::vector<std::string> messages;
    for (void (Model::*const signal)() : signalsOfModel()) {
        QObject::connect(&fixture.model(), signal, [&] {
            if (messages.empty() || messages.back() != fixture.message()) {
                messages.push_back(fixture.message());
            }
        });
    }
    fixture.convert();
    fixture.convert();
    fixture.model().start();
    fixture.awaitIdle();
    EXPECT_THAT(messages, ElementsAre("Files queued: 2", "Converting 1 of 2: a.png", "Files queued: 2",
                                      "Converting 2 of 2: b.png", "Files queued: 2", "Done: 2 successful, 0 failed"));
}

TEST(ModelRun, StopsBeforeTheNextImageForWhoHearsOfTheEndOfOne) {
    ModelFixture fixture;
    fixture.prepare({"a.png", "b.png", "c.png"});
    QObject::connect(&fixture.model(), &Model::completedChanged, [&] {
        if (fixture.model().completed() == 1) {
            fixture.model().setCancelled(true);
        }
    });
    fixture.convert();
    fixture.model().start();
    fixture.awaitIdle();
    EXPECT_EQ(fixture.message(), "Stopped: 1 successful, 0 failed, 2 remaining");
}

TEST(ModelRun, TellsOfEachStatusByItsItem) {
    ModelFixture fixture;
    fixture.prepare({"a.png", "b.png"});
    std::vector<std::string> changed;
    QObject::connect(&fixture.model(), &Model::statusChanged, [&](const std::string& id) { changed.push_back(id); });
    fixture.convert();
    fixture.failToConvert();
    fixture.model().start();
    fixture.awaitIdle();
    EXPECT_THAT(changed, ElementsAre("/in/a.png", "/in/a.png", "/in/b.png", "/in/b.png"));
}

TEST(ModelRun, KeepsTheComputerAwakeUntilItEnds) {
    ModelFixture fixture;
    fixture.prepare({"a.png"});
    EXPECT_EQ(fixture.awake, 0);
    fixture.model().start();
    fixture.awaitConversions(1);
    EXPECT_EQ(fixture.awake, 1);
    fixture.convert();
    fixture.awaitIdle();
    EXPECT_EQ(fixture.awake, 0);
    fixture.model().setLanguage(AppLanguage::russian);
    fixture.model().start();
    fixture.convert();
    fixture.awaitIdle();
    EXPECT_THAT(fixture.awakeReasons, ElementsAre("Converting images", "Преобразование изображений"));
}

TEST(ModelRun, LetsAnUpdateWaitUntilItEnds) {
    for (const bool scans : {true, false}) {
        ModelFixture fixture;
        fixture.prepare({"a.png"});
        if (scans) {
            fixture.model().rescan();
        } else {
            fixture.model().start();
        }
        EXPECT_TRUE(fixture.updates.manager().processing());
        EXPECT_TRUE(fixture.updates.manager().shouldPostponeRelaunchForUpdate(installableItem(),
                                                                              fixture.updates.block("restart")));
        QCoreApplication::processEvents();
        EXPECT_THAT(fixture.updates.takeCalls(), IsEmpty());
        std::vector<std::string> heard;
        QObject::connect(&fixture.model(), scans ? &Model::scanningChanged : &Model::busyChanged,
                         [&] { heard = fixture.updates.takeCalls(); });
        fixture.scans->succeed({{"/in/a.png", ""}});
        fixture.convert();
        fixture.awaitIdle();
        EXPECT_FALSE(fixture.updates.manager().processing());
        EXPECT_THAT(heard, ElementsAre("restart: called"));
    }
}

TEST(ModelRun, MayBeStartedAgainByWhoHearsOfItsEnd) {
    ModelFixture fixture;
    fixture.prepare({"a.png"});
    int runs = 1;
    QObject::connect(&fixture.model(), &Model::busyChanged, [&] {
        if (!fixture.model().busy() && runs < 3) {
            ++runs;
            fixture.convert();
            fixture.model().start();
        }
    });
    fixture.convert();
    fixture.model().start();
    waitUntil([&] { return runs == 3 && !fixture.model().busy(); });
    EXPECT_EQ(fixture.conversions->count(), 3U);
    EXPECT_EQ(fixture.message(), "Done: 1 successful, 0 failed");
}

TEST(ModelRunDeathTest, EndsTheProgramForASpeedThatNoEncoderHas) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            ModelFixture fixture;
            fixture.prepare({"a.png"});
            fixture.model().setSpeed(qint64{1} << 32);
            fixture.model().start();
        },
        "the speed does not fit 32 bits");
}

} // namespace

} // namespace ovrel::test
