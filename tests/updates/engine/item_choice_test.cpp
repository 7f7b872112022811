#include "updates/engine/item_choice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace ovrel::test {

namespace {

AppcastItem release(const char* version, const char* title = "") {
    AppcastItem item;
    item.item.versionString = QString::fromUtf8(version);
    item.item.title = QString::fromUtf8(title);
    return item;
}

/// A release with one member set.
AppcastItem release(const char* version, QString AppcastItem::*member, const char* value) {
    AppcastItem item = release(version);
    item.*member = QString::fromUtf8(value);
    return item;
}

ItemConditions conditions() {
    ItemConditions result;
    result.hostVersion = QStringLiteral("2.3");
    result.machine = {QStringLiteral("x86_64"), QStringLiteral("2.36")};
    return result;
}

const std::string latest = "on the latest version";
const std::string newer = "on a newer version than the latest";
const std::string tooOld = "the system is too old";
const std::string tooNew = "the system is too new";

/// What was chosen: the item's version and title, or why there is none.
std::string describe(const ItemChoice& choice) {
    if (const AppcastItem* item = std::get_if<AppcastItem>(&choice)) {
        return item->item.versionString.toStdString() + item->item.title.value_or(QString()).toStdString();
    }
    switch (std::get<SPUNoUpdateFoundReason>(choice)) {
    case SPUNoUpdateFoundReason::onLatestVersion: return latest;
    case SPUNoUpdateFoundReason::onNewerThanLatestVersion: return newer;
    case SPUNoUpdateFoundReason::systemIsTooOld: return tooOld;
    case SPUNoUpdateFoundReason::systemIsTooNew: return tooNew;
    case SPUNoUpdateFoundReason::unknown: break;
    }
    return "unknown";
}

struct Row {
    const char* what;
    Appcast items;
    std::string choice;
};

void expectChoices(const ItemConditions& given, std::initializer_list<Row> rows) {
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(describe(chooseItem(row.items, given)), row.choice);
    }
}

} // namespace

TEST(ItemChoice, IsTheNewestItemThatIsNewerThanTheHost) {
    expectChoices(conditions(), {
                                    {"no item", {}, latest},
                                    {"the host's version", {release("2.3")}, latest},
                                    {"an equivalent version", {release("2.3.0")}, latest},
                                    {"an older version", {release("2.2")}, newer},
                                    {"a newer version", {release("2.4")}, "2.4"},
                                    {"an older and the host's", {release("2.2"), release("2.3")}, latest},
                                    {"newest first", {release("2.5"), release("2.4"), release("2.3")}, "2.5"},
                                    {"newest last", {release("2.4"), release("2.10")}, "2.10"},
                                    {"equals", {release("2.4", "a"), release("2.4", "b")}, "2.4a"},
                                    {"equivalents", {release("2.4.0", "a"), release("2.4", "b")}, "2.4.0a"},
                                    {"a test version of the host's", {release("2.3b1")}, newer},
                                    {"nothing but a suffix", {release("2.3-5")}, latest},
                                });
}

TEST(ItemChoice, IsForThisSystem) {
    const auto of = [](const char* version, const char* os) { return release(version, &AppcastItem::os, os); };
    expectChoices(conditions(),
                  {
                      {"no name", {of("2.4", "")}, "2.4"},
                      {"Linux", {of("2.4", "linux")}, "2.4"},
                      {"Linux of this architecture", {of("2.4", "linux-x86_64")}, "2.4"},
                      {"Linux of another architecture", {of("2.4", "linux-aarch64")}, latest},
                      {"Linux of no architecture", {of("2.4", "linux-")}, latest},
                      {"another system", {of("2.4", "macos")}, latest},
                      {"yet another system", {of("2.4", "windows-x64")}, latest},
                      {"a name that begins alike", {of("2.4", "linuxish")}, latest},
                      {"in capitals", {of("2.4", "Linux")}, latest},
                      {"another system is newer", {of("2.5", "macos"), of("2.4", "linux")}, "2.4"},
                      {"no name beside Linux", {of("2.5", ""), of("2.4", "linux")}, "2.5"},
                      {"no name beside another architecture", {of("2.5", ""), of("2.6", "linux-aarch64")}, "2.5"},
                      {"no name beside another system", {of("2.5", ""), of("2.4", "macos")}, latest},
                      {"no name beside Linux and another system",
                       {of("2.5", ""), of("2.4", "linux"), of("2.4", "windows")},
                       "2.4"},
                  });
}

