// The manager of the program, with the services that it has outside of tests.

#include "desktop/preferences.h"
#include "remote/remote_settings.h"
#include "updates/update_manager.h"

#include <QCoreApplication>

#include <memory>

namespace ovrel {

UpdateManager& UpdateManager::shared() {
    static std::unique_ptr<UpdateManager> instance;
    if (!instance) {
        // Made before the manager, the settings end after it: it would show the end of a load as a failure.
        RemoteSettings::shared();
        const std::shared_ptr<const Preferences> preferences = Preferences::ofUser();
        instance = std::make_unique<UpdateManager>(Services{[] { return RemoteSettings::load(); },
                                                            ovrel::makeUpdater,
                                                            [preferences] { return savedLanguage(*preferences); },
                                                            {}});
        // An updater and a window cannot be ended properly without the application.
        qAddPostRoutine([] { instance.reset(); });
    }
    return *instance;
}

} // namespace ovrel
