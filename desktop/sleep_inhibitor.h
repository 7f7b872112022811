/// \file sleep_inhibitor.h
/// Keeping the computer awake while it works.
#pragma once

#include <QString>

#include <functional>
#include <memory>

class QDBusConnection;

namespace ovrel {

/// Asks the desktop not to let the computer fall asleep, until what it returns has ended. Never waits and never fails:
/// where no service is found, the computer may sleep. Main thread.
/// \param reason for the user, in the language of the interface
using SleepInhibitor = std::function<std::shared_ptr<void>(const QString& reason)>;

/// Asks the services of the desktop one after the other, until one of them agrees: the portal, then power management,
/// then the screen saver, whose own measure also keeps the computer awake.
SleepInhibitor desktopSleepInhibitor();
/// The same with another bus than that of the user's session.
SleepInhibitor desktopSleepInhibitor(const QDBusConnection& bus);

} // namespace ovrel