TEST(ItemChoice, IsOfNoChannel) {
    const AppcastItem beta = release("2.5", &AppcastItem::channel, "beta");
    expectChoices(conditions(), {
                                    {"a channel", {beta}, latest},
                                    {"a channel that is newer", {beta, release("2.4")}, "2.4"},
                                });
}

TEST(ItemChoice, SuitsTheSystemsVersion) {
    const auto from = [](const char* version, const char* minimum) {
        return release(version, &AppcastItem::minimumSystemVersion, minimum);
    };
    const auto upTo = [](const char* version, const char* maximum) {
        return release(version, &AppcastItem::maximumSystemVersion, maximum);
    };
    expectChoices(conditions(),
                  {
                      {"from this one on", {from("2.4", "2.36")}, "2.4"},
                      {"from an equivalent one on", {from("2.4", "2.36.0")}, "2.4"},
                      {"from an older one on", {from("2.4", "2.4")}, "2.4"},
                      {"from a newer one on", {from("2.4", "2.37")}, tooOld},
                      {"up to this one", {upTo("2.4", "2.36")}, "2.4"},
                      {"up to a newer one", {upTo("2.4", "3")}, "2.4"},
                      {"up to an older one", {upTo("2.4", "2.35.9")}, tooNew},
                      {"an older release suits", {from("2.5", "2.37"), release("2.4")}, "2.4"},
                      {"an equal release suits", {from("2.4", "2.37"), release("2.4", "b")}, "2.4b"},
                      {"the newest says why", {upTo("2.5", "2.35"), from("2.4", "2.37")}, tooNew},
                      {"only a newer one does not suit", {from("2.4", "2.37"), release("2.3")}, tooOld},
                      {"what does not suit is no update", {from("2.3", "2.37")}, latest},
                      {"what does not suit is older", {from("2.2", "2.37")}, newer},
                      {"another system's does not count", {release("2.4", &AppcastItem::os, "macos")}, latest},
                  });
}

TEST(ItemChoice, MayReplaceTheHost) {
    for (QString AppcastItem::*member : {&AppcastItem::minimumUpdateVersion, &AppcastItem::minimumAutoupdateVersion}) {
        const auto over = [member](const char* minimum) { return release("3.0", member, minimum); };
        expectChoices(conditions(), {
                                        {"the host", {over("2.3")}, "3.0"},
                                        {"older ones", {over("2.0")}, "3.0"},
                                        {"newer ones", {over("2.4")}, latest},
                                        {"newer ones, and a step to them", {over("2.4"), release("2.4")}, "2.4"},
                                    });
    }
}

TEST(ItemChoice, IsNewerThanAllThatEverRanHere) {
    ItemConditions given = conditions();
    given.highestVersion = QStringLiteral("2.5");
    for (const bool asked : {false, true}) {
        given.userInitiated = asked;
        expectChoices(given, {{"what ran here before", {release("2.5")}, "unknown"},
                              {"an equivalent one", {release("2.5.0")}, "unknown"},
                              {"one between", {release("2.4")}, "unknown"},
                              {"a newer one", {release("2.4"), release("2.6")}, "2.6"},
                              {"the host itself", {release("2.3")}, latest},
                              {"an older one", {release("2.2")}, newer}});
    }
    given.highestVersion = QStringLiteral("2.2");
    expectChoices(given, {{"a host that came by other ways", {release("2.4")}, "2.4"}});
}

