#include "model/background.h"
#include "tests/model/model_fixture.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using Names = std::vector<std::string>;

const QString noFiles = QStringLiteral("В выбранных папках нет JPG, JPEG, WebP, PNG, GIF или AVIF");

/// A folder of files that a real scan finds.
class RealQueue : public testing::Test {
protected:
    RealQueue() { fixture.services.scan = Converter::scan; }

    fs::path file(const std::string& name) { return folder.write(name, "content"); }
    void add(const Model::Paths& paths) {
        fixture.model().add(paths);
        fixture.awaitIdle();
    }
    void rescan() {
        fixture.model().rescan();
        fixture.awaitIdle();
    }
    void remove(const Model::Ids& ids) {
        fixture.model().setSelection(ids);
        fixture.model().removeSelected();
    }

    TemporaryFolder folder;
    ModelFixture fixture;
};

TEST(ModelQueue, AsksForFilesInTheLanguageOfTheInterface) {
    for (const AppLanguage language : {AppLanguage::russian, AppLanguage::english}) {
        ModelFixture fixture;
        fixture.model().setLanguage(language);
        fixture.model().chooseFiles();
        const FileRequest& request = fixture.chooser->asked.at(0).first;
        EXPECT_EQ(request.kind, FileRequest::Kind::files);
        EXPECT_EQ(request.title, language.choose(QStringLiteral("Добавить файлы…"), QStringLiteral("Add Files…")));
        EXPECT_EQ(request.confirmText, language.choose(QStringLiteral("Добавить"), QStringLiteral("Add")));
        EXPECT_TRUE(request.multiple);
        EXPECT_FALSE(request.canCreateFolders);
        QStringList extensions = request.extensions;
        extensions.sort();
        EXPECT_EQ(extensions.join(QLatin1Char(' ')), QStringLiteral("avif gif jpeg jpg png webp"));
    }
}

TEST(ModelQueue, AsksForAFolderInTheLanguageOfTheInterface) {
    for (const AppLanguage language : {AppLanguage::russian, AppLanguage::english}) {
        ModelFixture fixture;
        fixture.model().setLanguage(language);
        fixture.model().chooseFolder();
        const FileRequest& request = fixture.chooser->asked.at(0).first;
        EXPECT_EQ(request.kind, FileRequest::Kind::folder);
        EXPECT_EQ(request.confirmText, language.choose(QStringLiteral("Добавить папку"), QStringLiteral("Add Folder")));
    }
}

TEST(ModelQueue, AddsWhatWasChosenAndNothingWhenTheChooserIsCancelled) {
    ModelFixture fixture;
    for (void (Model::*const choose)() : {&Model::chooseFiles, &Model::chooseFolder}) {
        (fixture.model().*choose)();
        fixture.chooser->answer({});
        EXPECT_FALSE(fixture.model().scanning());
        (fixture.model().*choose)();
        fixture.scans->succeed({});
        fixture.chooser->answer({"/a", "/b"});
        EXPECT_TRUE(fixture.model().scanning());
        fixture.awaitIdle();
        EXPECT_THAT(fixture.model().roots(), ElementsAre("/a", "/b"));
    }
}

TEST(ModelQueue, ScansItsRootsInTheBackgroundAndReadsFilesMeanwhile) {
    ModelFixture fixture;
    fixture.model().setRecursive(false);
    fixture.model().add({"/b", "/a"});
    EXPECT_TRUE(fixture.model().scanning());
    EXPECT_FALSE(fixture.model().canEditQueue());
    EXPECT_TRUE(fixture.updates.manager().processing());
    EXPECT_EQ(fixture.message(), "Reading files…");
    waitUntil([&] { return fixture.scans->count() == 1; });
    EXPECT_THAT(fixture.scans->calls().at(0).roots, ElementsAre("/b", "/a"));
    EXPECT_FALSE(fixture.scans->calls().at(0).recursive);

    fixture.scans->succeed({{"/b/2.png", ""}, {"/a/10.png", "sub"}});
    fixture.awaitIdle();
    EXPECT_FALSE(fixture.updates.manager().processing());
    EXPECT_THAT(fixture.listed(), ElementsAre("2.png", "10.png"));
    EXPECT_EQ(fixture.model().messageKey(), QStringLiteral("queue"));
    EXPECT_EQ(fixture.message(), "Files queued: 2");
    EXPECT_EQ(fixture.model().error(), nullptr);
}

