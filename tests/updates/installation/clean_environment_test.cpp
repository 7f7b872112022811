#include "updates/installation/clean_environment.h"

#include "updates/installation/installer_order.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace {

using namespace ovrel;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(CleanEnvironment, KeepsTheDesktopsAndTheUsersOwn) {
    const std::vector<std::string> kept = {"DISPLAY=:0",
                                           "WAYLAND_DISPLAY=wayland-0",
                                           "XAUTHORITY=/run/x",
                                           "XDG_RUNTIME_DIR=/run/user/1000",
                                           "DBUS_SESSION_BUS_ADDRESS=unix:path=/run/bus",
                                           "LANG=ru_RU.UTF-8",
                                           "LC_ALL=C",
                                           "LANGUAGE=ru:en",
                                           "HOME=/home/me",
                                           "PATH=/usr/bin",
                                           "QT_SCALE_FACTOR=2",
                                           "XDG_ACTIVATION=x",
                                           "LDAP=yes",
                                           "EMPTY=",
                                           "EQUATION=a=b"};
    EXPECT_EQ(cleanEnvironment(kept), kept);
}

TEST(CleanEnvironment, LeavesOutWhatBelongsToTheReplacedProgram) {
    for (const char* name : {"LD_LIBRARY_PATH",
                             "LD_PRELOAD",
                             "LD_AUDIT",
                             "LD_DEBUG_OUTPUT",
                             "QT_PLUGIN_PATH",
                             "QT_QPA_PLATFORM_PLUGIN_PATH",
                             "QML_IMPORT_PATH",
                             "QML2_IMPORT_PATH",
                             "APPIMAGE",
                             "APPDIR",
                             "ARGV0",
                             "OWD",
                             "PWD",
                             "OLDPWD",
                             "GCONV_PATH",
                             "GIO_MODULE_DIR",
                             "GLIBC_TUNABLES",
                             "LISTEN_FDS",
                             "NOTIFY_SOCKET",
                             "INVOCATION_ID",
                             "JOURNAL_STREAM",
                             "MAINPID",
                             "SYSTEMD_EXEC_PID",
                             "WATCHDOG_PID",
                             "WATCHDOG_USEC",
                             "XDG_ACTIVATION_TOKEN",
                             "DESKTOP_STARTUP_ID"}) {
        EXPECT_THAT(cleanEnvironment({std::string(name) + "=x"}), IsEmpty()) << name;
    }
}

TEST(CleanEnvironment, LeavesOutWhatIsNoEntry) {
    EXPECT_THAT(cleanEnvironment({"", "=x", "novalue", std::string("A=\0B=1", 6), "A=1", "A=2"}), ElementsAre("A=1"));
}

TEST(CleanEnvironment, FindsValues) {
    EXPECT_EQ(environmentValue({"HOMELY=no", "HOME=/home/me"}, "HOME"), "/home/me");
    EXPECT_EQ(environmentValue({"HOMELY=no"}, "HOME"), "");
    ::setenv("OVREL_TEST_ENTRY", "here", 1);
    EXPECT_THAT(currentEnvironment(), Contains("OVREL_TEST_ENTRY=here"));
    ::unsetenv("OVREL_TEST_ENTRY");
}

TEST(CleanEnvironment, TravelsAsBytes) {
    const std::vector<std::string> entries = {"A=1", "B=line\nbreak", "C="};
    EXPECT_EQ(parseEnvironment(formatEnvironment(entries)), entries);
    EXPECT_THAT(parseEnvironment(std::string("A=1\0B=cut", 9)), ElementsAre("A=1"));
}

InstallerOrder someOrder() {
    return {.name = "ovrel",
            .install = {.version = "2.4",
                        .staging = ".ovrel-update-1",
                        .top = "ovrel 2.4",
                        .installed = {.device = 1, .inode = 2},
                        .staged = {.device = 3, .inode = ~0ULL}},
            .program = "bin/ovrel",
            .watchMilliseconds = 500};
}

TEST(InstallerOrder, ReadsWhatItWrote) {
    const auto words = formatInstallerOrder(someOrder());
    const auto order = parseInstallerOrder(words);
    ASSERT_TRUE(order);
    EXPECT_EQ(formatInstallerOrder(*order), words);
    EXPECT_EQ(order->install.staged.inode, ~0ULL);
}

TEST(InstallerOrder, IsRefusedWithAnyWordOutOfOrder) {
    const auto words = formatInstallerOrder(someOrder());
    for (std::size_t index = 0; index < words.size(); ++index) {
        for (const std::string& wrong :
             {std::string(), std::string("../x"), std::string("/x"), std::string(300, '9')}) {
            auto changed = words;
            changed[index] = wrong;
            EXPECT_FALSE(parseInstallerOrder(changed)) << index << " " << wrong;
        }
        auto fewer = words;
        fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(index));
        EXPECT_FALSE(parseInstallerOrder(fewer));
    }
    auto more = words;
    more.emplace_back("more");
    EXPECT_FALSE(parseInstallerOrder(more));
}

TEST(InstallerOrder, TakesPathsWithinTheTreeOnly) {
    EXPECT_TRUE(isPlainPath("ovrel"));
    EXPECT_TRUE(isPlainPath("bin/ovrel"));
    for (const char* path :
         {"", "/bin/ovrel", "bin/", "bin//ovrel", "../ovrel", "bin/../../ovrel", "bin/.", "./ovrel"}) {
        EXPECT_FALSE(isPlainPath(path)) << path;
    }
}

} // namespace