TEST(ItemChoice, IsHiddenFromNobodyWhoAsks) {
    struct VersionRow {
        const char* what;
        const char* skipped;
        const char* failed;
        Appcast items;
        std::string inBackground;
        std::string onRequest;
    };
    const VersionRow rows[] = {
        {"nothing skipped", "", "", {release("2.4")}, "2.4", "2.4"},
        {"this one skipped", "2.4", "", {release("2.4")}, latest, "2.4"},
        {"an equivalent one skipped", "2.4.0", "", {release("2.4")}, latest, "2.4"},
        {"a newer one skipped", "2.5", "", {release("2.4")}, latest, "2.4"},
        {"an older one skipped", "2.3.5", "", {release("2.4")}, "2.4", "2.4"},
        {"one of two skipped", "2.4", "", {release("2.4"), release("2.5")}, "2.5", "2.5"},
        {"this one failed", "", "2.4", {release("2.4")}, latest, "2.4"},
        {"a newer one failed", "", "2.5", {release("2.4")}, "2.4", "2.4"},
        {"an older one failed", "", "2.4", {release("2.5")}, "2.5", "2.5"},
        {"the newest failed", "", "2.5", {release("2.5"), release("2.4")}, "2.4", "2.5"},
        {"one skipped and one failed", "2.4", "2.5", {release("2.4"), release("2.5")}, latest, "2.5"},
    };
    for (const VersionRow& row : rows) {
        SCOPED_TRACE(row.what);
        ItemConditions given = conditions();
        given.skippedVersion = QString::fromUtf8(row.skipped);
        given.failedVersion = QString::fromUtf8(row.failed);
        EXPECT_EQ(describe(chooseItem(row.items, given)), row.inBackground);
        given.userInitiated = true;
        EXPECT_EQ(describe(chooseItem(row.items, given)), row.onRequest);
    }
}

TEST(ItemChoice, MayBeInformation) {
    AppcastItem news = release("2.5");
    news.item.isInformationOnlyUpdate = true;
    const ItemChoice choice = chooseItem({release("2.4"), news}, conditions());
    ASSERT_TRUE(std::holds_alternative<AppcastItem>(choice));
    EXPECT_TRUE(std::get<AppcastItem>(choice).item.isInformationOnlyUpdate);
}

TEST(ItemChoice, SaysWhyThereIsNone) {
    std::vector<std::pair<QString, QString>> texts;
    for (const SPUNoUpdateFoundReason reason :
         {SPUNoUpdateFoundReason::onLatestVersion, SPUNoUpdateFoundReason::onNewerThanLatestVersion,
          SPUNoUpdateFoundReason::systemIsTooOld, SPUNoUpdateFoundReason::systemIsTooNew}) {
        const UpdateError error = noUpdateError(reason);
        EXPECT_TRUE(error.is(SUError::noUpdate));
        EXPECT_EQ(error.noUpdateFoundReason(), reason);
        texts.emplace_back(error.localizedDescription(AppLanguage::russian),
                           error.localizedDescription(AppLanguage::english));
        EXPECT_FALSE(texts.back().first.isEmpty());
        EXPECT_NE(texts.back().first, texts.back().second);
    }
    std::sort(texts.begin(), texts.end());
    EXPECT_EQ(std::unique(texts.begin(), texts.end()), texts.end());
}

TEST(Machine, IsTheOneThatThisProgramIsBuiltFor) {
    const Machine machine = Machine::thisOne();
#if defined(__x86_64__)
    EXPECT_EQ(machine.architecture, QStringLiteral("x86_64"));
#elif defined(__aarch64__)
    EXPECT_EQ(machine.architecture, QStringLiteral("aarch64"));
#endif
    EXPECT_TRUE(machine.systemVersion.startsWith(QStringLiteral("2.")));
}

} // namespace ovrel::test
