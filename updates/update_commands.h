/// \file update_commands.h
/// What the menu offers about updates.
#pragma once

#include "desktop/preferences.h"
#include "updates/update_manager.h"

#include <QAction>
#include <QObject>

namespace ovrel {

/// "Check for Updates…" in the stored language, which cannot be chosen while there is a check or an installation. Its
/// place is directly after the About item. Main thread.
class UpdateCommands final : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(UpdateCommands)

public:
    /// \param manager,preferences outlive the commands
    UpdateCommands(UpdateManager& manager, const Preferences& preferences, QObject* parent = nullptr);
    ~UpdateCommands() override = default;

    /// Belongs to this object.
    QAction& checkForUpdates() { return checkForUpdates_; }

private:
    void takeState();

    UpdateManager& manager_;
    QAction checkForUpdates_;
};

} // namespace ovrel
