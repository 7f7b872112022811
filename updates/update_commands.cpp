#include "updates/update_commands.h"

namespace ovrel {

UpdateCommands::UpdateCommands(UpdateManager& manager, const Preferences& preferences, QObject* parent)
    : QObject(parent), manager_(manager) {
    connect(&checkForUpdates_, &QAction::triggered, this, [this] { manager_.check(true); });
    connect(&manager_, &UpdateManager::checkingChanged, this, &UpdateCommands::takeState);
    connect(&manager_, &UpdateManager::installingChanged, this, &UpdateCommands::takeState);
    takeState();
    followLanguage(preferences, this, [this](AppLanguage language) {
        checkForUpdates_.setText(
            language.choose(QStringLiteral("Проверить обновления…"), QStringLiteral("Check for Updates…")));
    });
}

void UpdateCommands::takeState() {
    checkForUpdates_.setEnabled(!manager_.checking() && !manager_.installing());
}

} // namespace ovrel
