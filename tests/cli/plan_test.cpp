#include "cli/plan.h"

#include "conversion/conversion_error.h"
#include "platform/file_error.h"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string>

namespace ovrel::cli {
namespace {

namespace fs = std::filesystem;

/// A scan that finds each path itself, and fails when one of `bad` is among them.
ScanFunction scanWithout(const std::set<fs::path>& bad) {
    return [bad](std::span<const fs::path> paths) {
        std::vector<InputItem> items;
        for (const fs::path& path : paths) {
            if (bad.contains(path)) {
                throw FileError(FileError::readNoSuchFile, path);
            }
            items.push_back({.url = path, .relativeDirectory = {}});
        }
        return items;
    };
}

struct PlanRow {
    std::string source;
    Step::Action action;
    std::string result;
    std::size_t follower;
    bool operator==(const PlanRow&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const PlanRow& row) {
    return stream << row.source << " -> " << row.result << " action " << static_cast<int>(row.action) << " follower "
                  << row.follower;
}

std::vector<PlanRow> planned(const std::vector<InputItem>& items, const std::set<fs::path>& existing = {},
                             bool skipExisting = false) {
    std::vector<PlanRow> rows;
    const auto exists = [&existing](const fs::path& path) { return existing.contains(path); };
    for (const Step& step : makePlan({.unreadable = {}, .items = items}, "out", skipExisting, exists)) {
        rows.push_back({step.item.url.native(), step.action, step.result.native(), step.follower});
    }
    return rows;
}

constexpr std::size_t none = Step::none;
using enum Step::Action;

TEST(Find, SearchesAllPathsAtOnce) {
    std::size_t scans = 0;
    const std::vector<fs::path> paths{"a.jpg", "b.jpg"};
    const Findings findings = find(paths, [&scans](std::span<const fs::path> given) {
        ++scans;
        return scanWithout({})(given);
    });
    EXPECT_EQ(scans, 1U);
    EXPECT_TRUE(findings.unreadable.empty());
    ASSERT_EQ(findings.items.size(), 2U);
    EXPECT_EQ(findings.items[1].url, "b.jpg");
}

TEST(Find, LeavesOutPathsThatCannotBeSearched) {
    const std::vector<fs::path> paths{"gone", "a.jpg", "closed", "b.jpg"};
    const Findings findings = find(paths, scanWithout({"gone", "closed"}));
    ASSERT_EQ(findings.unreadable.size(), 2U);
    EXPECT_EQ(findings.unreadable[0].path, "gone");
    EXPECT_THROW(std::rethrow_exception(findings.unreadable[0].error), FileError);
    EXPECT_EQ(findings.unreadable[1].path, "closed");
    ASSERT_EQ(findings.items.size(), 2U);
    EXPECT_EQ(findings.items[0].url, "a.jpg");
    EXPECT_EQ(findings.items[1].url, "b.jpg");
}

TEST(Find, KeepsWhatItFoundInAPathThatFailsLater) {
    std::multiset<fs::path> searched;
    const std::vector<fs::path> paths{"hot", "gone", "b.jpg"};
    const Findings findings = find(paths, [&searched](std::span<const fs::path> given) {
        searched.insert(given.begin(), given.end());
        return scanWithout(searched.count("hot") > 2 ? std::set<fs::path>{"hot", "gone"}
                                                     : std::set<fs::path>{"gone"})(given);
    });
    EXPECT_EQ(searched.count("hot"), 2U);
    ASSERT_EQ(findings.unreadable.size(), 1U);
    EXPECT_EQ(findings.unreadable[0].path, "gone");
    ASSERT_EQ(findings.items.size(), 2U);
    EXPECT_EQ(findings.items[0].url, "b.jpg");
    EXPECT_EQ(findings.items[1].url, "hot");
}

TEST(Find, GivesWhatOneScanWouldHaveGiven) {
    const std::vector<fs::path> paths{"img10.jpg", "gone", "img2.jpg", "./img10.jpg"};
    const Findings findings = find(paths, scanWithout({"gone"}));
    ASSERT_EQ(findings.items.size(), 2U);
    EXPECT_EQ(findings.items[0].url, "img2.jpg");
    EXPECT_EQ(findings.items[1].url, "img10.jpg");
}

TEST(Find, NamesTheFolderInsideThatCannotBeRead) {
    const std::vector<fs::path> paths{"photos"};
    const Findings findings = find(paths, [](std::span<const fs::path> given) -> std::vector<InputItem> {
        if (!given.empty()) {
            throw FileError(FileError::readNoPermission, "photos/summer/secret");
        }
        return {};
    });
    ASSERT_EQ(findings.unreadable.size(), 1U);
    EXPECT_EQ(findings.unreadable[0].path, "photos/summer/secret");
}

TEST(Find, PassesOnWhatIsNoFailureOfAPath) {
    const std::vector<fs::path> paths{"a.jpg"};
    EXPECT_THROW(
        find(paths, [](std::span<const fs::path>) -> std::vector<InputItem> { throw std::logic_error("fault"); }),
        std::logic_error);
}

TEST(Plan, MirrorsFoldersAndCopiesAvif) {
    EXPECT_EQ(planned({{.url = "in/a.b.png", .relativeDirectory = ""},
                       {.url = "in/sub/inner/c.GIF", .relativeDirectory = "sub/inner"},
                       {.url = "in/d.AVIF", .relativeDirectory = ""}}),
              (std::vector<PlanRow>{{"in/a.b.png", convert, "out/a.b.avif", none},
                                    {"in/sub/inner/c.GIF", convert, "out/sub/inner/c.avif", none},
                                    {"in/d.AVIF", copy, "out/d.avif", none}}));
}

TEST(Plan, TakesTheNextFreeNameAndKeepsCompetitorsInOrder) {
    EXPECT_EQ(planned({{.url = "a.gif", .relativeDirectory = ""},
                       {.url = "a.jpg", .relativeDirectory = ""},
                       {.url = "b.jpg", .relativeDirectory = ""},
                       {.url = "sub/a.png", .relativeDirectory = "sub"},
                       {.url = "a.png", .relativeDirectory = ""}},
                      {"out/a-2.avif"}),
              (std::vector<PlanRow>{{"a.gif", convert, "out/a.avif", 1},
                                    {"a.jpg", convert, "out/a-3.avif", 4},
                                    {"b.jpg", convert, "out/b.avif", none},
                                    {"sub/a.png", convert, "out/sub/a.avif", none},
                                    {"a.png", convert, "out/a-4.avif", none}}));
}

TEST(Plan, KeepsThoseInOrderWhoseLaterNamesCompete) {
    EXPECT_EQ(planned({{.url = "a-2.jpg", .relativeDirectory = ""},
                       {.url = "a.jpg", .relativeDirectory = ""},
                       {.url = "b.jpg", .relativeDirectory = ""},
                       {.url = "a.png", .relativeDirectory = ""}}),
              (std::vector<PlanRow>{{"a-2.jpg", convert, "out/a-2.avif", 1},
                                    {"a.jpg", convert, "out/a.avif", 3},
                                    {"b.jpg", convert, "out/b.avif", none},
                                    {"a.png", convert, "out/a-3.avif", none}}));
}

TEST(Plan, AsksForEachNameOnceHoweverManySourcesShareIt) {
    constexpr std::size_t count = 300;
    std::vector<InputItem> items;
    for (std::size_t i = 0; i < count; ++i) {
        items.push_back({.url = "album" + std::to_string(i) + "/cover.jpg", .relativeDirectory = ""});
    }
    std::size_t asked = 0;
    const std::vector<Step> plan = makePlan({.unreadable = {}, .items = items}, "out", false, [&](const fs::path&) {
        ++asked;
        return false;
    });
    EXPECT_EQ(asked, count);
    EXPECT_EQ(plan.back().result, "out/cover-300.avif");
    for (std::size_t i = 0; i + 1 < count; ++i) {
        EXPECT_EQ(plan[i].follower, i + 1);
    }
}

TEST(Plan, SkipsOnlyWhatExistedBeforeAndOnlyWhenAsked) {
    const std::vector<InputItem> items{{.url = "a.jpg", .relativeDirectory = ""},
                                       {.url = "b.jpg", .relativeDirectory = ""},
                                       {.url = "b.png", .relativeDirectory = ""}};
    EXPECT_EQ(planned(items, {"out/a.avif"}, true), (std::vector<PlanRow>{{"a.jpg", skip, "out/a.avif", none},
                                                                          {"b.jpg", convert, "out/b.avif", 2},
                                                                          {"b.png", convert, "out/b-2.avif", none}}));
    EXPECT_EQ(planned(items, {"out/a.avif"}, false), (std::vector<PlanRow>{{"a.jpg", convert, "out/a-2.avif", none},
                                                                           {"b.jpg", convert, "out/b.avif", 2},
                                                                           {"b.png", convert, "out/b-2.avif", none}}));
}

TEST(Plan, BeginsWithThePathsThatCannotBeSearched) {
    const std::exception_ptr error = std::make_exception_ptr(ConversionError("", ""));
    const std::vector<Step> steps =
        makePlan({.unreadable = {{"gone", error}}, .items = {{.url = "a.jpg", .relativeDirectory = ""}}}, "out", false,
                 [](const fs::path&) { return false; });
    ASSERT_EQ(steps.size(), 2U);
    EXPECT_EQ(steps[0].action, fail);
    EXPECT_EQ(steps[0].item.url, "gone");
    EXPECT_EQ(steps[0].error, error);
    EXPECT_FALSE(steps[0].isWork());
    EXPECT_EQ(steps[1].action, convert);
    EXPECT_TRUE(steps[1].isWork());
}

} // namespace
} // namespace ovrel::cli
