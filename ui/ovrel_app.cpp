#include "ui/ovrel_app.h"

#include "ui/about_window.h"
#include "ui/help_window.h"
#include "ui/main_window.h"
#include "ui/run_reporter.h"
#include "ui/theme.h"
#include "updates/update_commands.h"
#include "updates/update_manager.h"
#include "updates/update_panel_window.h"
#include "widgets/placement.h"

#include <QApplication>

#include <utility>

namespace ovrel {

namespace {

Theme themeOf(const Appearance& appearance) {
    return {.scheme = appearance.colorScheme(), .animations = !appearance.reducedMotion()};
}

void bringForward(QWidget& window) {
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.activateWindow();
}

} // namespace

OvrelApp::OvrelApp(Services services) : appearance_(std::move(services.appearance)), focusRing_(this) {
    takeAppearance();
    connect(appearance_.get(), &Appearance::colorSchemeChanged, this, &OvrelApp::takeAppearance);
    connect(appearance_.get(), &Appearance::reducedMotionChanged, this, &OvrelApp::takeAppearance);

    UpdateManager* updates = nullptr;
    mainWindow_ = std::make_unique<MainWindow>([&](QWidget& window) {
        ContentView::Services content = services.content(window);
        preferences_ = content.model.preferences;
        updates = content.model.updateManager;
        return content;
    });
    updates->setPanelFactory(updatePanelFactory());

    auto* about = new AboutCommands(
        *preferences_, [this] { openAbout(); }, this);
    auto* check = new UpdateCommands(*updates, *preferences_, this);
    auto* help = new HelpCommands(
        *preferences_, [this] { openHelp(); }, this);
    auto* quitting = new QuitCommands(
        *preferences_, [this] { quit(); }, this);
    const QList<QAction*> commands{&about->action(), &check->checkForUpdates(), &help->action(), &quitting->action()};
    menu_.addActions(commands);
    menu_.insertSeparator(&help->action());
    menu_.insertSeparator(&quitting->action());
    // The keys work without the menu, too.
    mainWindow_->addActions(commands);
    mainWindow_->content().setMenu(&menu_);
    connect(mainWindow_.get(), &MainWindow::closed, this, &QCoreApplication::quit);

    Model& model = mainWindow_->content().model();
    connect(&model, &Model::canEditQueueChanged, this, &OvrelApp::addWaiting, Qt::QueuedConnection);
    auto* reporter =
        new RunReporter(model, *mainWindow_, QStringLiteral(OVREL_APPLICATION_ID), services.bus, mainWindow_.get());
    connect(reporter, &RunReporter::activated, this, &OvrelApp::activate);
}

OvrelApp::~OvrelApp() = default;

void OvrelApp::start() {
    keepWithinScreen(*mainWindow_);
    mainWindow_->show();
}

void OvrelApp::add(const std::vector<std::filesystem::path>& files) {
    waiting_.insert(waiting_.end(), files.begin(), files.end());
    addWaiting();
}

void OvrelApp::activate(const QString& token) {
    // Qt takes the token from here when it asks the desktop for the window to come forward.
    if (!token.isEmpty()) {
        qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
    }
    bringForward(*mainWindow_);
}

void OvrelApp::openAbout() {
    if (about_ == nullptr) {
        about_ = std::make_unique<AboutWindow>(*preferences_);
    }
    about_->open();
}

void OvrelApp::openHelp() {
    if (help_ == nullptr) {
        help_ = std::make_unique<HelpWindow>(*preferences_);
    }
    help_->open();
}

void OvrelApp::quit() {
    mainWindow_->close();
}

void OvrelApp::addWaiting() {
    Model& model = mainWindow_->content().model();
    if (!waiting_.empty() && model.canEditQueue()) {
        model.add(std::exchange(waiting_, {}));
    }
}

void OvrelApp::takeAppearance() {
    applyTheme(themeOf(*appearance_));
}

} // namespace ovrel
