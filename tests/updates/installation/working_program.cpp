#include "tests/updates/installation/working_program.h"

#include "updates/installation/installed_layout.h"

#include <array>
#include <fstream>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ovrel::test {

namespace fs = std::filesystem;

namespace {

constexpr const char* name = "bin/ovrel-cli";

} // namespace

WorkingProgram::WorkingProgram(const fs::path& tree) {
    fs::copy_file(OVREL_TEST_PROGRAM, tree / name);
    std::ofstream(tree / installedFilesName, std::ios::app) << name << "\n";

    std::array<int, 2> input = {-1, -1};
    std::array<int, 2> output = {-1, -1};
    if (::pipe2(input.data(), O_CLOEXEC) != 0 || ::pipe2(output.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    const FileDescriptor itsInput(input[0]);
    input_ = FileDescriptor(input[1]);
    const FileDescriptor said(output[0]);
    FileDescriptor itsOutput(output[1]);

    posix_spawn_file_actions_t actions = {};
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, itsInput.get(), STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, itsOutput.get(), STDOUT_FILENO);
    std::string path = (tree / name).native();
    std::string word = "--work";
    const std::array<char*, 3> arguments = {path.data(), word.data(), nullptr};
    const int error = ::posix_spawn(&process_, path.c_str(), &actions, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    itsOutput.close();
    char spoken = 0;
    if (error != 0 || ::read(said.get(), &spoken, 1) != 1) {
        throw std::runtime_error("cannot start " + path);
    }
}

WorkingProgram::~WorkingProgram() {
    input_.close();
    ::waitpid(process_, nullptr, 0);
}

} // namespace ovrel::test
