/// \file menu_commands.h
/// Commands of the program's menu that open its windows.
#pragma once

#include "desktop/preferences.h"

#include <QAction>
#include <QObject>

#include <functional>

namespace ovrel {

/// A command whose name follows the stored language. Main thread.
class MenuCommand : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MenuCommand)

public:
    /// \param preferences outlives this
    /// \param nameIn the command's name in a language
    MenuCommand(const Preferences& preferences, std::function<QString(AppLanguage)> nameIn, QObject* parent);
    ~MenuCommand() override = default;

    QAction& action() { return action_; }

private:
    void takeName();

    const Preferences& preferences_;
    std::function<QString(AppLanguage)> nameIn_;
    QAction action_;
};

/// Opens the About window.
class AboutCommands final : public MenuCommand {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(AboutCommands)

public:
    AboutCommands(const Preferences& preferences, std::function<void()> open, QObject* parent);
    ~AboutCommands() override = default;
};

/// Opens the Help window.
class HelpCommands final : public MenuCommand {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(HelpCommands)

public:
    HelpCommands(const Preferences& preferences, std::function<void()> open, QObject* parent);
    ~HelpCommands() override = default;
};

/// Ends the program.
class QuitCommands final : public MenuCommand {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QuitCommands)

public:
    QuitCommands(const Preferences& preferences, std::function<void()> quit, QObject* parent);
    ~QuitCommands() override = default;
};

} // namespace ovrel
