#include "tests/updates/installation/played_installation.h"

#include "platform/linux/argument_pointers.h"
#include "updates/installation/installed_layout.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <fcntl.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ovrel::test {

namespace fs = std::filesystem;

namespace {

constexpr std::array<const char*, 5> playedFiles = {"behaviour", programPath, installerPath, installedFilesName,
                                                    "version"};

void makePlayedTree(const fs::path& tree, const std::string& version, const std::string& installer,
                    const std::string& behaviour) {
    fs::create_directories(tree / "bin");
    fs::copy_file(OVREL_TEST_PROGRAM, tree / programPath);
    fs::copy_file(installer, tree / installerPath);
    std::ofstream(tree / "version") << version;
    std::ofstream(tree / "behaviour") << behaviour;
    std::ofstream list(tree / installedFilesName);
    for (const char* name : playedFiles) {
        list << name << "\n";
    }
}

std::pair<FileDescriptor, FileDescriptor> newPipe() {
    std::array<int, 2> ends = {-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

} // namespace

std::vector<std::string> PlayedStart::all(const std::string& keyword) const {
    std::vector<std::string> found;
    for (const auto& [name, value] : facts) {
        if (name == keyword) {
            found.push_back(value);
        }
    }
    return found;
}

std::string PlayedStart::one(const std::string& keyword) const {
    const std::vector<std::string> found = all(keyword);
    return found.empty() ? std::string() : found.front();
}

bool PlayedProcess::hasSpoken() {
    char word = 0;
    return ::read(output_.get(), &word, 1) == 1 && word == '+';
}

PlayedInstallation::PlayedInstallation(const std::string& installer, const std::string& behaviour) {
    // What a program leaves behind comes to the test, which can so wait for it.
    if (::prctl(PR_SET_CHILD_SUBREAPER, 1) != 0) {
        throw std::runtime_error("processes would get lost");
    }
    fs::create_directories(home() / "record");
    makePlayedTree(tree(), "2.3", installer, "");
    makePlayedTree(stagingFolder() / "tree" / "ovrel", "2.4", installer, behaviour);
}

PlayedProcess PlayedInstallation::start(const std::string& story, const std::vector<std::string>& variables) {
    const fs::path program = (fs::exists(tree()) ? tree() : previous()) / "bin" / "ovrel";
    std::vector<std::string> words = {program.native()};
    if (!story.empty()) {
        words.insert(words.end(), {"--play", story, staging, "ovrel", "2.4"});
    }
    std::vector<std::string> entries = {"HOME=" + home().native(),
                                        "OVREL_TEST_RECORD=" + (home() / "record").native(),
                                        "DISPLAY=:7",
                                        "WAYLAND_DISPLAY=wayland-7",
                                        "LANG=ru_RU.UTF-8",
                                        "XDG_RUNTIME_DIR=/run/user/7",
                                        "DBUS_SESSION_BUS_ADDRESS=unix:path=/run/user/7/bus",
                                        "LD_LIBRARY_PATH=" + (tree() / "lib").native(),
                                        "QT_PLUGIN_PATH=" + (tree() / "plugins").native(),
                                        "APPDIR=/tmp/.mount_7"};
    entries.insert(entries.end(), variables.begin(), variables.end());
    const std::vector<char*> arguments = argumentPointers(words);
    const std::vector<char*> environment = argumentPointers(entries);
    auto [inputRead, inputWrite] = newPipe();
    auto [outputRead, outputWrite] = newPipe();
    posix_spawn_file_actions_t actions = {};
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, inputRead.get(), STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, outputWrite.get(), STDOUT_FILENO);
    PlayedProcess played;
    const int error =
        ::posix_spawn(&played.process, program.c_str(), &actions, nullptr, arguments.data(), environment.data());
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::runtime_error("cannot start " + program.native());
    }
    played.input_ = std::move(inputWrite);
    played.output_ = std::move(outputRead);
    return played;
}

void PlayedInstallation::playToTheEnd(const std::string& story) {
    PlayedProcess played = start(story);
    if (!story.empty() && !played.hasSpoken()) {
        throw std::runtime_error("no installer heard the program");
    }
    played.quit();
    waitForAllProcesses();
}

std::vector<PlayedStart> PlayedInstallation::starts() const {
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(home() / "record")) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    std::vector<PlayedStart> starts;
    for (const fs::path& file : files) {
        PlayedStart& start = starts.emplace_back();
        std::istringstream lines(contentOf(file));
        for (std::string line; std::getline(lines, line);) {
            const std::size_t length = std::min(line.find(' '), line.size());
            start.facts.emplace_back(line.substr(0, length), line.substr(std::min(length + 1, line.size())));
        }
    }
    return starts;
}

std::vector<std::string> PlayedInstallation::startedVersions() const {
    std::vector<std::string> versions;
    for (const PlayedStart& start : starts()) {
        versions.push_back(start.one("version"));
    }
    return versions;
}

std::string PlayedInstallation::versionAt(const fs::path& tree) {
    if (!fs::is_directory(fs::symlink_status(tree))) {
        return "none";
    }
    for (const char* name : playedFiles) {
        if (!fs::exists(tree / name)) {
            return "incomplete";
        }
    }
    const bool isWhole = fs::file_size(tree / "bin" / "ovrel") == fs::file_size(OVREL_TEST_PROGRAM);
    return isWhole ? contentOf(tree / "version") : "incomplete";
}

void waitForAllProcesses() {
    while (::waitpid(-1, nullptr, 0) > 0 || errno == EINTR) {
    }
}

} // namespace ovrel::test
