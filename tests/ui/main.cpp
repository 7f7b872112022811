// Tests of the main window. No display is needed.

#include "ui/ovrel_style.h"
#include "ui/theme.h"

#include <QApplication>

#include <gmock/gmock.h>

int main(int count, char** arguments) {
    testing::InitGoogleMock(&count, arguments);
    // The build may have described the screen already.
    if (!qgetenv("QT_QPA_PLATFORM").startsWith("offscreen")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    const QApplication application(count, arguments);
    QApplication::setStyle(new ovrel::OvrelStyle);
    ovrel::applyTheme({.scheme = ovrel::ColorScheme::light, .animations = false});
    return RUN_ALL_TESTS();
}
