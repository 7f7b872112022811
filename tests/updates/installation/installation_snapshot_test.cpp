#include "updates/installation/installation_snapshot.h"

#include "tests/support/private_mounts.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/unprivileged.h"
#include "updates/installation/installed_layout.h"

#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace ovrel;
using namespace ovrel::test;

constexpr const char* application = "org.example.ovrel";

/// A portable installation in the folder of a user, made by that user.
fs::path makeInstallation(const fs::path& home) {
    fs::path tree = home / "apps" / "ovrel";
    fs::create_directories(tree / "bin");
    std::ofstream(tree / "bin" / "ovrel") << "program";
    std::ofstream(tree / installerPath) << "installer";
    std::ofstream(tree / portableMarkerName) << application << "\nmore\n";
    for (const fs::path& path :
         {home, home / "apps", tree, tree / "bin", tree / "bin" / "ovrel", tree / installerPath}) {
        fs::permissions(path, fs::perms(0755));
    }
    return tree;
}

SnapshotSources sourcesOf(const fs::path& program, std::set<std::string> variables = {}) {
    return {.program = program,
            .flatpakFile = "/nonexistent",
            .isSet = [variables = std::move(variables)](const char* name) { return variables.contains(name); }};
}

InstallationVerdict judge(const SnapshotSources& sources) {
    return judgeInstallation(takeInstallationSnapshot(sources), application);
}

/// Runs on the side of an ordinary user with a home of their own.
void asUser(const std::function<void(const fs::path& home)>& body) {
    const TemporaryFolder around;
    fs::permissions(around.path(), fs::perms(0777));
    ASSERT_TRUE(runUnprivileged([&] {
        const fs::path home = around / "home";
        fs::create_directory(home);
        body(home);
    }));
}

TEST(InstallationSnapshot, KnowsAPortableInstallation) {
    asUser([](const fs::path& home) {
        const fs::path tree = makeInstallation(home);
        const auto snapshot = takeInstallationSnapshot(sourcesOf(tree / "bin" / "ovrel"));
        EXPECT_EQ(snapshot.tree, tree);
        EXPECT_EQ(snapshot.portableApplication, application);
        const auto verdict = judgeInstallation(snapshot, application);
        EXPECT_EQ(verdict.kind, InstallationKind::portable) << verdict.reason;
    });
}

TEST(InstallationSnapshot, SeesWhatThePackagersAndStoresSay) {
    asUser([](const fs::path& home) {
        const fs::path program = makeInstallation(home) / "bin" / "ovrel";
        EXPECT_EQ(judge(sourcesOf(program, {"FLATPAK_ID"})).managedBy, "Flatpak");
        EXPECT_EQ(judge(sourcesOf(program, {"SNAP"})).managedBy, "Snap");
        EXPECT_EQ(judge(sourcesOf(program, {"APPIMAGE", "APPDIR"})).kind, InstallationKind::portable);
        SnapshotSources inFlatpak = sourcesOf(program);
        inFlatpak.flatpakFile = program;
        EXPECT_EQ(judge(inFlatpak).managedBy, "Flatpak");
        std::ofstream(program.parent_path() / packagerMarkerName) << "the \x1B[1mdistribution\nignored";
        EXPECT_EQ(judge(sourcesOf(program)).managedBy, "the [1mdistribution");
    });
}

TEST(InstallationSnapshot, SeesWhoMayWrite) {
    asUser([](const fs::path& home) {
        const fs::path tree = makeInstallation(home);
        const fs::path program = tree / "bin" / "ovrel";
        for (const fs::path& path : {program, tree / "bin", tree / installerPath, tree, tree.parent_path()}) {
            fs::permissions(path, fs::perms(0757));
            EXPECT_EQ(judge(sourcesOf(program)).kind, InstallationKind::notWritable) << path;
            fs::permissions(path, fs::perms(0755));
        }
        fs::permissions(tree.parent_path(), fs::perms(0555));
        EXPECT_EQ(judge(sourcesOf(program)).kind, InstallationKind::notWritable);
        fs::permissions(tree.parent_path(), fs::perms(0755));
        EXPECT_EQ(judge(sourcesOf(program)).kind, InstallationKind::portable);
    });
}

TEST(InstallationSnapshot, SeesThatItBelongsToAnotherUser) {
    const TemporaryFolder around;
    fs::permissions(around.path(), fs::perms(0755));
    const fs::path program = makeInstallation(around / "home") / "bin" / "ovrel";
    if (::geteuid() == 0) { // it is root's, and an ordinary user looks
        ASSERT_TRUE(runUnprivileged([&] { EXPECT_EQ(judge(sourcesOf(program)).kind, InstallationKind::managed); }));
    }
    EXPECT_EQ(judge(sourcesOf("/usr/bin/env")).kind, InstallationKind::managed);
}

TEST(InstallationSnapshot, SeesAVolumeThatCannotBeWrittenTo) {
    const TemporaryFolder around;
    ASSERT_TRUE(runWithOwnMounts([&] {
        mountMemory(around.path(), "mode=0755");
        const fs::path program = makeInstallation(around / "home") / "bin" / "ovrel";
        makeReadOnly(around.path());
        const auto snapshot = takeInstallationSnapshot(sourcesOf(program));
        EXPECT_TRUE(snapshot.programFacts.readOnlyMount);
        EXPECT_TRUE(snapshot.treeFacts.readOnlyMount);
        EXPECT_TRUE(snapshot.parentFacts.readOnlyMount);
    }));
}

TEST(InstallationSnapshot, IsUnknownWithoutAMarkerOrAProgram) {
    asUser([](const fs::path& home) {
        const fs::path tree = makeInstallation(home);
        fs::remove(tree / portableMarkerName);
        EXPECT_EQ(judge(sourcesOf(tree / "bin" / "ovrel")).kind, InstallationKind::unknown);
        EXPECT_EQ(judge(sourcesOf(tree / "bin" / "ovrel (deleted)")).kind, InstallationKind::unknown);
        EXPECT_EQ(judge(sourcesOf({})).kind, InstallationKind::unknown);
    });
}

TEST(InstallationSnapshot, OfThisProcessNamesItsProgram) {
    const SnapshotSources sources = ownSources();
    EXPECT_EQ(sources.program, fs::read_symlink("/proc/self/exe"));
    ::setenv("OVREL_TEST_ENTRY", "", 1);
    EXPECT_TRUE(sources.isSet("OVREL_TEST_ENTRY"));
    ::unsetenv("OVREL_TEST_ENTRY");
    EXPECT_FALSE(sources.isSet("OVREL_TEST_ENTRY"));
    const InstallationSnapshot snapshot = takeInstallationSnapshot(sources);
    EXPECT_EQ(snapshot.elevated, ::geteuid() == 0);
    EXPECT_TRUE(snapshot.programFacts.exists);
}

} // namespace
