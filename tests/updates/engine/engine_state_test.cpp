#include "platform/linux/file_descriptor.h"
#include "tests/support/temporary_folder.h"
#include "updates/engine/engine_state.h"

#include <gtest/gtest.h>

#include <QByteArray>

#include <chrono>
#include <filesystem>
#include <future>
#include <optional>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;

const QString folder = QStringLiteral("/no such folder/ovrel"); // of an installation

class EngineStateTest : public testing::Test {
protected:
    /// Another object for the same file, as another process would have it.
    EngineState state() const { return EngineState(QString::fromStdString(file_.native())); }

    /// Writes the file and tells whether it counts as empty.
    bool isEmptyWith(const std::string& content) const {
        folder_.write(fs::path("state") / "updates.json", content);
        const EngineState read = state();
        return read.skippedVersion().isEmpty() && read.highestVersion(folder).isEmpty() &&
               read.failedVersion().isEmpty();
    }

    TemporaryFolder folder_;
    fs::path file_ = folder_ / "state" / "updates.json";
};

mode_t permissionsOf(const fs::path& path) {
    struct stat facts {};
    EXPECT_EQ(::stat(path.c_str(), &facts), 0);
    return facts.st_mode & 07777U;
}

/// Sets a variable of the environment for one test, or takes it away.
class Environment {
public:
    Environment(const char* name, const std::optional<QByteArray>& value)
        : name_(name), was_(qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name)) : std::nullopt) {
        set(value);
    }
    ~Environment() { set(was_); }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    void set(const std::optional<QByteArray>& value) const {
        if (value) {
            qputenv(name_, *value);
        } else {
            qunsetenv(name_);
        }
    }

    const char* name_;
    std::optional<QByteArray> was_;
};

} // namespace

TEST_F(EngineStateTest, IsEmptyAtFirstAndWritesNothing) {
    const EngineState empty = state();
    EXPECT_TRUE(empty.skippedVersion().isEmpty());
    EXPECT_TRUE(empty.highestVersion(folder).isEmpty());
    EXPECT_TRUE(empty.failedVersion().isEmpty());
    EXPECT_TRUE(empty.forgetSkipped());
    EXPECT_TRUE(folder_.listing().empty());
}

TEST_F(EngineStateTest, IsReadByTheNextProcess) {
    ASSERT_TRUE(state().skip(QStringLiteral("2.4")));
    ASSERT_TRUE(state().recordInstalled(folder, QStringLiteral("2.5")));
    ASSERT_TRUE(state().recordFailed(QStringLiteral("2.6 \u0431\u0435\u0442\u0430")));
    EXPECT_EQ(state().skippedVersion(), QStringLiteral("2.4"));
    EXPECT_EQ(state().highestVersion(folder), QStringLiteral("2.5"));
    EXPECT_EQ(state().failedVersion(), QStringLiteral("2.6 \u0431\u0435\u0442\u0430"));
    EXPECT_EQ(folder_.listing(), (std::vector<std::string>{"state", "state/updates.json", "state/updates.json.lock"}));
}

TEST_F(EngineStateTest, ForgetsWhatWasSkippedAndNothingElse) {
    ASSERT_TRUE(state().skip(QStringLiteral("2.4")));
    ASSERT_TRUE(state().recordFailed(QStringLiteral("2.5")));
    ASSERT_TRUE(state().forgetSkipped());
    EXPECT_TRUE(state().skippedVersion().isEmpty());
    EXPECT_EQ(state().failedVersion(), QStringLiteral("2.5"));
}

TEST_F(EngineStateTest, KeepsTheHighestVersion) {
    ASSERT_TRUE(state().recordInstalled(folder, QStringLiteral("2.10")));
    EXPECT_TRUE(state().recordInstalled(folder, QStringLiteral("2.9")));
    EXPECT_TRUE(state().recordInstalled(folder, QStringLiteral("2.10.0")));
    EXPECT_EQ(state().highestVersion(folder), QStringLiteral("2.10"));
    EXPECT_TRUE(state().recordInstalled(folder, QStringLiteral("2.11")));
    EXPECT_EQ(state().highestVersion(folder), QStringLiteral("2.11"));
}

TEST_F(EngineStateTest, KeepsTheHighestVersionOfEachInstallation) {
    const QString other = QString::fromStdString(folder_.path().native());
    ASSERT_TRUE(state().recordInstalled(other, QStringLiteral("2.5")));
    EXPECT_TRUE(state().highestVersion(folder).isEmpty());
    ASSERT_TRUE(state().recordInstalled(folder, QStringLiteral("2.4")));
    EXPECT_EQ(state().highestVersion(other), QStringLiteral("2.5"));
    EXPECT_EQ(state().highestVersion(folder), QStringLiteral("2.4"));

    ASSERT_TRUE(state().recordInstalled(other, QStringLiteral("2.6")));
    EXPECT_TRUE(state().highestVersion(folder).isEmpty()) << "there is no such folder";
    EXPECT_EQ(state().highestVersion(other), QStringLiteral("2.6"));
}

TEST_F(EngineStateTest, IsTheUsersAlone) {
    ASSERT_TRUE(state().skip(QStringLiteral("2.4")));
    EXPECT_EQ(permissionsOf(file_), 0600U);
    EXPECT_EQ(permissionsOf(file_.parent_path()), 0700U);
    fs::permissions(file_, fs::perms(0644));
    ASSERT_TRUE(state().skip(QStringLiteral("2.5")));
    EXPECT_EQ(permissionsOf(file_), 0600U);
}

