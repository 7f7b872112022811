/// \file updater_test.h
/// An updater with everything around it: an installation on the disk, a publisher's server, a recorder.
#pragma once

#include "tests/remote/support/fetch_test.h"
#include "tests/support/temporary_folder.h"
#include "tests/updates/engine/recorder.h"
#include "tests/updates/engine/tar_writer.h"
#include "updates/engine/updater.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace ovrel::test {

using Calls = std::vector<std::string>;

/// The lists one after the other.
Calls joined(const std::vector<Calls>& lists);

/// A release in the feed.
struct FeedItem {
    std::string version;
    std::string elements;  ///< further ones
    std::string enclosure; ///< empty for none
};

std::string feedOf(const std::vector<FeedItem>& items);

/// An installed version 1.0, and a publisher who has an archive of version 1.1. Sessions end when the recorder has
/// answered all that it is asked.
class UpdaterTest : public testing::Test {
protected:
    UpdaterTest();
    ~UpdaterTest() override;

    // What the publisher has.
    void publishFeed(const std::vector<FeedItem>& items);
    void publishFeedText(const std::string& text);
    /// A feed with this one archive, signed as it should be.
    void publishArchive(const std::string& archive, const std::string& version = "1.1");
    /// The enclosure of an archive below /releases/.
    static std::string enclosure(const std::string& name, std::size_t length, const std::string& signature);
    /// The tree of a version: program, installer, manifest.
    static std::vector<TarEntry> tree(const std::string& version);
    static TarEntry manifest(const std::string& version, const std::string& application = "example.ovrel.Ovrel",
                             const std::string& system = "linux", const std::string& architecture = "");

    /// Makes the updater anew from `environment_` and starts it.
    void start();

    void checkAsked();
    void checkInBackground();
    void waitForEnd();
    /// A session during which the updater goes away, after this call; nothing may be called then.
    void checkUntilTheUpdaterGoes(const std::string& after);
    void waitFor(const std::string& call);
    /// Whether every download ends within ten seconds.
    static bool networkEnds();

    /// Whether the installation is as it was, and nothing lies beside it that an update made.
    testing::AssertionResult isUnchanged() const;
    /// The same, soon: an installer that was told to give up does so by itself.
    testing::AssertionResult becomesUnchanged() const;
    /// Folders of updates beside the installation.
    std::size_t stagingCount() const;

    std::filesystem::path parent() const { return folder_.path(); }
    std::filesystem::path installation() const { return folder_ / "ovrel"; }

    TemporaryFolder folder_;
    TlsServer server_{publisher()};
    ConnectProxy proxy_{server_.port()};
    Recorder recorder_;
    UpdaterEnvironment environment_;
    int quits_ = 0;
    std::unique_ptr<Updater> updater_;

private:
    std::string contentOfInstallation() const;

    std::string before_;
};

} // namespace ovrel::test
