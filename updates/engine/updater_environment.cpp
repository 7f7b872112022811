#include "updates/engine/updater_environment.h"

#include "remote/publisher.h"

#include <QCoreApplication>

namespace ovrel {

UpdaterEnvironment environmentOf(const PortableStart& start) {
    UpdaterEnvironment environment;
    environment.application = applicationIdentifier;
    environment.version = programVersion;
    environment.publicKey = &PublicKey::builtIn;
    environment.machine = Machine::thisOne();
    environment.installation = start.installation();
    environment.directory = start.directory();
    environment.startEnvironment = start.environment();
    environment.quit = [] { QCoreApplication::quit(); };
    return environment;
}

} // namespace ovrel
