#include "desktop/links.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/working_folder.h"

#include <QDesktopServices>
#include <QObject>

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace ovrel::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LinksTest : public testing::Test {
protected:
    LinkOpener opener = [this](const QUrl& address) {
        opened.push_back(address.toEncoded().toStdString());
        return succeeds;
    };

    TemporaryFolder folder;
    std::vector<std::string> opened;
    bool succeeds = true;
};

TEST_F(LinksTest, OpensFoldersWhateverTheirName) {
    const std::string base = "file://" + folder.path().native();
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"plain", "plain"},
        {"a b#c?d%20", "a%20b%23c%3Fd%2520"},
        {"папка", "%D0%BF%D0%B0%D0%BF%D0%BA%D0%B0"},
        {"no \xFF\xFE", "no%20%FF%FE"},
        {".hidden", ".hidden"},
    };
    for (const auto& [name, encoded] : rows) {
        std::filesystem::create_directory(folder / name);
        EXPECT_TRUE(openFolder(opener, folder / name));
        EXPECT_EQ(QUrl::fromEncoded(QByteArray::fromStdString(opened.back())),
                  QUrl::fromEncoded(QByteArray::fromStdString(base + "/" + encoded)));
        EXPECT_TRUE(opened.back().ends_with(encoded)) << opened.back();
    }
}

TEST_F(LinksTest, OpensNothingButFolders) {
    folder.write("file", "");
    EXPECT_FALSE(openFolder(opener, folder / "file"));
    EXPECT_FALSE(openFolder(opener, folder / "missing"));
    EXPECT_FALSE(openFolder(opener, {}));
    EXPECT_THAT(opened, IsEmpty());
}

TEST_F(LinksTest, NamesFoldersFromTheRoot) {
    const WorkingFolder here(folder.path());
    std::filesystem::create_directory("below");
    EXPECT_TRUE(openFolder(opener, "below"));
    EXPECT_THAT(opened, ElementsAre("file://" + (folder / "below").native()));
}

TEST_F(LinksTest, TellWhetherSomethingCouldBeAsked) {
    succeeds = false;
    EXPECT_FALSE(openFolder(opener, folder.path()));
    EXPECT_EQ(opened.size(), 1U);
}

/// Stands for the desktop's programs.
class Programs : public QObject {
    Q_OBJECT

public:
    Programs() {
        for (const QString& scheme : {QStringLiteral("https"), QStringLiteral("file")}) {
            QDesktopServices::setUrlHandler(scheme, this, "open");
        }
    }
    ~Programs() override {
        for (const QString& scheme : {QStringLiteral("https"), QStringLiteral("file")}) {
            QDesktopServices::unsetUrlHandler(scheme);
        }
    }

    Q_INVOKABLE void open(const QUrl& address) { opened.push_back(address.toEncoded().toStdString()); }

    std::vector<std::string> opened;
};

TEST_F(LinksTest, AskTheDesktop) {
    const Programs programs;
    EXPECT_TRUE(desktopLinkOpener()(QUrl(QStringLiteral("https://example.org/a?b#c"))));
    EXPECT_TRUE(openFolder(desktopLinkOpener(), folder.path()));
    EXPECT_THAT(programs.opened, ElementsAre("https://example.org/a?b#c", "file://" + folder.path().native()));
    EXPECT_FALSE(desktopLinkOpener()(QUrl()));
}

} // namespace

} // namespace ovrel::test

#include "links_test.moc"
