#include "updates/installation/journal.h"

#include "tests/updates/installation/test_trees.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using namespace ovrel;
using namespace ovrel::test;

Journal someJournal() {
    return {.state = JournalState::installed,
            .token = "0123456789abcdef0123456789abcdef",
            .version = "2.4",
            .staging = ".ov%rel\nend\n-update-1",
            .top = "ovrel 2.4 \xD1\x8F",
            .startCount = 2};
}

bool operator==(const Journal& one, const Journal& other) {
    return one.state == other.state && one.token == other.token && one.version == other.version &&
           one.staging == other.staging && one.top == other.top && one.startCount == other.startCount;
}

TEST(Journal, ReadsWhatItWrote) {
    for (const JournalState state : {JournalState::exchanging, JournalState::installed, JournalState::confirmed,
                                     JournalState::undoing, JournalState::failed}) {
        Journal journal = someJournal();
        journal.state = state;
        const auto read = parseJournal(formatJournal(journal));
        ASSERT_TRUE(read);
        EXPECT_TRUE(*read == journal);
    }
}

TEST(Journal, IsNoneWhenCutAnywhere) {
    const std::string text = formatJournal(someJournal());
    for (std::size_t length = 0; length < text.size(); ++length) {
        EXPECT_FALSE(parseJournal(text.substr(0, length))) << length;
    }
}

TEST(Journal, IsNoneWithAnyByteChangedToOneThatSaysNothing) {
    const std::string text = formatJournal(someJournal());
    for (std::size_t index = 0; index < text.size(); ++index) {
        std::string changed = text;
        changed[index] = '\0';
        EXPECT_FALSE(parseJournal(changed)) << index;
    }
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    const std::size_t index = text.find(from);
    EXPECT_NE(index, std::string::npos) << from;
    return text.replace(index, from.size(), to);
}

TEST(Journal, IsNoneWithAnythingUnknown) {
    const std::string text = formatJournal(someJournal());
    const std::string wellFormed = replaced(text, "starts 2", "starts 3");
    EXPECT_TRUE(parseJournal(wellFormed));
    EXPECT_FALSE(parseJournal(replaced(text, "journal 1", "journal 2")));
    EXPECT_FALSE(parseJournal(replaced(text, "state installed", "state resting")));
    EXPECT_FALSE(parseJournal(replaced(text, "starts 2", "starts 100")));
    EXPECT_FALSE(parseJournal(replaced(text, "starts 2", "starts -1")));
    EXPECT_FALSE(parseJournal(replaced(text, "starts 2", "starts 02")));
    EXPECT_FALSE(parseJournal(replaced(text, "starts 2", "starts 99999999999999999999")));
    EXPECT_FALSE(parseJournal(replaced(text, "token 0123", "token 012")));
    EXPECT_FALSE(parseJournal(replaced(text, "token 0123", "token 012G")));
    EXPECT_FALSE(parseJournal(replaced(text, "version 2.4", "version ")));
    EXPECT_FALSE(parseJournal(replaced(text, "version 2.4", "version " + std::string(65, '1'))));
    EXPECT_FALSE(parseJournal(replaced(text, "staging .", "staging ../.")));
    EXPECT_FALSE(parseJournal(replaced(text, "top ovrel", "top /ovrel")));
    EXPECT_FALSE(parseJournal(replaced(text, "top ovrel", "top %00ovrel")));
    EXPECT_FALSE(parseJournal(replaced(text, "top ovrel", "top %6fvrel"))); // not the way it is written
    EXPECT_FALSE(parseJournal(replaced(text, "\ntop ", "\nbottom ")));
    EXPECT_FALSE(parseJournal(text + "more\n"));
    EXPECT_FALSE(parseJournal(text + std::string(5000, '\n')));
}

TEST(Journal, LiesHiddenBesideTheInstallationForItsOwnerOnly) {
    const TestTrees trees;
    TreeCalls calls;
    writeJournal(calls, trees.place(), someJournal());
    struct stat facts = {};
    ASSERT_EQ(::stat((trees.path() / ".ovrel-journal").c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 07777U, 0600U);
    const auto read = readJournal(trees.place());
    ASSERT_TRUE(read);
    EXPECT_TRUE(*read == someJournal());
    removeJournal(calls, trees.place());
    EXPECT_FALSE(readJournal(trees.place()));
    removeJournal(calls, trees.place()); // none is no error
}

TEST(Journal, IsNotReadThroughALinkNorFromAPipe) {
    const TestTrees trees;
    std::ofstream(trees.path() / "text") << formatJournal(someJournal());
    fs::create_symlink("text", trees.path() / ".ovrel-journal");
    EXPECT_FALSE(readJournal(trees.place()));
    fs::remove(trees.path() / ".ovrel-journal");
    ASSERT_EQ(::mkfifo((trees.path() / ".ovrel-journal").c_str(), 0600), 0);
    EXPECT_FALSE(readJournal(trees.place()));
}

TEST(Journal, IsNotWrittenWithNamesThatCouldNotBeRead) {
    const TestTrees trees;
    TreeCalls calls;
    Journal journal = someJournal();
    journal.top = "../elsewhere";
    EXPECT_THROW(writeJournal(calls, trees.place(), journal), std::system_error);
    EXPECT_FALSE(readJournal(trees.place()));
}

} // namespace
