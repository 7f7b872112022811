#include "tests/model/model_fixture.h"

#include <QMetaProperty>

#include <gmock/gmock.h>

#include <algorithm>
#include <array>

namespace ovrel::test {

namespace {

using testing::ElementsAre;

const QString languageKey = QString(AppLanguage::preferenceKey);

TEST(ModelSettings, StartWithTheirDefaults) {
    ModelFixture fixture;
    const Model& model = fixture.model();
    EXPECT_TRUE(model.items().isEmpty());
    EXPECT_TRUE(model.selection().empty());
    EXPECT_TRUE(model.roots().empty());
    EXPECT_TRUE(model.recursive());
    EXPECT_FALSE(model.targeted());
    EXPECT_FALSE(model.scanning());
    EXPECT_FALSE(model.busy());
    EXPECT_FALSE(model.cancelled());
    EXPECT_EQ(model.completed(), 0);
    EXPECT_EQ(model.successes(), 0);
    EXPECT_EQ(model.failures(), 0);
    EXPECT_EQ(model.activeItem(), std::nullopt);
    EXPECT_FALSE(model.finished());
    EXPECT_TRUE(model.statuses().empty());
    EXPECT_EQ(model.messageKey(), QStringLiteral("Добавьте изображения или папку"));
    EXPECT_EQ(model.error(), nullptr);
    EXPECT_EQ(model.output(), std::nullopt);
    EXPECT_EQ(model.quality(), 50);
    EXPECT_EQ(model.mode(), EncodingMode::efficient);
    EXPECT_EQ(model.speed(), 6);
    EXPECT_FALSE(model.canStart());
    EXPECT_TRUE(model.canEditQueue());
    EXPECT_FALSE(fixture.updates.manager().processing());
}

TEST(ModelSettings, ArePublishedEachWithItsNotification) {
    for (const char* name :
         {"items",     "selection", "roots",    "recursive",  "targeted", "scanning", "busy",         "cancelled",
          "completed", "successes", "failures", "activeItem", "finished", "statuses", "messageKey",   "error",
          "output",    "quality",   "mode",     "speed",      "language", "canStart", "canEditQueue", "message"}) {
        const int index = Model::staticMetaObject.indexOfProperty(name);
        ASSERT_GE(index, 0) << name;
        const QMetaProperty property = Model::staticMetaObject.property(index);
        ASSERT_TRUE(property.hasNotifySignal()) << name;
        EXPECT_EQ(property.notifySignal().name(), QByteArray(name) + "Changed");
        ModelFixture fixture;
        EXPECT_TRUE(property.read(&fixture.model()).isValid()) << name;
    }
}

TEST(ModelSettings, TellOfAChangeAndOnlyOfThat) {
    ModelFixture fixture;
    Model& model = fixture.model();
    struct Row {
        void (Model::*signal)();
        std::function<void()> set;
    };
    const Row rows[] = {
        {&Model::recursiveChanged, [&] { model.setRecursive(false); }},
        {&Model::targetedChanged, [&] { model.setTargeted(true); }},
        {&Model::cancelledChanged, [&] { model.setCancelled(true); }},
        {&Model::errorChanged, [&, error = std::make_exception_ptr(1)] { model.setError(error); }},
        {&Model::outputChanged, [&] { model.setOutput("/out"); }},
        {&Model::qualityChanged, [&] { model.setQuality(51); }},
        {&Model::modeChanged, [&] { model.setMode(EncodingMode::system); }},
        {&Model::speedChanged, [&] { model.setSpeed(8); }},
        {&Model::languageChanged, [&] { model.setLanguage(AppLanguage::russian); }},
        {&Model::selectionChanged, [&] { model.setSelection({"/in/a.png"}); }},
    };
    for (const Row& row : rows) {
        SignalCount changes(model, row.signal);
        row.set();
        EXPECT_EQ(changes.take(), 1);
    }
    for (const Row& row : rows) {
        SignalCount changes(model, row.signal);
        row.set();
        EXPECT_EQ(changes.take(), row.signal == &Model::selectionChanged ? 1 : 0);
    }
}

TEST(ModelSettings, TouchNeitherTheListNorTheStatuses) {
    ModelFixture fixture;
    fixture.prepare({"a.png"});
    fixture.convert();
    fixture.model().start();
    fixture.awaitIdle();
    Model& model = fixture.model();
    model.setSelection({"/in/a.png"});
    model.setQuality(1);
    model.setMode(EncodingMode::system);
    model.setSpeed(4);
    model.setOutput("/elsewhere");
    model.setRecursive(false);
    EXPECT_THAT(fixture.listed(), ElementsAre("a.png"));
    EXPECT_EQ(fixture.statusOf("a.png"), "✓ result.avif");
    EXPECT_TRUE(model.finished());
    EXPECT_EQ(model.selection().size(), 1U);
    EXPECT_EQ(fixture.scans->count(), 1U);
}

TEST(ModelSettings, AreForgottenButForTheLanguage) {
    ModelFixture fixture;
    Model& model = fixture.model();
    model.setQuality(77);
    model.setMode(EncodingMode::system);
    model.setSpeed(8);
    model.setRecursive(false);
    model.setOutput("/out");
    model.setLanguage(AppLanguage::russian);
    fixture.destroyModel();
    EXPECT_EQ(fixture.model().quality(), 50);
    EXPECT_EQ(fixture.model().mode(), EncodingMode::efficient);
    EXPECT_EQ(fixture.model().speed(), 6);
    EXPECT_TRUE(fixture.model().recursive());
    EXPECT_EQ(fixture.model().output(), std::nullopt);
    EXPECT_EQ(fixture.model().language(), AppLanguage::russian);
    EXPECT_THAT(fixture.preferences->written, ElementsAre("OvrelLanguage=ru"));
}

TEST(ModelSettings, ReadTheLanguageThatWasStored) {
    struct Row {
        const char* stored;
        AppLanguage::Case language;
    };
    for (const Row& row : {Row{"en", AppLanguage::english}, Row{"ru", AppLanguage::russian},
                           Row{"EN", AppLanguage::russian}, Row{"de", AppLanguage::russian}}) {
        ModelFixture fixture;
        fixture.preferences->setText(languageKey, QString::fromLatin1(row.stored));
        EXPECT_EQ(fixture.model().language(), row.language);
    }
}

TEST(ModelSettings, StoreTheLanguageAtEachChoice) {
    ModelFixture fixture;
    SignalCount changes(fixture.model(), &Model::languageChanged);
    fixture.model().setLanguage(AppLanguage::english);
    EXPECT_EQ(changes.take(), 0);
    fixture.model().setLanguage(AppLanguage::russian);
    fixture.model().setLanguage(AppLanguage::russian);
    EXPECT_EQ(changes.take(), 1);
    EXPECT_THAT(fixture.preferences->written, ElementsAre("OvrelLanguage=en", "OvrelLanguage=ru", "OvrelLanguage=ru"));
}

TEST(ModelSettings, HaveStoredTheLanguageBeforeTheyTellOfIt) {
    ModelFixture fixture;
    QObject::connect(&fixture.model(), &Model::languageChanged,
                     [&] { EXPECT_EQ(fixture.preferences->text(languageKey), QStringLiteral("ru")); });
    fixture.model().setLanguage(AppLanguage::russian);
}

TEST(ModelSettings, FollowALanguageThatIsChosenElsewhere) {
    ModelFixture fixture;
    SignalCount changes(fixture.model(), &Model::languageChanged);
    saveLanguage(*fixture.preferences, AppLanguage::russian);
    EXPECT_EQ(fixture.model().language(), AppLanguage::russian);
    EXPECT_EQ(fixture.message(), "Добавьте изображения или папку");
    EXPECT_EQ(changes.take(), 1);
    fixture.preferences->setText(QStringLiteral("Something"), QStringLiteral("en"));
    EXPECT_EQ(fixture.model().language(), AppLanguage::russian);
    EXPECT_EQ(changes.take(), 0);
}

TEST(ModelSettings, WordTextsInThePresentLanguage) {
    ModelFixture fixture;
    EXPECT_EQ(fixture.model().t(QStringLiteral("Качество")), QStringLiteral("Quality"));
    fixture.model().setLanguage(AppLanguage::russian);
    EXPECT_EQ(fixture.model().t(QStringLiteral("Качество")), QStringLiteral("Качество"));
}

TEST(ModelSettings, AskForTheOutputFolder) {
    for (const AppLanguage language : {AppLanguage::russian, AppLanguage::english}) {
        ModelFixture fixture;
        fixture.model().setLanguage(language);
        fixture.model().chooseOutput();
        const FileRequest& request = fixture.chooser->asked.at(0).first;
        EXPECT_EQ(request.kind, FileRequest::Kind::folder);
        EXPECT_EQ(request.confirmText, language.choose(QStringLiteral("Сохранять сюда"), QStringLiteral("Save Here")));
        EXPECT_TRUE(request.canCreateFolders);
        EXPECT_FALSE(request.multiple);
        fixture.chooser->answer({"/out"});
        EXPECT_EQ(fixture.model().output(), "/out");
        EXPECT_EQ(fixture.scans->count(), 0U);
    }
}

TEST(ModelSettings, KeepTheOutputFolderWhenTheChooserIsCancelled) {
    ModelFixture fixture;
    fixture.model().setOutput("/out");
    fixture.model().chooseOutput();
    fixture.chooser->answer({});
    EXPECT_EQ(fixture.model().output(), "/out");
}

TEST(ModelSettings, AreNotReachedByAChooserThatAnswersTooLate) {
    ModelFixture fixture;
    fixture.model().chooseOutput();
    fixture.model().chooseFiles();
    fixture.model().chooseFolder();
    fixture.destroyModel();
    for (const auto& [request, reply] : fixture.chooser->asked) {
        reply({"/in"});
    }
    EXPECT_EQ(fixture.scans->count(), 0U);
}

} // namespace

} // namespace ovrel::test
