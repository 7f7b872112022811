// Tests of what needs an event loop.

#include <QCoreApplication>

#include <gmock/gmock.h>

int main(int count, char** arguments) {
    testing::InitGoogleMock(&count, arguments);
    const QCoreApplication application(count, arguments);
    return RUN_ALL_TESTS();
}