TEST_F(EngineStateTest, CountsDamageAsEmpty) {
    const std::string sound = R"({"format": 1, "skipped_version": "2.4"})";
    ASSERT_FALSE(isEmptyWith(sound));
    const std::string rows[] = {
        "",
        "\n",
        std::string(100, '\0'),
        "words",
        "{",
        "[]",
        "null",
        "\"2.4\"",
        "{}",
        sound.substr(0, sound.size() - 1),
        sound + "}",
        R"({"skipped_version": "2.4"})",
        R"({"format": 2, "skipped_version": "2.4"})",
        R"({"format": "1", "skipped_version": "2.4"})",
        R"({"format": 1, "skipped_version": 2.4, "highest_versions": [], "failed_version": {}})",
        sound + std::string(16'384, ' '),
        std::string(10'000, '['),
        "{\"format\": 1, \"skipped_version\": \"\xFF\"}",
    };
    for (const std::string& row : rows) {
        SCOPED_TRACE(row.substr(0, 100));
        EXPECT_TRUE(isEmptyWith(row));
        EXPECT_TRUE(state().skip(QStringLiteral("2.5")));
        EXPECT_EQ(state().skippedVersion(), QStringLiteral("2.5"));
    }
}

TEST_F(EngineStateTest, DoesNotWaitForAPipe) {
    fs::create_directories(file_.parent_path());
    ASSERT_EQ(::mkfifo(file_.c_str(), 0600), 0);
    EXPECT_TRUE(state().skippedVersion().isEmpty());
}

TEST_F(EngineStateTest, SaysWhenItIsNotWritten) {
    folder_.write("state", "a file where the folder should be");
    EXPECT_FALSE(state().skip(QStringLiteral("2.4")));
    EXPECT_FALSE(state().recordInstalled(folder, QStringLiteral("2.4")));
    EXPECT_FALSE(state().recordFailed(QStringLiteral("2.4")));
}

TEST_F(EngineStateTest, KeepsWhatEachOfSeveralInstancesWrites) {
    constexpr int times = 200;
    const auto writeAll = [](const auto& write, const auto& read) {
        int lost = 0;
        for (int number = 1; number <= times; ++number) {
            const QString version = QStringLiteral("2.%1").arg(number);
            lost += write(version) && read() == version ? 0 : 1;
            std::this_thread::sleep_for(std::chrono::milliseconds(1)); // the other one's turn
        }
        return lost;
    };
    auto skipping = std::async(std::launch::async, [&] {
        return writeAll([&](const QString& version) { return state().skip(version); },
                        [&] { return state().skippedVersion(); });
    });
    auto installing = std::async(std::launch::async, [&] {
        return writeAll([&](const QString& version) { return state().recordInstalled(folder, version); },
                        [&] { return state().highestVersion(folder); });
    });
    EXPECT_EQ(skipping.get(), 0);
    EXPECT_EQ(installing.get(), 0);
    EXPECT_EQ(folder_.listing(), (std::vector<std::string>{"state", "state/updates.json", "state/updates.json.lock"}));
}

TEST_F(EngineStateTest, GivesUpWhereAnotherInstanceDoesNotLetGo) {
    ASSERT_TRUE(state().skip(QStringLiteral("2.4")));
    const FileDescriptor other(::open((file_.native() + ".lock").c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(::flock(other.get(), LOCK_EX), 0);
    EXPECT_FALSE(state().skip(QStringLiteral("2.5")));
    EXPECT_EQ(state().skippedVersion(), QStringLiteral("2.4"));
}

TEST_F(EngineStateTest, StaysAsItWasWhenTooMuchIsWritten) {
    ASSERT_TRUE(state().skip(QStringLiteral("2.4")));
    EXPECT_FALSE(state().recordFailed(QString(20'000, u'1')));
    EXPECT_EQ(state().skippedVersion(), QStringLiteral("2.4"));
}

TEST_F(EngineStateTest, LiesInTheFolderForState) {
    const QByteArray scratch = QByteArray::fromStdString(folder_.path().native());
    const Environment home("HOME", scratch + "/home");
    struct Row {
        const char* what;
        std::optional<QByteArray> stateHome;
        QByteArray file;
    };
    const Row rows[] = {
        {"named", scratch + "/xdg", scratch + "/xdg/ovrel/updates.json"},
        {"not named", std::nullopt, scratch + "/home/.local/state/ovrel/updates.json"},
        {"empty", QByteArray(""), scratch + "/home/.local/state/ovrel/updates.json"},
        {"relative", QByteArray("xdg"), scratch + "/home/.local/state/ovrel/updates.json"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const Environment stateHome("XDG_STATE_HOME", row.stateHome);
        EXPECT_EQ(EngineState::defaultFile().toStdString(), row.file.toStdString());
        EXPECT_TRUE(EngineState().skip(QStringLiteral("2.4")));
        EXPECT_EQ(EngineState().skippedVersion(), QStringLiteral("2.4"));
        EXPECT_TRUE(fs::exists(row.file.toStdString()));
    }
}

} // namespace ovrel::test
