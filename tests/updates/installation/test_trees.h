/// \file test_trees.h
/// Small installations and updates on the disk, and calls that fail where a test says.
#pragma once

#include "tests/support/temporary_folder.h"
#include "updates/installation/exchange.h"
#include "updates/installation/installation_place.h"
#include "updates/installation/installed_layout.h"
#include "updates/installation/tree_calls.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ovrel::test {

/// Writes a tree with a list of its files; each file says the version.
void makeTree(const std::filesystem::path& tree, const std::string& version);

/// \return the version of a complete tree of makeTree(), "incomplete" for another folder, "none" where there is none
std::string versionAt(const std::filesystem::path& tree);

/// The installation "ovrel" of version 2.3 and beside it the verified update to 2.4.
class TestTrees {
public:
    static constexpr const char* staging = ".ovrel-update-a1b2";
    static constexpr const char* top = "ovrel-2.4";

    TestTrees();
    const std::filesystem::path& path() const { return folder_.path(); }
    std::filesystem::path tree() const { return folder_ / "ovrel"; }
    std::filesystem::path previous() const { return folder_ / ".ovrel-previous"; }
    std::filesystem::path staged() const { return folder_ / staging / stagedTreeFolder / top; }
    InstallationPlace place() const { return InstallationPlace(tree()); }

    /// The order to install the update, with the folders as they are now.
    InstallOrder order() const;

    /// Names in the folder itself, sorted, without the lock file.
    std::vector<std::string> names() const;

private:
    TemporaryFolder folder_;
};

/// Names in a folder, sorted, without the lock file.
std::vector<std::string> namesIn(const std::filesystem::path& folder);

/// The power is cut.
struct PowerCut {};

/// Real calls, unless a test wants them to fail.
class TestCalls : public TreeCalls {
public:
    /// errno of the n-th call (from 1; 0: of each) with this name
    std::map<std::pair<std::string, int>, int> failures;
    /// The call (from 1, of all) before which the power is cut; a file is half written then.
    std::optional<int> cutAt;

    int callCount() const { return count_; }
    /// All so far: what was done, and the name that it was done to, if any.
    const std::vector<std::string>& made() const { return made_; }

    int exchange(int firstFolder, const std::string& first, int secondFolder, const std::string& second) override;
    int move(int fromFolder, const std::string& from, int toFolder, const std::string& to) override;
    int replace(int folder, const std::string& from, const std::string& to) override;
    int create(int folder, const std::string& name, const std::string& content) override;
    int remove(int folder, const std::string& name) override;
    int sync(int folder) override;
    int syncVolume(int folder) override;

private:
    int failureOf(const std::string& call, const std::string& name = "");

    int count_ = 0;
    std::map<std::string, int> counts_;
    std::vector<std::string> made_;
};

} // namespace ovrel::test
