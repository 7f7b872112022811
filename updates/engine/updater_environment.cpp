#include "updates/engine/updater_environment.h"

#include "desktop/preferences.h"
#include "remote/publisher.h"

#include <QCoreApplication>
#include <QFile>

#include <memory>

namespace ovrel {

QString UpdaterEnvironment::highestVersion() const {
    return state.highestVersion(QFile::decodeName(directory.c_str()));
}

UpdaterEnvironment environmentOf(const PortableStart& start) {
    UpdaterEnvironment environment;
    environment.application = applicationIdentifier;
    environment.version = programVersion;
    environment.publicKey = &PublicKey::builtIn;
    environment.machine = Machine::thisOne();
    environment.installation = start.installation();
    environment.directory = start.directory();
    environment.tree = start.tree();
    environment.startEnvironment = start.environment();
    environment.language = [preferences = std::shared_ptr<Preferences>(Preferences::ofUser())] {
        return savedLanguage(*preferences);
    };
    environment.quit = [] { QCoreApplication::quit(); };
    return environment;
}

} // namespace ovrel
