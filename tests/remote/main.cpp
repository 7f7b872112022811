#include "tests/remote/support/fetch_test.h"

#include <gmock/gmock.h>

#include <QCoreApplication>

int main(int argc, char** argv) {
    qputenv("LANG", "de_DE.UTF-8"); // a language that nobody may learn of
    qputenv("LC_ALL", "de_DE.UTF-8");
    testing::InitGoogleMock(&argc, argv);
    const QCoreApplication application(argc, argv);
    ovrel::test::authority().trust();
    return RUN_ALL_TESTS();
}
