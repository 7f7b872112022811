#include "updates/installation/installation_kind.h"

#include <functional>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

namespace {

using namespace ovrel;

constexpr unsigned me = 1000;
constexpr unsigned myGroup = 1000;
constexpr unsigned otherGroup = 50;
constexpr const char* application = "org.example.ovrel";

FileFacts mine(unsigned mode) {
    return {.exists = true, .owner = me, .group = myGroup, .mode = mode};
}

InstallationSnapshot portableInstallation() {
    return {.program = "/home/me/apps/ovrel/bin/ovrel",
            .tree = "/home/me/apps/ovrel",
            .portableApplication = application,
            .programFacts = mine(0755),
            .folderFacts = mine(0755),
            .installerFacts = mine(0755),
            .treeFacts = mine(0755),
            .parentFacts = mine(0755),
            .user = me,
            .ownGroup = myGroup};
}

struct Row {
    const char* what;
    std::function<void(InstallationSnapshot&)> change;
    InstallationKind kind;
    const char* managedBy;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.what;
}

class InstallationIs : public testing::TestWithParam<Row> {};

TEST_P(InstallationIs, JudgedByItsFacts) {
    InstallationSnapshot snapshot = portableInstallation();
    GetParam().change(snapshot);
    const InstallationVerdict verdict = judgeInstallation(snapshot, application);
    EXPECT_EQ(verdict.kind, GetParam().kind) << verdict.reason;
    EXPECT_EQ(verdict.managedBy, GetParam().managedBy);
    EXPECT_EQ(verdict.mayUpdateItself(), GetParam().kind == InstallationKind::portable);
    EXPECT_FALSE(verdict.reason.empty());
}

using Snapshot = InstallationSnapshot;
using enum InstallationKind;

INSTANTIATE_TEST_SUITE_P(
    Snapshots, InstallationIs,
    testing::Values(
        Row{"the user's own folder", [](Snapshot&) {}, portable, ""},
        Row{"program beside the marker", [](Snapshot& s) { s.program = "/home/me/apps/ovrel/ovrel"; }, portable, ""},
        Row{"private folders", [](Snapshot& s) { s.treeFacts = s.parentFacts = mine(0700); }, portable, ""},
        Row{"below /opt, ours", [](Snapshot& s) { s.program = "/opt/ovrel/bin/ovrel"; }, portable, ""},
        Row{"a name like /usr", [](Snapshot& s) { s.program = "/usrlocal/ovrel/bin/ovrel"; }, portable, ""},
        Row{"own group may write, alone in it",
            [](Snapshot& s) {
                s.programFacts = s.folderFacts = s.installerFacts = s.treeFacts = s.parentFacts = mine(0775);
            },
            portable, ""},
        Row{"no installer", [](Snapshot& s) { s.installerFacts = {}; }, portable, ""},

        Row{"compiled in", [](Snapshot& s) { s.packager = "Debian"; }, managed, "Debian"},
        Row{"packager's file", [](Snapshot& s) { s.packagerMarker = "apt"; }, managed, "apt"},
        Row{"packager's file, empty", [](Snapshot& s) { s.packagerMarker = ""; }, managed, ""},
        Row{"Flatpak", [](Snapshot& s) { s.inFlatpak = true; }, managed, "Flatpak"},
        Row{"Snap", [](Snapshot& s) { s.inSnap = true; }, managed, "Snap"},
        Row{"below /usr", [](Snapshot& s) { s.program = "/usr/bin/ovrel"; }, managed, ""},
        Row{"below /usr/local", [](Snapshot& s) { s.program = "/usr/local/bin/ovrel"; }, managed, ""},
        Row{"Nix", [](Snapshot& s) { s.program = "/nix/store/x-ovrel/bin/ovrel"; }, managed, "Nix"},
        Row{"Guix", [](Snapshot& s) { s.program = "/gnu/store/x-ovrel/bin/ovrel"; }, managed, "Guix"},
        Row{"below /snap", [](Snapshot& s) { s.program = "/snap/ovrel/1/bin/ovrel"; }, managed, "Snap"},
        Row{"below /app", [](Snapshot& s) { s.program = "/app/bin/ovrel"; }, managed, "Flatpak"},
        Row{"below /opt, root's",
            [](Snapshot& s) {
                s.program = "/opt/ovrel/bin/ovrel";
                s.programFacts.owner = s.treeFacts.owner = s.parentFacts.owner = 0;
            },
            managed, ""},
        Row{"another user's program", [](Snapshot& s) { s.programFacts.owner = 1001; }, managed, ""},
        Row{"another user's folder", [](Snapshot& s) { s.treeFacts.owner = 1001; }, managed, ""},
        Row{"another user's folder of programs", [](Snapshot& s) { s.folderFacts.owner = 1001; }, managed, ""},
        Row{"another user's installer", [](Snapshot& s) { s.installerFacts.owner = 1001; }, managed, ""},
        Row{"root", [](Snapshot& s) { s.elevated = true; }, managed, ""},

        Row{"parent is another's", [](Snapshot& s) { s.parentFacts.owner = 0; }, notWritable, ""},
        Row{"folder without write right", [](Snapshot& s) { s.treeFacts.mode = 0555; }, notWritable, ""},
        Row{"parent without write right", [](Snapshot& s) { s.parentFacts.mode = 0555; }, notWritable, ""},
        Row{"read-only volume", [](Snapshot& s) { s.programFacts.readOnlyMount = true; }, notWritable, ""},
        Row{"read-only volume of the folder", [](Snapshot& s) { s.treeFacts.readOnlyMount = true; }, notWritable, ""},
        Row{"read-only volume around", [](Snapshot& s) { s.parentFacts.readOnlyMount = true; }, notWritable, ""},
        Row{"everybody may write the folder", [](Snapshot& s) { s.treeFacts.mode = 0757; }, notWritable, ""},
        Row{"everybody may write around it", [](Snapshot& s) { s.parentFacts.mode = 01777; }, notWritable, ""},
        Row{"everybody may write the program", [](Snapshot& s) { s.programFacts.mode = 0757; }, notWritable, ""},
        Row{"everybody may write the folder of programs", [](Snapshot& s) { s.folderFacts.mode = 0757; }, notWritable,
            ""},
        Row{"everybody may write the installer", [](Snapshot& s) { s.installerFacts.mode = 0757; }, notWritable, ""},
        Row{"another group may write the folder of programs",
            [](Snapshot& s) {
                s.folderFacts.mode = 0775;
                s.folderFacts.group = otherGroup;
            },
            notWritable, ""},
        Row{"another group may write",
            [](Snapshot& s) {
                s.treeFacts.mode = 0775;
                s.treeFacts.group = otherGroup;
            },
            notWritable, ""},
        Row{"own group has other members",
            [](Snapshot& s) {
                s.parentFacts.mode = 0775;
                s.ownGroup.reset();
            },
            notWritable, ""},
        Row{"an access list lets others write",
            [](Snapshot& s) {
                s.parentFacts.mode = 0775;
                s.parentFacts.accessList = true;
            },
            notWritable, ""},

        Row{"no marker", [](Snapshot& s) { s.tree.clear(); }, unknown, ""},
        Row{"another application's marker", [](Snapshot& s) { s.portableApplication = "org.other"; }, unknown, ""},
        Row{"empty marker", [](Snapshot& s) { s.portableApplication.clear(); }, unknown, ""},
        Row{"no path", [](Snapshot& s) { s.program.clear(); }, unknown, ""},
        Row{"relative path", [](Snapshot& s) { s.program = "bin/ovrel"; }, unknown, ""},
        Row{"program removed", [](Snapshot& s) { s.programFacts.exists = false; }, unknown, ""}));

TEST(InstallationKind, HoldsAPackagersWordAboveEverythingElse) {
    InstallationSnapshot snapshot;
    snapshot.packager = "Debian";
    snapshot.packagerMarker = "apt";
    snapshot.inFlatpak = true;
    EXPECT_EQ(judgeInstallation(snapshot, application).managedBy, "Debian");
}

} // namespace
