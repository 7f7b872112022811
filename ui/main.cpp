// The program with windows.

#include "desktop/quit_signals.h"
#include "desktop/single_instance.h"
#include "model/background.h"
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

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace {

using namespace ovrel;

void describeProgram() {
    QCoreApplication::setApplicationName(QStringLiteral("Ovrel"));
    QCoreApplication::setApplicationVersion(QStringLiteral(OVREL_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral(OVREL_APPLICATION_ID));
}

/// The words of the command line, which stay where they are; those of Qt go once it has read them.
struct CommandLine {
    int& count;
    char** words;

    const char* const* begin() const { return words; }
    const char* const* end() const { return words + count; }
};

/// Whether nothing but text is wanted, for which no display has to be there.
bool asksForText(const CommandLine& line) {
    constexpr std::array<std::string_view, 4> asking{"-h", "--help", "-v", "--version"};
    return std::find_first_of(line.begin(), line.end(), asking.begin(), asking.end()) != line.end();
}

/// A name may have bytes that are no text, so it is taken from the word itself.
std::filesystem::path pathOf(const QString& argument, const CommandLine& line) {
    const auto* const word = std::find_if(
        line.begin(), line.end(), [&](const char* candidate) { return QString::fromLocal8Bit(candidate) == argument; });
    const std::filesystem::path path = word != line.end() ? *word : QFile::encodeName(argument).constData();
    std::error_code unknown; // where the current folder is gone
    const std::filesystem::path whole = std::filesystem::absolute(path, unknown);
    return unknown ? path : whole;
}

/// The files and folders that the command line names. Most options but those of Qt end the program with their help.
/// \param onlyText called before the program ends so
std::vector<std::filesystem::path> filesOf(const CommandLine& line, const std::function<void()>& onlyText) {
    const QStringList arguments = QCoreApplication::arguments();
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
        onlyText();
    }
    parser.process(arguments);
    std::vector<std::filesystem::path> files;
    for (const QString& argument : parser.positionalArguments()) {
        if (!argument.isEmpty()) {
            files.push_back(pathOf(argument, line));
        }
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
    describeProgram();
    const CommandLine line{argc, argv};
    if (asksForText(line)) { // which is no start that could fail
        const QCoreApplication application(argc, argv);
        filesOf(line, [] {}); // says what was asked for and ends the program
    }
    PortableStart start(std::string(applicationIdentifier.data(), applicationIdentifier.size()), argv);
    const QString token = startToken();
    const QApplication application(argc, argv);
    std::vector<std::filesystem::path> files = filesOf(line, [&start] { start.disregard(); });
    SingleInstance instance(QStringLiteral(OVREL_APPLICATION_ID));
    std::optional<std::vector<std::filesystem::path>> left = instance.becomeFirstOrHandOver(std::move(files), token);
    if (!left) {
        start.disregard();
        return 0;
    }
    files = std::move(*left);

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
    QObject::connect(&app.mainWindow(), &MainWindow::closing, &instance, &SingleInstance::resign);
    const QuitSignals signals;
    QObject::connect(&signals, &QuitSignals::requested, &app, &OvrelApp::quit);
    const FirstSeconds firstSeconds(app.mainWindow(), beginning);
    QObject::connect(&firstSeconds, &FirstSeconds::over, &app,
                     [&start] { backgroundThreads().start([&start] { confirm(start); }); });
    QObject::connect(&app.mainWindow(), &MainWindow::leaving, &app, [&] {
        if (!firstSeconds.isOver()) { // to confirm may take longer than this user waits
            start.disregard();
        }
    });
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
