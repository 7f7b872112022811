#include "tests/remote/support/fetch_test.h"

namespace ovrel::test {

TEST_F(FetchTest, ReturnsTheBody) {
    server_.answer("/app/settings", Answer::of(200, "key = value\n"));
    EXPECT_EQ(fetched("/app/settings"), Outcome(QByteArray("key = value\n")));
}

} // namespace ovrel::test
