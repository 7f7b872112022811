// Against Qt's own dialog, which stands where a desktop has none.

#include "desktop/native_file_chooser.h"
#include "tests/desktop/event_loop.h"
#include "tests/support/temporary_folder.h"

#include <QApplication>
#include <QFileDialog>
#include <QListView>
#include <QRegularExpression>
#include <QWidget>

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <optional>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Chosen = std::vector<std::filesystem::path>;

class NativeFileChooserTest : public testing::Test {
protected:
    /// The open dialogs, in no order.
    QList<QFileDialog*> dialogs() const { return window.findChildren<QFileDialog*>(); }

    void choose(const FileRequest& request) {
        chooser->choose(request, [this](const Chosen& paths) {
            ++replies;
            chosen = paths;
        });
    }

    /// Lets closed dialogs go.
    static void settle() {
        QApplication::processEvents();
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    TemporaryFolder folder;
    QWidget window;
    std::unique_ptr<FileChooser> chooser = nativeFileChooser(&window);
    int replies = 0;
    std::optional<Chosen> chosen;
};

FileRequest filesRequest() {
    FileRequest request;
    request.title = QStringLiteral("Add Files…");
    request.confirmText = QStringLiteral("Add");
    request.multiple = true;
    request.filterName = QStringLiteral("Images");
    request.extensions = {QStringLiteral("png"), QStringLiteral("mp4")};
    return request;
}

FileRequest folderRequest() {
    FileRequest request;
    request.kind = FileRequest::Kind::folder;
    request.confirmText = QStringLiteral("Save Here");
    request.canCreateFolders = true;
    return request;
}

TEST_F(NativeFileChooserTest, OffersFilesOfTheExtensionsThatAreAskedFor) {
    choose(filesRequest());
    ASSERT_EQ(dialogs().size(), 1);
    const QFileDialog& dialog = *dialogs().front();
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_EQ(dialog.windowModality(), Qt::WindowModal);
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Add Files…"));
    EXPECT_EQ(dialog.labelText(QFileDialog::Accept), QStringLiteral("Add"));
    EXPECT_EQ(dialog.fileMode(), QFileDialog::ExistingFiles);
    EXPECT_EQ(dialog.nameFilters().size(), 1);
    EXPECT_EQ(dialog.nameFilters().front(), QStringLiteral("Images (*.[pP][nN][gG] *.[mM][pP]4)"));
    EXPECT_TRUE(dialog.testOption(QFileDialog::ReadOnly));
    EXPECT_EQ(replies, 0);
}

TEST_F(NativeFileChooserTest, OffersFilesHoweverTheirExtensionIsWritten) {
    choose(filesRequest());
    const QString filter = dialogs().front()->nameFilters().front();
    QStringList patterns = filter.section(QLatin1Char('('), 1).chopped(1).split(QLatin1Char(' '));
    const auto offers = [&](const char* name) { // as strictly as a dialog may
        return std::any_of(patterns.begin(), patterns.end(), [&](const QString& pattern) {
            return QRegularExpression::fromWildcard(pattern, Qt::CaseSensitive)
                .match(QString::fromUtf8(name))
                .hasMatch();
        });
    };
    for (const char* const name : {"a.png", "IMG.PNG", "b.Png", "c.pnG", "d.MP4", "снимок.png", "e.jpg.png"}) {
        EXPECT_TRUE(offers(name)) << name;
    }
    for (const char* const name : {"a.jpg", "png", "a.png2", "apng", "a.mp3"}) {
        EXPECT_FALSE(offers(name)) << name;
    }
}

TEST_F(NativeFileChooserTest, ShowsFilesHoweverTheirExtensionIsWritten) {
    for (const char* const name : {"a.png", "B.PNG", "c.jpg"}) {
        folder.write(name, "");
    }
    choose(filesRequest());
    QFileDialog& dialog = *dialogs().front();
    dialog.setDirectory(QString::fromStdString(folder.path()));
    const auto* const list = dialog.findChild<QListView*>(QStringLiteral("listView"));
    ASSERT_NE(list, nullptr);
    awaitThat([&] { return list->model()->rowCount(list->rootIndex()) == 2; });
}

TEST_F(NativeFileChooserTest, OffersOneFileWhereSeveralAreNotWanted) {
    FileRequest request = filesRequest();
    request.multiple = false;
    choose(request);
    EXPECT_EQ(dialogs().front()->fileMode(), QFileDialog::ExistingFile);
}

TEST_F(NativeFileChooserTest, OffersFoldersAndNewOnes) {
    choose(folderRequest());
    const QFileDialog& dialog = *dialogs().front();
    EXPECT_EQ(dialog.fileMode(), QFileDialog::Directory);
    EXPECT_TRUE(dialog.testOption(QFileDialog::ShowDirsOnly));
    EXPECT_FALSE(dialog.testOption(QFileDialog::ReadOnly));
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Save Here"));
    EXPECT_EQ(dialog.labelText(QFileDialog::Accept), QStringLiteral("Save Here"));
}

TEST_F(NativeFileChooserTest, AnswersWithWhatWasChosen) {
    const std::filesystem::path file = folder.write("снимок 1.png", "");
    choose(filesRequest());
    dialogs().front()->selectFile(QString::fromStdString(file));
    QMetaObject::invokeMethod(dialogs().front(), "accept");
    EXPECT_EQ(replies, 1);
    ASSERT_TRUE(chosen);
    EXPECT_THAT(*chosen, ElementsAre(file));
    settle();
    EXPECT_THAT(dialogs(), IsEmpty());
}

TEST_F(NativeFileChooserTest, OffersOnlyWhatLiesOnThisMachine) {
    for (const FileRequest& request : {filesRequest(), folderRequest()}) {
        choose(request);
        EXPECT_EQ(dialogs().front()->supportedSchemes(), QStringList{QStringLiteral("file")});
        QMetaObject::invokeMethod(dialogs().front(), "reject");
        settle();
    }
}

TEST_F(NativeFileChooserTest, AnswersWithNothingWhenTheUserCancels) {
    choose(folderRequest());
    QMetaObject::invokeMethod(dialogs().front(), "reject");
    EXPECT_EQ(replies, 1);
    ASSERT_TRUE(chosen);
    EXPECT_THAT(*chosen, IsEmpty());
    settle();

    choose(folderRequest());
    EXPECT_EQ(dialogs().size(), 1);
}

TEST_F(NativeFileChooserTest, OpensOneDialogAtATime) {
    choose(folderRequest());
    choose(filesRequest());
    EXPECT_EQ(dialogs().size(), 1);
    QMetaObject::invokeMethod(dialogs().front(), "reject");
    EXPECT_EQ(replies, 1);
}

TEST_F(NativeFileChooserTest, MayEndWhileTheUserChooses) {
    choose(folderRequest());
    chooser.reset();
    EXPECT_THAT(dialogs(), IsEmpty());
    EXPECT_EQ(replies, 0);
}

TEST_F(NativeFileChooserTest, MayEndWhileItAnswers) {
    chooser->choose(folderRequest(), [this](const Chosen& /*paths*/) { chooser.reset(); });
    QMetaObject::invokeMethod(dialogs().front(), "reject");
    settle();
    EXPECT_EQ(chooser, nullptr);
}

} // namespace

} // namespace ovrel::test
