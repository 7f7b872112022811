// What the model uses outside of tests.

#include "model/model.h"
#include "updates/update_manager.h"

#include <utility>

namespace ovrel {

Model::Services Model::programServices(std::shared_ptr<FileChooser> chooser) {
    Services services;
    services.chooser = std::move(chooser);
    services.preferences = Preferences::ofUser();
    services.updateManager = &UpdateManager::shared();
    services.keepAwake = desktopSleepInhibitor();
    return services;
}

} // namespace ovrel