TEST(ModelQueue, GoesOnScanningAfterTheCallHoweverFastTheScanIs) {
    ModelFixture fixture;
    fixture.scans->succeed({{"/in/a.png", ""}});
    QObject::connect(&fixture.model(), &Model::scanningChanged, [] { backgroundThreads().waitForDone(); });
    fixture.model().add({"/in"});
    EXPECT_TRUE(fixture.model().scanning());
    fixture.model().clearQueue();
    fixture.awaitIdle();
    EXPECT_THAT(fixture.listed(), ElementsAre("a.png"));
}

TEST(ModelQueue, ReadsFilesInPlaceOfTheLastSummary) {
    ModelFixture fixture;
    fixture.prepare({"a.png"});
    fixture.convert();
    fixture.model().start();
    fixture.awaitIdle();
    ASSERT_EQ(fixture.message(), "Done: 1 successful, 0 failed");
    fixture.model().rescan();
    EXPECT_FALSE(fixture.model().finished());
    EXPECT_EQ(fixture.message(), "Reading files…");
    fixture.scans->fail(std::make_exception_ptr(FileError(FileError::readNoSuchFile, "/in")));
    fixture.awaitIdle();
    EXPECT_FALSE(fixture.model().finished());
    EXPECT_EQ(fixture.message(), "Unable to read files");
}

TEST(ModelQueue, SaysSoWhenNothingWasFound) {
    ModelFixture fixture;
    fixture.list({});
    EXPECT_THAT(fixture.listed(), IsEmpty());
    EXPECT_EQ(fixture.model().messageKey(), noFiles);
    EXPECT_EQ(fixture.message(), "No JPG, JPEG, WebP, PNG, GIF or AVIF files found in the selected folders");
    EXPECT_THAT(fixture.model().roots(), ElementsAre("/in"));
    EXPECT_EQ(fixture.model().error(), nullptr);
}

TEST(ModelQueue, IsEmptyAfterAFailedScanAndKeepsItsRoots) {
    ModelFixture fixture;
    fixture.list({"a.png", "b.png"});
    fixture.model().setSelection({"/in/a.png"});
    fixture.model().removeSelected();
    fixture.model().setSelection({"/in/b.png"});
    const std::exception_ptr error = std::make_exception_ptr(FileError(FileError::readNoSuchFile, "/in"));
    fixture.scans->fail(error);
    fixture.model().rescan();
    fixture.awaitIdle();
    EXPECT_THAT(fixture.listed(), IsEmpty());
    EXPECT_TRUE(fixture.model().selection().empty());
    EXPECT_EQ(fixture.model().error(), error);
    EXPECT_EQ(fixture.message(), "Unable to read files");
    EXPECT_THAT(fixture.model().roots(), ElementsAre("/in"));
    EXPECT_FALSE(fixture.updates.manager().processing());

    // What was removed stays removed.
    fixture.scans->succeed({{"/in/a.png", ""}, {"/in/b.png", ""}});
    fixture.model().rescan();
    fixture.awaitIdle();
    EXPECT_THAT(fixture.listed(), ElementsAre("b.png"));
    EXPECT_EQ(fixture.model().error(), error); // until the alert takes it away
    fixture.model().setError(nullptr);
    EXPECT_EQ(fixture.model().error(), nullptr);
}

TEST(ModelQueue, CannotBeEditedWhileItIsGathered) {
    ModelFixture fixture;
    fixture.list({"a.png", "b.png"});
    fixture.model().setSelection({"/in/a.png"});
    fixture.model().rescan();
    fixture.model().add({"/more"});
    fixture.model().rescan();
    fixture.model().removeSelected();
    fixture.model().clearQueue();
    EXPECT_THAT(fixture.listed(), ElementsAre("a.png", "b.png"));
    EXPECT_THAT(fixture.model().roots(), ElementsAre("/in"));
    EXPECT_EQ(fixture.model().selection().size(), 1U);
    fixture.scans->succeed({{"/in/b.png", ""}});
    fixture.awaitIdle();
    EXPECT_EQ(fixture.scans->count(), 2U);
    EXPECT_THAT(fixture.listed(), ElementsAre("b.png"));
    EXPECT_TRUE(fixture.model().selection().empty());
}

