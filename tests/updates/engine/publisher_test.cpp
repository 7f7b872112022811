// What tools/publisher/publish.py writes is what Ovrel reads.

#include "tests/support/temporary_folder.h"
#include "tests/updates/engine/feed_text.h"
#include "tests/updates/engine/tar_writer.h"
#include "updates/engine/item_choice.h"

#include <gtest/gtest.h>
#include <sodium.h>

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <string>

namespace ovrel::test {

namespace {

QString nameOf(const std::filesystem::path& path) {
    return QString::fromStdString(path.native());
}

/// Runs the publisher's program.
/// \return what it printed
QByteArray publish(const QStringList& arguments) {
    QProcess process;
    process.start(QStringLiteral(OVREL_PYTHON),
                  QStringList{QStringLiteral("-B"), QStringLiteral(OVREL_PUBLISH)} + arguments);
    EXPECT_TRUE(process.waitForFinished(-1));
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
    return process.readAllStandardOutput().trimmed();
}

bool isSigned(const std::string& archive, const QString& signature, const QByteArray& publicKey) {
    const QByteArray signatureBytes = QByteArray::fromBase64(signature.toLatin1());
    const QByteArray keyBytes = QByteArray::fromBase64(publicKey);
    const auto bytes = [](const auto& text) { return reinterpret_cast<const unsigned char*>(text.data()); };
    return signatureBytes.size() == crypto_sign_BYTES && keyBytes.size() == crypto_sign_PUBLICKEYBYTES &&
           crypto_sign_verify_detached(bytes(signatureBytes), bytes(archive), archive.size(), bytes(keyBytes)) == 0;
}

class PublisherTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_GE(sodium_init(), 0);
        publicKey_ = publish({QStringLiteral("key"), nameOf(folder_ / "key")});
        folder_.write("ru", "Новое: ]]> и <b>");
        folder_.write("en", "New: ]]> and <b>\n\nend");
        folder_.write("www/.keep", "");
    }

    /// \return the archive
    std::string add(const std::string& version, const std::string& architecture) const {
        const std::string top = "ovrel-" + version;
        const std::string archive = writeTar(
            {tarFolder(top), tarFolder(top + "/bin"),
             tarFile(top + "/bin/ovrel",
                     "\x7f"
                     "ELF",
                     0755),
             tarFile(top + "/bin/ovrel-installer",
                     "\x7f"
                     "ELF",
                     0755),
             tarFile(top + "/portable-installation", "example.ovrel.Ovrel\n"),
             tarFile(top + "/installed-files.txt", "bin/ovrel\n"),
             tarFile(top + "/manifest.json", R"({"application": "example.ovrel.Ovrel", "version": ")" + version +
                                                 R"(", "system": "linux", "architecture": ")" + architecture + "\"}")});
        folder_.write("ovrel.tar.xz", archive);
        publish({QStringLiteral("add"), nameOf(feed_), nameOf(folder_ / "key"), nameOf(folder_ / "ovrel.tar.xz"),
                 QStringLiteral("--url=https://ovrel.example/app/updates/ovrel.tar.xz"),
                 QStringLiteral("--version=%1").arg(QString::fromStdString(version)),
                 QStringLiteral("--arch=%1").arg(QString::fromStdString(architecture)),
                 QStringLiteral("--short-version=Осень & %1").arg(QString::fromStdString(version)),
                 QStringLiteral("--minimum-glibc=2.31"), QStringLiteral("--notes-ru=%1").arg(nameOf(folder_ / "ru")),
                 QStringLiteral("--notes-en=%1").arg(nameOf(folder_ / "en"))});
        return archive;
    }

    Appcast read() const { return readFeed(QByteArray::fromStdString(contentOf(feed_))); }

    TemporaryFolder folder_;
    std::filesystem::path feed_ = folder_ / "www" / "appcast.xml";
    QByteArray publicKey_;
};

} // namespace

TEST_F(PublisherTest, WritesFeedsThatAreRead) {
    const std::string archive = add("2.4", "x86_64");
    const Appcast appcast = read();
    ASSERT_EQ(appcast.size(), 1U);
    const AppcastItem& item = appcast.front();
    EXPECT_EQ(item.item.versionString, QStringLiteral("2.4"));
    EXPECT_EQ(item.item.displayVersionString, QStringLiteral("Осень & 2.4"));
    EXPECT_EQ(item.item.title, QStringLiteral("Ovrel Осень & 2.4"));
    EXPECT_EQ(item.item.itemDescription, QStringLiteral("Новое: ]]> и <b>\n---en---\nNew: ]]> and <b>\n\nend"));
    EXPECT_EQ(item.item.fileURL, QUrl(QStringLiteral("https://ovrel.example/app/updates/ovrel.tar.xz")));
    EXPECT_EQ(item.item.contentLength, archive.size());
    EXPECT_FALSE(item.item.isInformationOnlyUpdate);
    EXPECT_EQ(item.os, QStringLiteral("linux-x86_64"));
    EXPECT_EQ(item.minimumSystemVersion, QStringLiteral("2.31"));
    EXPECT_TRUE(item.channel.isEmpty());
}

TEST_F(PublisherTest, SignsArchivesAsTheyAreVerified) {
    const std::string archive = add("2.4", "x86_64");
    const QString signature = read().at(0).edSignature;
    EXPECT_TRUE(isSigned(archive, signature, publicKey_));
    std::string changed = archive;
    changed.back() = static_cast<char>(changed.back() ^ 1);
    EXPECT_FALSE(isSigned(changed, signature, publicKey_));
    EXPECT_FALSE(isSigned(archive, signature, publish({QStringLiteral("key"), nameOf(folder_ / "another key")})));
}

TEST_F(PublisherTest, AddsReleasesThatAreChosen) {
    add("2.4", "x86_64");
    add("2.10", "x86_64");
    add("2.11", "aarch64");
    ItemConditions conditions;
    conditions.hostVersion = QStringLiteral("2.3");
    conditions.machine = {QStringLiteral("x86_64"), QStringLiteral("2.36")};
    const ItemChoice choice = chooseItem(read(), conditions);
    ASSERT_TRUE(std::holds_alternative<AppcastItem>(choice));
    EXPECT_EQ(std::get<AppcastItem>(choice).item.versionString, QStringLiteral("2.10"));
}

} // namespace ovrel::test
