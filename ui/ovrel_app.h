/// \file ovrel_app.h
/// The program: its windows, its menu, and what they share.
#pragma once

#include "desktop/appearance.h"
#include "desktop/preferences.h"
#include "ui/content_view.h"
#include "ui/focus_ring.h"
#include "ui/menu_commands.h"

#include <QDBusConnection>
#include <QMenu>
#include <QObject>

#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

namespace ovrel {

class AboutWindow;
class HelpWindow;
class MainWindow;
class UpdateCommands;

/// Makes each window when it is first asked for, and the main window at once. Main thread; one for the application,
/// which it outlives nothing of. Needs OvrelStyle to be the application's style.
class OvrelApp final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(OvrelApp)

public:
    /// What the program asks of its surroundings.
    struct Services {
        /// For the main window, which outlives what it is given. The preferences are those of the whole program.
        std::function<ContentView::Services(QWidget& window)> content;
        std::unique_ptr<Appearance> appearance; ///< not null
        QDBusConnection bus;                    ///< on which the desktop is told of runs
    };

    explicit OvrelApp(Services services);
    ~OvrelApp() override;

    /// Those outside of tests.
    static Services programServices();

    MainWindow& mainWindow() { return *mainWindow_; }
    QMenu& menu() { return menu_; }

    /// Shows the main window.
    void start();
    /// Adds what another program or the command line names, as soon as the list can be changed.
    void add(const std::vector<std::filesystem::path>& files);
    /// Brings the main window forward.
    /// \param token of whoever asked for it, where the desktop wants one; often empty
    void activate(const QString& token = {});

    /// Show the window, or bring it forward when it is already open.
    void openAbout();
    void openHelp();
    /// Closes the main window as the user would, and so ends the program.
    void quit();

private:
    void takeAppearance();
    void addWaiting();

    std::unique_ptr<Appearance> appearance_;
    FocusRing focusRing_;
    std::unique_ptr<MainWindow> mainWindow_;
    std::shared_ptr<Preferences> preferences_;
    std::unique_ptr<AboutWindow> about_; ///< null until it is asked for
    std::unique_ptr<HelpWindow> help_;   ///< null until it is asked for
    QMenu menu_;
    std::vector<std::filesystem::path> waiting_; ///< to be added when neither a scan nor a run goes on
};

} // namespace ovrel