TEST(ModelQueue, CannotBeEditedDuringARun) {
    ModelFixture fixture;
    fixture.prepare({"a.png", "b.png"});
    fixture.model().setSelection({"/in/a.png"});
    fixture.model().start();
    fixture.awaitConversions(1);
    EXPECT_FALSE(fixture.model().canEditQueue());
    fixture.model().add({"/more"});
    fixture.model().rescan();
    fixture.model().removeSelected();
    fixture.model().clearQueue();
    EXPECT_THAT(fixture.listed(), ElementsAre("a.png", "b.png"));
    EXPECT_THAT(fixture.model().roots(), ElementsAre("/in"));
    EXPECT_EQ(fixture.scans->count(), 1U);
    EXPECT_TRUE(fixture.model().busy());
}

TEST(ModelQueue, HoldsARootOnce) {
    ModelFixture fixture;
    for (int time = 1; time <= 2; ++time) {
        fixture.scans->succeed({});
        fixture.model().add({"/a", "/b", "/a"});
        fixture.awaitIdle();
        EXPECT_THAT(fixture.model().roots(), ElementsAre("/a", "/b"));
        EXPECT_EQ(fixture.scans->count(), static_cast<std::size_t>(time));
    }
}

TEST(ModelQueue, SelectsPartsWithoutTouchingTheRest) {
    ModelFixture fixture;
    Model& model = fixture.model();
    SignalCount changes(model, &Model::selectionChanged);
    model.select({"/in/a.png", "/in/b.png"}, true);
    model.select({"/in/a.png"}, true);
    model.select({"/in/c.png"}, false);
    EXPECT_EQ(changes.take(), 1);
    model.select({"/in/a.png"}, false);
    EXPECT_EQ(model.selection(), Model::Ids{"/in/b.png"});
    EXPECT_EQ(changes.take(), 1);
}

TEST(ModelQueue, RemovesNothingWithoutASelection) {
    ModelFixture fixture;
    fixture.list({"a.png"});
    SignalCount changes(fixture.model(), &Model::itemsChanged);
    fixture.model().removeSelected();
    EXPECT_EQ(changes.take(), 0);
    EXPECT_THAT(fixture.listed(), ElementsAre("a.png"));
}

