// The program with windows.

#include "desktop/quit_signals.h"
#include "desktop/single_instance.h"
#include "remote/publisher.h"
#include "ui/first_seconds.h"
#include "ui/icons.h"
#include "ui/main_window.h"
#include "ui/ovrel_app.h"
#include "ui/ovrel_style.h"
#include "updates/engine/portable_start.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFile>
#include <QNetworkProxyFactory>
#include <QThreadPool>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using namespace ovrel;

void describeProgram() {
    QCoreApplication::setApplicationName(QStringLiteral("Ovrel"));
    QCoreApplication::setApplicationVersion(QStringLiteral(OVREL_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral(OVREL_APPLICATION_ID));
}

/// The files and folders that the command line names. Most options but those of Qt end the program with their help.
std::vector<std::filesystem::path> filesOf(const QStringList& arguments, const PortableStart& start) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Converts JPG, PNG, WebP and GIF images to AVIF."));
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    QCommandLineOption relaunched(PortableStart::relaunchedOption(), {}, QStringLiteral("version"));
    relaunched.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOption(relaunched);
    parser.addPositionalArgument(QStringLiteral("files"), QStringLiteral("Images and folders to add to the list."),
                                 QStringLiteral("[files…]"));
    if (!parser.parse(arguments) || parser.isSet(help) || parser.isSet(QStringLiteral("help-all")) ||
        parser.isSet(version)) {
        start.disregard();
    }
    parser.process(arguments);
    std::vector<std::filesystem::path> files;
    for (const QString& argument : parser.positionalArguments()) {
        files.push_back(std::filesystem::absolute(QFile::encodeName(argument).toStdString()));
    }
    return files;
}

/// How long the window has to live until its version counts as one that starts. The installer watches a new version for
/// longer.
constexpr std::chrono::seconds beginning(3);

void confirm(const PortableStart& start) {
    start.confirmHealthy(EngineState(), QStringLiteral(OVREL_VERSION));
}

} // namespace

int main(int argc, char** argv) {
    PortableStart start(std::string(applicationIdentifier.data(), applicationIdentifier.size()), argv);
    const QString token = startToken();
    describeProgram();
    const QApplication application(argc, argv);
    const std::vector<std::filesystem::path> files = filesOf(QCoreApplication::arguments(), start);
    SingleInstance instance(QStringLiteral(OVREL_APPLICATION_ID));
    if (!instance.becomeFirst() && instance.handOver(files, token)) {
        start.disregard();
        return 0;
    }

    QGuiApplication::setWindowIcon(applicationIcon());
    QApplication::setStyle(new OvrelStyle);
    QNetworkProxyFactory::setUseSystemConfiguration(true);
    start.remember(EngineState());
    OvrelApp app(OvrelApp::programServices());
    QObject::connect(&instance, &SingleInstance::activated, &app, &OvrelApp::activate);
    QObject::connect(&instance, &SingleInstance::filesOpened, &app,
                     [&app](const std::vector<std::filesystem::path>& opened, const QString& openToken) {
                         app.add(opened);
                         app.activate(openToken);
                     });
    const QuitSignals signals;
    QObject::connect(&signals, &QuitSignals::requested, &app, &OvrelApp::quit);
    const FirstSeconds firstSeconds(app.mainWindow(), beginning);
    QObject::connect(&firstSeconds, &FirstSeconds::over, &app,
                     [&start] { QThreadPool::globalInstance()->start([&start] { confirm(start); }); });
    app.start();
    app.add(files);
    const int status = QApplication::exec();
    if (!firstSeconds.begun()) {
        start.disregard();
    } else if (!firstSeconds.isOver()) { // the user was quicker
        confirm(start);
    }
    return status;
}
