#include "ui/menu_commands.h"

#include "ui/shortcuts.h"

#include <QKeySequence>

#include <utility>

namespace ovrel {

MenuCommand::MenuCommand(const Preferences& preferences, std::function<QString(AppLanguage)> nameIn, QObject* parent)
    : QObject(parent), preferences_(preferences), nameIn_(std::move(nameIn)) {
    // The window that has the keyboard may be any of the program's.
    action_.setShortcutContext(Qt::ApplicationShortcut);
    connect(&preferences, &Preferences::changed, this, &MenuCommand::takeName);
    takeName();
}

void MenuCommand::takeName() {
    action_.setText(nameIn_(savedLanguage(preferences_)));
}

AboutCommands::AboutCommands(const Preferences& preferences, std::function<void()> open, QObject* parent)
    : MenuCommand(
          preferences,
          [](AppLanguage language) {
              return language.choose(QStringLiteral("О приложении Ovrel"), QStringLiteral("About Ovrel"));
          },
          parent) {
    action().setMenuRole(QAction::AboutRole);
    connect(&action(), &QAction::triggered, this, std::move(open));
}

HelpCommands::HelpCommands(const Preferences& preferences, std::function<void()> open, QObject* parent)
    : MenuCommand(
          preferences,
          [](AppLanguage language) {
              return language.choose(QStringLiteral("Справка приложения Ovrel"), QStringLiteral("Ovrel Help"));
          },
          parent) {
    action().setShortcuts({QKeySequence(shortcuts::help), QKeySequence(shortcuts::helpSign)});
    connect(&action(), &QAction::triggered, this, std::move(open));
}

QuitCommands::QuitCommands(const Preferences& preferences, std::function<void()> quit, QObject* parent)
    : MenuCommand(
          preferences,
          [](AppLanguage language) { return language.choose(QStringLiteral("Завершить"), QStringLiteral("Quit")); },
          parent) {
    action().setShortcut(shortcuts::quit);
    action().setMenuRole(QAction::QuitRole);
    connect(&action(), &QAction::triggered, this, std::move(quit));
}

} // namespace ovrel