TEST(ModelQueue, ForgetsTheLastRunWithEveryChange) {
    struct Row {
        const char* what;
        std::function<void(ModelFixture&)> change;
        const char* message;
    };
    const Row rows[] = {
        {"removing",
         [](ModelFixture& fixture) {
             fixture.model().setSelection({"/in/a.png"});
             fixture.model().removeSelected();
         },
         "Files queued: 1"},
        {"adding",
         [](ModelFixture& fixture) {
             fixture.list({"a.png", "b.png", "c.png"});
         },
         "Files queued: 3"},
        {"clearing", [](ModelFixture& fixture) { fixture.model().clearQueue(); }, "Add images or a folder"},
        {"resetting", [](ModelFixture& fixture) { fixture.model().resetQueueStatus(); }, "Files queued: 2"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        ModelFixture fixture;
        fixture.prepare({"a.png", "b.png"});
        fixture.convert();
        fixture.failToConvert();
        fixture.model().start();
        fixture.awaitIdle();
        ASSERT_EQ(fixture.message(), "Done: 1 successful, 1 failed");
        fixture.model().setSelection({"/in/b.png"});
        SignalCount cleared(fixture.model(), &Model::statusesCleared);
        row.change(fixture);
        EXPECT_EQ(fixture.message(), row.message);
        EXPECT_TRUE(fixture.model().statuses().empty());
        EXPECT_TRUE(fixture.model().selection().empty());
        EXPECT_EQ(fixture.model().completed(), 0);
        EXPECT_EQ(fixture.model().successes(), 0);
        EXPECT_EQ(fixture.model().failures(), 0);
        EXPECT_FALSE(fixture.model().finished());
        EXPECT_EQ(cleared.take(), 1);
    }
}

TEST(ModelQueue, LeavesTheRequestToStopAloneWhenItIsReset) {
    ModelFixture fixture;
    fixture.model().setCancelled(true);
    fixture.model().resetQueueStatus();
    EXPECT_TRUE(fixture.model().cancelled());
}

TEST_F(RealQueue, ListsTheSameFolderOnceHoweverOftenItIsAdded) {
    file("in/a.png");
    file("in/sub/b.png");
    add({folder / "in"});
    add({folder / "in"});
    EXPECT_THAT(fixture.listed(), ElementsAre("a.png", "b.png"));
    EXPECT_EQ(fixture.model().roots().size(), 1U);
}

TEST_F(RealQueue, ListsAFileOnceWhenRootsLieInsideEachOther) {
    const fs::path inner = file("in/sub/b.png");
    file("in/a.png");
    add({folder / "in", folder / "in/sub", inner});
    EXPECT_THAT(fixture.listed(), ElementsAre("a.png", "b.png"));
    EXPECT_EQ(fixture.model().items().at(1).relativeDirectory, "sub");
    EXPECT_EQ(fixture.model().roots().size(), 3U);
}

TEST_F(RealQueue, KeepsAFileOutThatWasRemovedUntilItIsAddedItself) {
    const fs::path first = file("in/a.png");
    file("in/b.png");
    add({folder / "in"});
    remove({first.native()});
    EXPECT_THAT(fixture.listed(), ElementsAre("b.png"));
    add({folder / "in"});
    EXPECT_THAT(fixture.listed(), ElementsAre("b.png"));
    add({first});
    EXPECT_THAT(fixture.listed(), ElementsAre("a.png", "b.png"));
}

TEST_F(RealQueue, KnowsARemovedFileHoweverItIsWritten) {
    const fs::path first = file("in/a.png");
    file("in/b.png");
    add({folder / "in"});
    remove({first.native()});
    add({folder / "in/../in/./a.png"});
    EXPECT_EQ(fixture.listed().size(), 2U);
}

TEST_F(RealQueue, ForgetsTheRootOfAFileThatIsRemovedButNeverAFolder) {
    const fs::path alone = file("alone.png");
    const fs::path inside = file("in/a.png");
    add({alone, folder / "in"});
    remove({alone.native(), inside.native()});
    EXPECT_THAT(fixture.listed(), IsEmpty());
    EXPECT_EQ(fixture.message(), "Add images or a folder");
    EXPECT_THAT(fixture.model().roots(), ElementsAre(folder / "in"));
    fixture.model().setRecursive(false);
    rescan();
    EXPECT_EQ(fixture.model().messageKey(), noFiles);
    EXPECT_THAT(fixture.model().roots(), ElementsAre(folder / "in"));
}

TEST_F(RealQueue, BringsEveryFileBackAfterItWasCleared) {
    const fs::path first = file("in/a.png");
    file("in/b.png");
    add({folder / "in"});
    remove({first.native()});
    fixture.model().clearQueue();
    EXPECT_THAT(fixture.listed(), IsEmpty());
    EXPECT_THAT(fixture.model().roots(), IsEmpty());
    EXPECT_EQ(fixture.message(), "Add images or a folder");
    add({folder / "in"});
    EXPECT_THAT(fixture.listed(), ElementsAre("a.png", "b.png"));
}

TEST_F(RealQueue, LeavesFoldersInsideFoldersOutWhenToldSo) {
    file("in/a.png");
    file("in/sub/b.png");
    add({folder / "in"});
    fixture.model().setRecursive(false);
    rescan();
    EXPECT_THAT(fixture.listed(), ElementsAre("a.png"));
    fixture.model().setRecursive(true);
    rescan();
    EXPECT_THAT(fixture.listed(), ElementsAre("a.png", "b.png"));
}

TEST_F(RealQueue, WordsWhatAScanCouldNotRead) {
    add({folder / "nowhere"});
    EXPECT_THAT(fixture.listed(), IsEmpty());
    ASSERT_NE(fixture.model().error(), nullptr);
    EXPECT_EQ(AppLanguage(AppLanguage::english).describe(fixture.model().error()).toStdString(),
              "The file or folder no longer exists.");
}

TEST_F(RealQueue, KeepsNamesThatAreNoText) {
    const fs::path odd = file("in/\xFF\xFE.png");
    file("in/\xFF\xFD.png");
    add({folder / "in"});
    ASSERT_EQ(fixture.listed().size(), 2U);
    remove({odd.native()});
    EXPECT_THAT(fixture.listed(), ElementsAre("\xFF\xFD.png"));
    rescan();
    EXPECT_THAT(fixture.listed(), ElementsAre("\xFF\xFD.png"));
}

} // namespace

} // namespace ovrel::test
