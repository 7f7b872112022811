/// \file update_fixture.h
/// A manager of the test's own, and all that it talks to.
#pragma once

#include "remote/remote_settings.h"
#include "tests/remote/held_fetch.h"
#include "updates/update_manager.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace ovrel::test {

/// What the manager publishes for its panel.
struct Shown {
    std::string heading;
    std::string detail;
    bool showsProgress = false;
    std::optional<double> progress;
    std::vector<std::string> titles; ///< of the actions

    friend bool operator==(const Shown&, const Shown&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const Shown& shown);
};

/// A text in both languages, as the user has to read it.
struct Wording {
    std::string russian;
    std::string english;

    const std::string& in(AppLanguage language) const { return language == AppLanguage::english ? english : russian; }
};

/// Everything that the manager asks of others is recorded in one list, in its order.
class UpdateFixture {
public:
    explicit UpdateFixture(AppLanguage language = AppLanguage::english);
    UpdateFixture(const UpdateFixture&) = delete;
    UpdateFixture& operator=(const UpdateFixture&) = delete;

    UpdateManager& manager() { return *manager_; }
    void destroyManager() { manager_.reset(); }

    /// \name How the others behave, from now on
    /// @{
    AppLanguage language;
    bool hasUpdater = true;
    bool sessionInProgress = false;
    std::optional<UpdateError> startError;
    std::function<void()> whenUpdaterEnds = [] {};
    /// @}

    HeldFetch network;

    /// What was recorded since the last time.
    std::vector<std::string> takeCalls();
    void record(const std::string& call) { calls_.push_back(call); }

    Shown shown() const;

    /// Begins a check, which waits for its settings then.
    void begin(bool manual);
    /// Answers the latest request for settings.
    void answer(const QByteArray& settings);
    /// A check with a feed, from the beginning to the updater.
    void check(bool manual);
    /// Tells the manager that the updater has ended what it did.
    void endCycle();

    /// Presses the button of this title. Fails the test without one.
    void press(const std::string& title);

    /// Records the answer, or that none came.
    UpdateManager::ChoiceReply reply(const std::string& name = "reply");
    OneShot<> block(const std::string& name);

    /// Brings the manager to where the user has chosen to install.
    void authorize();

private:
    std::vector<std::string> calls_;
    RemoteSettings settings_{network.function()};
    std::unique_ptr<UpdateManager> manager_;
};

/// The feed of `settingsWithFeed`.
extern const char* const feedAddress;
/// Settings that name a feed.
QByteArray settingsWithFeed();

/// What is asked of an updater before each check.
std::vector<std::string> configuration();
/// Several lists, one after the other.
std::vector<std::string> operator+(std::vector<std::string> left, const std::vector<std::string>& right);

/// An item that can be installed.
SUAppcastItem installableItem();

UpdateError someError();

/// Lets everything happen that was put into the event loop.
void runEvents();

} // namespace ovrel::test
