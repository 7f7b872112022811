#include "updates/engine/version_comparator.h"

#include <gtest/gtest.h>

#include <QString>

#include <span>

namespace ovrel::test {

namespace {

constexpr std::weak_ordering less = std::weak_ordering::less;
constexpr std::weak_ordering equivalent = std::weak_ordering::equivalent;
constexpr std::weak_ordering greater = std::weak_ordering::greater;

struct Row {
    const char* left;
    const char* right;
    std::weak_ordering order;
};

std::weak_ordering reversed(std::weak_ordering order) {
    return std::is_lt(order) ? greater : std::is_gt(order) ? less : equivalent;
}

/// Both ways round.
void expectOrder(std::span<const Row> rows) {
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << '"' << row.left << "\" and \"" << row.right << '"');
        const QString left = QString::fromUtf8(row.left);
        const QString right = QString::fromUtf8(row.right);
        EXPECT_TRUE(compareVersions(left, right) == row.order);
        EXPECT_TRUE(compareVersions(right, left) == reversed(row.order));
    }
}

} // namespace

TEST(VersionComparator, OrdersReleasesAndTestVersions) {
    const Row rows[] = {
        {"1.0", "1.1", less},
        {"1.0", "1.0", equivalent},
        {"2.0", "1.1", greater},
        {"0.1", "0.0.1", greater},
        {"0.1", "0.1.2", less},
        {"1.0", "1.0.0", equivalent},
        {"1.0.0", "1.0", equivalent},
        {"1.5.5-335d3e2", "1.5.6-b252311", less},
        {"1.5.5-335d3e2", "1.5.5-a655360", equivalent},
        {"1.5.6-b252311", "1.5.5-335d3e2", greater},
        {"1.5-335d3e2", "1.5.0-335d3e2", equivalent},
        {"1.5.0-335d3e2", "1.5-335d3e2", equivalent},
        {"1.5.5", "1.5.6a1", less},
        {"1.1.0b1", "1.1.0b2", less},
        {"1.1.1b2", "1.1.2b1", less},
        {"1.1.1b2", "1.1.2a1", less},
        {"1.0a1", "1.0b1", less},
        {"1.0b1", "1.0", less},
        {"0.9", "1.0a1", less},
        {"1.0b", "1.0b2", less},
        {"1.0b10", "1.0b11", less},
        {"1.0b9", "1.0b10", less},
        {"1.0rc", "1.0", less},
        {"1.0b", "1.0", less},
        {"1.0pre1", "1.0", less},
        {"1.0pre1", "1.0.0pre1", equivalent},
        {"1.0.0pre1", "1.0pre1", equivalent},
        {"1.0 (1234)", "1.0 (1235)", less},
        {"1.0b1 (1234)", "1.0 (1234)", less},
        {"1.0b5 (1234)", "1.0b5 (1235)", less},
        {"1.0b5 (1234)", "1.0.1b5 (1234)", less},
        {"1.0.1b5 (1234)", "1.0.1b6 (1234)", less},
        {"2.0.0.2429", "2.0.0.2430", less},
        {"1.1.1.1818", "2.0.0.2430", less},
        {"3.3 (5847)", "3.3.1b1 (5902)", less},
        {"3.3 (5847)", "3.3.0 (5847)", equivalent},
        {"3.3.0 (5847)", "3.3 (5847)", equivalent},
        {"1.1.1.1818", "1.1.1.1818.0", equivalent},
        {"1.1.1.1818.0", "1.1.1.1818", equivalent},
        {"3.3b1 (5902)", "3.3.0b1 (5902)", equivalent},
        {"3.3.0b1 (5902)", "3.3b1 (5902)", equivalent},
        {"201210251627", "201211051041", less},
        {"201210251627.0", "201210251627", equivalent},
        {"201210251627", "201210251627.0", equivalent},
    };
    expectOrder(rows);
}

TEST(VersionComparator, OrdersUnusualVersions) {
    const Row rows[] = {
        {"1.0", "1.0.0.0", equivalent},
        {"1", "1.0", equivalent},
        {"", "1", less},
        {"", "", equivalent},
        {"10", "9", greater},
        {"1.0.10", "1.0.9", greater},
        {"01.1", "1.1", equivalent},
        {"1..1", "1.1", less},
        {"1.", "1.0", equivalent},
        {".1", "0.0.1", less},
        {"-1", "1", less},
        {"1.0-2", "1.0-1", equivalent},
        {"1.0-beta", "1.0", equivalent},
        {"1.0 beta", "1.0", greater},
        {"1.0 (2)", "1.0", greater},
        {"1.0+build5", "1.0", less},
        {"1.0~rc1", "1.0", less},
        {"1.0_1", "1.0.1", less},
        {"1,0", "1.0", greater},
        {"v1.0", "1.0", less},
        {"v1.0", "v1.1", less},
        {"1.0B1", "1.0b1", less},
        {"1.0a", "1.0A", greater},
        {"2.0b", "2.0.0", less},
        {"1.0b1", "1.0.0.1", less},
        {"1.0rc.1", "1.0rc", greater},
        {"1.2.3", "1.2.3 ", less},
        {"99999999999999999999", "9223372036854775807", equivalent},
    };
    expectOrder(rows);
}

TEST(VersionComparator, TakesEveryText) {
    const Row rows[] = {
        {"-", "", greater},
        {"-", ".", greater},
        {"--2", "--1", equivalent},
        {"a-1", "a-2", equivalent},
        {"-a", "-b", less},
        {"-", ".", greater},
        {"a", "-", less},
        {"9223372036854775806", "9223372036854775807", less},
        {"000000000000000000000000000001", "1", equivalent},
        {"1\t0", "1 0", equivalent},
        {"1\u00A00", "1 0", equivalent},
        {"\u0661.\u0660", "1.0", equivalent},
        {"1.0\u044F", "1.0\u0430", greater},
        {"1.0\U0001F600", "1.0", less},
        {"1 . 0", "1 . 1", less},
    };
    expectOrder(rows);
}

} // namespace ovrel::test
