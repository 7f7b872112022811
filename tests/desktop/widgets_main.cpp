// Tests of what needs windows, without a display.

#include <QApplication>

#include <gmock/gmock.h>

int main(int count, char** arguments) {
    testing::InitGoogleMock(&count, arguments);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(count, arguments);
    return RUN_ALL_TESTS();
}
