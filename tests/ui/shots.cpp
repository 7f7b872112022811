// Takes pictures of every window in every state, to be looked at. Nothing of this computer is in them.

#include "tests/ui/scenes.h"
#include "ui/ovrel_style.h"
#include "ui/theme.h"

#include <QApplication>
#include <QDir>
#include <QFontDatabase>

#include <cstdio>

int main(int argc, char** argv) {
    using namespace ovrel;
    using namespace ovrel::test;
    const QApplication application(argc, argv);
    QCoreApplication::setApplicationVersion(QStringLiteral(OVREL_VERSION));
    QApplication::setStyle(new OvrelStyle);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 2 || arguments.size() > 3) {
        std::fputs("usage: ovrel-shots FOLDER [PART OF A NAME]\n", stderr);
        return 2;
    }
    const QDir folder(arguments.at(1));
    if (!folder.mkpath(QStringLiteral("."))) {
        std::fprintf(stderr, "%s cannot be made.\n", qPrintable(folder.path()));
        return 1;
    }

    int written = 0;
    for (const AppLanguage language : AppLanguage::allCases) {
        for (const ColorScheme scheme : {ColorScheme::light, ColorScheme::dark}) {
            // Nothing moves, so that each picture is the same every time.
            applyTheme({.scheme = scheme, .animations = false});
            for (const Scene& scene : scenes()) {
                const QString name =
                    QStringLiteral("%1-%2-%3%4%5.png")
                        .arg(scene.name, scheme == ColorScheme::dark ? "dark" : "light", language.rawValue(),
                             textScale() > 1 ? QStringLiteral("-large-text") : QString(),
                             qApp->devicePixelRatio() > 1 ? QStringLiteral("@2x") : QString());
                if (arguments.size() == 3 && !name.contains(arguments.at(2))) {
                    continue;
                }
                if (!scene.picture(language).save(folder.filePath(name))) {
                    std::fprintf(stderr, "%s cannot be written.\n", qPrintable(folder.filePath(name)));
                    return 1;
                }
                ++written;
            }
        }
    }
    std::printf("%d pictures in %s\n", written, qPrintable(folder.path()));
    return written > 0 ? 0 : 1;
}
