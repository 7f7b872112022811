#include "tests/updates/installation/test_trees.h"

#include "updates/installation/installed_layout.h"

#include <algorithm>
#include <array>
#include <fstream>

namespace ovrel::test {

namespace fs = std::filesystem;

namespace {

constexpr std::array<const char*, 3> treeFiles = {"bin/ovrel", "lib/plugins/one", "version"};

void writeFile(const fs::path& file, const std::string& content) {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << content;
}

} // namespace

void makeTree(const fs::path& tree, const std::string& version) {
    std::string list = std::string(installedFilesName) + "\n";
    for (const char* name : treeFiles) {
        writeFile(tree / name, version);
        list += std::string(name) + "\n";
    }
    writeFile(tree / installedFilesName, list);
}

std::string versionAt(const fs::path& tree) {
    if (!fs::is_directory(fs::symlink_status(tree))) {
        return "none";
    }
    std::string version;
    for (const char* name : treeFiles) {
        if (!fs::exists(tree / name) || (!version.empty() && contentOf(tree / name) != version)) {
            return "incomplete";
        }
        version = contentOf(tree / name);
    }
    return fs::exists(tree / installedFilesName) ? version : "incomplete";
}

TestTrees::TestTrees() {
    makeTree(tree(), "2.3");
    makeTree(staged(), "2.4");
}

InstallOrder TestTrees::order() const {
    return {.version = "2.4",
            .staging = staging,
            .top = top,
            .installed = identityOf(tree()).value(),
            .staged = identityOf(staged()).value()};
}

std::vector<std::string> TestTrees::names() const {
    return namesIn(path());
}

std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename().native());
    }
    std::erase(names, ".ovrel-lock");
    std::sort(names.begin(), names.end());
    return names;
}

int TestCalls::failureOf(const std::string& call, const std::string& name) {
    ++count_;
    made_.push_back(name.empty() ? call : call + " " + name);
    if (count_ == cutAt) {
        throw PowerCut();
    }
    const int number = ++counts_[call];
    for (const int wanted : {number, 0}) {
        if (const auto found = failures.find({call, wanted}); found != failures.end()) {
            return found->second;
        }
    }
    return 0;
}

int TestCalls::exchange(int firstFolder, const std::string& first, int secondFolder, const std::string& second) {
    const int failure = failureOf("exchange", first);
    return failure != 0 ? failure : TreeCalls::exchange(firstFolder, first, secondFolder, second);
}

int TestCalls::move(int fromFolder, const std::string& from, int toFolder, const std::string& to) {
    const int failure = failureOf("move", to);
    return failure != 0 ? failure : TreeCalls::move(fromFolder, from, toFolder, to);
}

int TestCalls::replace(int folder, const std::string& from, const std::string& to) {
    const int failure = failureOf("replace", to);
    return failure != 0 ? failure : TreeCalls::replace(folder, from, to);
}

int TestCalls::create(int folder, const std::string& name, const std::string& content) {
    if (count_ + 1 == cutAt) {
        static_cast<void>(TreeCalls::create(folder, name, content.substr(0, content.size() / 2)));
    }
    const int failure = failureOf("create", name);
    return failure != 0 ? failure : TreeCalls::create(folder, name, content);
}

int TestCalls::remove(int folder, const std::string& name) {
    const int failure = failureOf("remove", name);
    return failure != 0 ? failure : TreeCalls::remove(folder, name);
}

int TestCalls::sync(int folder) {
    const int failure = failureOf("sync");
    return failure != 0 ? failure : TreeCalls::sync(folder);
}

int TestCalls::syncVolume(int folder) {
    const int failure = failureOf("syncVolume");
    return failure != 0 ? failure : TreeCalls::syncVolume(folder);
}

} // namespace ovrel::test
