#include "tests/updates/update_fixture.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <utility>

namespace ovrel::test {

namespace {

class RecordingUpdater final : public SPUUpdater {
public:
    explicit RecordingUpdater(UpdateFixture& fixture) : fixture_(fixture) { fixture_.record("updater: made"); }
    RecordingUpdater(const RecordingUpdater&) = delete;
    RecordingUpdater& operator=(const RecordingUpdater&) = delete;
    ~RecordingUpdater() override {
        fixture_.whenUpdaterEnds();
        fixture_.record("updater: gone");
    }

    std::optional<UpdateError> startUpdater() override {
        fixture_.record("updater: start");
        return fixture_.startError;
    }
    bool sessionInProgress() const override { return fixture_.sessionInProgress; }
    bool canCheckForUpdates() const override { return !fixture_.sessionInProgress; }
    void checkForUpdates() override { fixture_.record("updater: check"); }
    void checkForUpdatesInBackground() override { fixture_.record("updater: check in background"); }
    void setAutomaticallyChecksForUpdates(bool automatic) override { record("automatic checks", automatic); }
    void setAutomaticallyDownloadsUpdates(bool automatic) override { record("automatic downloads", automatic); }
    void setSendsSystemProfile(bool sends) override { record("system profile", sends); }
    void setUserAgentString(const QString& userAgent) override {
        fixture_.record("updater: user agent " + userAgent.toStdString());
    }

private:
    void record(const std::string& property, bool value) {
        fixture_.record("updater: " + property + (value ? " on" : " off"));
    }

    UpdateFixture& fixture_;
};

class RecordingPanel final : public UpdatePanel {
public:
    explicit RecordingPanel(UpdateFixture& fixture) : fixture_(fixture) { fixture_.record("panel: made"); }
    RecordingPanel(const RecordingPanel&) = delete;
    RecordingPanel& operator=(const RecordingPanel&) = delete;
    ~RecordingPanel() override { fixture_.record("panel: gone"); }

    void setTitle(const QString& title) override { fixture_.record("panel: title " + title.toStdString()); }
    void makeKeyAndOrderFront() override { fixture_.record("panel: front"); }
    void orderOut() override { fixture_.record("panel: out"); }

private:
    UpdateFixture& fixture_;
};

std::string nameOf(SPUUserUpdateChoice choice) {
    switch (choice) {
    case SPUUserUpdateChoice::skip: return "skip";
    case SPUUserUpdateChoice::install: return "install";
    case SPUUserUpdateChoice::dismiss: return "dismiss";
    }
    return "no choice";
}

} // namespace

const char* const feedAddress = "https://" OVREL_PUBLISHER_HOST "/app/appcast.xml";

std::ostream& operator<<(std::ostream& stream, const Shown& shown) {
    stream << "heading \"" << shown.heading << "\", detail \"" << shown.detail << "\", progress ";
    if (!shown.showsProgress) {
        stream << "hidden ";
    }
    if (shown.progress) {
        stream << *shown.progress;
    }
    for (const std::string& title : shown.titles) {
        stream << " [" << title << "]";
    }
    return stream;
}

UpdateFixture::UpdateFixture(AppLanguage spoken)
    : language(spoken)
    , manager_(std::make_unique<UpdateManager>(UpdateManager::Services{
          [this] { return settings_.fetch(); },
          [this](SPUUserDriver& driver, SPUUpdaterDelegate& delegate) -> std::unique_ptr<SPUUpdater> {
              EXPECT_EQ(&driver, &manager());
              EXPECT_EQ(&delegate, &manager());
              return hasUpdater ? std::make_unique<RecordingUpdater>(*this) : nullptr;
          },
          [this] { return language; },
          [this](UpdateManager& owner) {
              EXPECT_EQ(&owner, &manager());
              return std::make_unique<RecordingPanel>(*this);
          }})) {}

std::vector<std::string> UpdateFixture::takeCalls() {
    return std::exchange(calls_, {});
}

Shown UpdateFixture::shown() const {
    Shown shown{manager_->heading().toStdString(),
                manager_->detail().toStdString(),
                manager_->showsProgress(),
                manager_->progress(),
                {}};
    for (const UpdateManager::Action& action : manager_->actions()) {
        shown.titles.push_back(action.title.toStdString());
    }
    return shown;
}

void UpdateFixture::begin(bool manual) {
    manager_->check(manual);
}

void UpdateFixture::answer(const QByteArray& settings) {
    network.answer(network.count() - 1, settings);
}

void UpdateFixture::check(bool manual) {
    begin(manual);
    answer(settingsWithFeed());
}

void UpdateFixture::endCycle() {
    manager_->didFinishUpdateCycleForUpdateCheck(SPUUpdateCheck::updates, std::nullopt);
}

void UpdateFixture::press(const std::string& title) {
    for (const UpdateManager::Action& action : manager_->actions()) {
        if (action.title.toStdString() == title) {
            const UpdateManager::Action pressed = action;
            pressed.perform();
            return;
        }
    }
    ADD_FAILURE() << "no button \"" << title << "\" among " << shown();
}

UpdateManager::ChoiceReply UpdateFixture::reply(const std::string& name) {
    return UpdateManager::ChoiceReply(
        [this, name](SPUUserUpdateChoice choice) { record(name + ": " + nameOf(choice)); },
        [this, name] { record(name + ": dropped"); });
}

OneShot<> UpdateFixture::block(const std::string& name) {
    return OneShot<>([this, name] { record(name + ": called"); }, [this, name] { record(name + ": dropped"); });
}

void UpdateFixture::authorize() {
    manager_->showUpdateFoundWithAppcastItem(installableItem(), {}, reply("offer"));
    press(language == AppLanguage::english ? "Install Update" : "Установить обновление");
}

QByteArray settingsWithFeed() {
    return QByteArray("enabled=false\nupdates_enabled=true\nupdate_feed_url=") + feedAddress;
}

std::vector<std::string> configuration() {
    return {"updater: automatic checks off", "updater: automatic downloads off", "updater: system profile off",
            "updater: user agent Ovrel/2.3 Sparkle"};
}

std::vector<std::string> operator+(std::vector<std::string> left, const std::vector<std::string>& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

SUAppcastItem installableItem() {
    SUAppcastItem item;
    item.versionString = QStringLiteral("240");
    item.displayVersionString = QStringLiteral("2.4");
    item.fileURL = QUrl(QStringLiteral("https://" OVREL_PUBLISHER_HOST "/app/ovrel-2.4.tar.xz"));
    return item;
}

UpdateError someError() {
    return UpdateError(SUError::download, QStringLiteral("Нет сети."), QStringLiteral("No network."));
}

void runEvents() {
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

} // namespace ovrel::test
