#include "tests/updates/engine/updater_test.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>

namespace ovrel::test {

namespace fs = std::filesystem;

namespace {

constexpr const char* feedTarget = "/app/appcast.xml";

std::string bytesOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// A program for this computer that does nothing.
std::string someProgram() {
    return bytesOf("/bin/true");
}

} // namespace

Calls joined(const std::vector<Calls>& lists) {
    Calls all;
    for (const Calls& list : lists) {
        all.insert(all.end(), list.begin(), list.end());
    }
    return all;
}

std::string feedOf(const std::vector<FeedItem>& items) {
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<rss version=\"2.0\" "
                       "xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\"><channel>\n";
    for (const FeedItem& item : items) {
        text += "<item>";
        if (!item.version.empty()) {
            text += "<sparkle:version>" + item.version + "</sparkle:version>";
        }
        text += item.elements + item.enclosure + "</item>\n";
    }
    return text + "</channel></rss>\n";
}

UpdaterTest::UpdaterTest() {
    QNetworkProxy::setApplicationProxy(proxy_.proxy());
    for (const TarEntry& entry : tree("1.0")) {
        const fs::path path = installation() / fs::path(entry.path).lexically_relative("ovrel-1.0");
        if (entry.kind == TarKind::folder) {
            fs::create_directories(path);
        } else {
            std::ofstream(path, std::ios::binary) << entry.content;
            fs::permissions(path, static_cast<fs::perms>(entry.mode));
        }
    }
    before_ = contentOfInstallation();

    environment_.application = "example.ovrel.Ovrel";
    environment_.version = "1.0";
    environment_.publicKey = &testKey;
    environment_.machine = Machine::thisOne();
    environment_.state = EngineState(QString::fromStdString((folder_ / "state/updates.json").native()));
    environment_.installation.kind = InstallationKind::portable;
    environment_.directory = installation();
    environment_.tree = identityOf(environment_.directory).value();
    environment_.language = [] { return AppLanguage::english; };
    environment_.quit = [this] { ++quits_; };
    recorder_.feed = QString::fromUtf8(addressOf(feedTarget).toEncoded());
}

UpdaterTest::~UpdaterTest() {
    QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
}

void UpdaterTest::publishFeedText(const std::string& text) {
    server_.answer(feedTarget, Answer::of(200, QByteArray::fromStdString(text)));
}

void UpdaterTest::publishFeed(const std::vector<FeedItem>& items) {
    publishFeedText(feedOf(items));
}

std::string UpdaterTest::enclosure(const std::string& name, std::size_t length, const std::string& signature) {
    return "<enclosure url=\"" + addressOf("/app/releases/").toEncoded().toStdString() + name + "\" length=\"" +
           std::to_string(length) + "\" type=\"application/octet-stream\"" +
           (signature.empty() ? "" : " sparkle:edSignature=\"" + signature + "\"") + "/>";
}

void UpdaterTest::publishArchive(const std::string& archive, const std::string& version) {
    publishFeed({{version, "", enclosure("ovrel.tar.xz", archive.size(), sign(archive).toStdString())}});
    server_.answer("/app/releases/ovrel.tar.xz", Answer::of(200, QByteArray::fromStdString(archive)));
}

TarEntry UpdaterTest::manifest(const std::string& version, const std::string& application, const std::string& system,
                               const std::string& architecture) {
    const std::string machine = architecture.empty() ? Machine::thisOne().architecture.toStdString() : architecture;
    return tarFile("ovrel-" + version + "/manifest.json", "{\"application\": \"" + application + "\", \"version\": \"" +
                                                              version + "\", \"system\": \"" + system +
                                                              "\", \"architecture\": \"" + machine + "\"}\n");
}

std::vector<TarEntry> UpdaterTest::tree(const std::string& version) {
    const std::string top = "ovrel-" + version;
    return {tarFolder(top),
            tarFolder(top + "/bin"),
            tarFile(top + "/bin/ovrel", someProgram(), 0755),
            tarFile(top + "/bin/ovrel-installer", bytesOf(OVREL_INSTALLER), 0755),
            manifest(version),
            tarFile(top + "/portable-installation", "example.ovrel.Ovrel\n"),
            tarFile(top + "/installed-files.txt",
                    "bin/ovrel\nbin/ovrel-installer\ninstalled-files.txt\nmanifest.json\nportable-installation\n")};
}

void UpdaterTest::start() {
    recorder_.calls.clear();
    updater_ = std::make_unique<Updater>(environment_, recorder_, recorder_);
    updater_->setUserAgentString("Ovrel/1.0 Sparkle");
    ASSERT_EQ(updater_->startUpdater(), std::nullopt);
    waitFor("D.updaterWillNotScheduleUpdateCheck");
    recorder_.calls.clear();
}

void UpdaterTest::waitForEnd() {
    turnUntil([this] { return !updater_->sessionInProgress(); });
}

void UpdaterTest::waitFor(const std::string& call) {
    turnUntil([&] { return recorder_.count(call) > 0; });
}

bool UpdaterTest::networkEnds() {
    const QDeadlineTimer end(std::chrono::seconds(10));
    while (networkThreads() > 0 && !end.hasExpired()) {
        QCoreApplication::processEvents();
        QThread::msleep(1);
    }
    return networkThreads() == 0;
}

void UpdaterTest::checkAsked() {
    updater_->checkForUpdates();
    waitForEnd();
}

void UpdaterTest::checkInBackground() {
    updater_->checkForUpdatesInBackground();
    waitForEnd();
}

void UpdaterTest::checkUntilTheUpdaterGoes(const std::string& after) {
    recorder_.during[after] = [this] {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [this] { updater_.reset(); }, Qt::QueuedConnection);
    };
    updater_->checkForUpdates();
    turnUntil([this] { return !updater_; });
    const Calls before = recorder_.calls;
    EXPECT_TRUE(networkEnds());
    EXPECT_EQ(recorder_.calls, before);
}

std::string UpdaterTest::contentOfInstallation() const {
    std::map<std::string, std::string> files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(installation())) {
        files[entry.path().native()] = entry.is_regular_file() ? bytesOf(entry.path()) : "";
    }
    std::string all;
    for (const auto& [name, content] : files) {
        all += name + '\0' + content + '\0';
    }
    return all;
}

std::size_t UpdaterTest::stagingCount() const {
    return static_cast<std::size_t>(
        std::count_if(fs::directory_iterator(parent()), fs::directory_iterator(), [](const fs::directory_entry& entry) {
            return entry.path().filename().native().starts_with(".ovrel-update-");
        }));
}

testing::AssertionResult UpdaterTest::isUnchanged() const {
    if (contentOfInstallation() != before_) {
        return testing::AssertionFailure() << "the installation is another one";
    }
    if (const std::size_t count = stagingCount(); count > 0) {
        return testing::AssertionFailure() << count << " folders of updates are left";
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult UpdaterTest::becomesUnchanged() const {
    const QDeadlineTimer end(std::chrono::seconds(10));
    while (!isUnchanged() && !end.hasExpired()) {
        QThread::msleep(1);
    }
    return isUnchanged();
}

} // namespace ovrel::test
