// A program that updates itself as Ovrel does, and presses the buttons of its panel itself. It writes what it meets to
// the file that OVREL_PLAYED_LOG names, and trusts the authority in OVREL_PLAYED_AUTHORITY.

#include "remote/publisher.h"
#include "remote/remote_settings.h"
#include "updates/engine/portable_start.h"
#include "updates/engine/updater.h"
#include "updates/update_manager.h"

#include <QCoreApplication>
#include <QFile>
#include <QNetworkProxyFactory>
#include <QSslConfiguration>

#include <cstdlib>
#include <string_view>

namespace {

using namespace ovrel;

void log(const QString& line) {
    QFile file(qEnvironmentVariable("OVREL_PLAYED_LOG"));
    if (!file.open(QIODevice::Append)) {
        std::abort();
    }
    file.write((QStringLiteral(OVREL_PLAYED_VERSION " ") + line + u'\n').toUtf8());
}

class PlayedPanel final : public UpdatePanel {
public:
    void setTitle(const QString&) override {}
    void makeKeyAndOrderFront() override {}
    void orderOut() override {}
};

/// What a user would press next.
void pressNext(UpdateManager& manager) {
    for (const UpdateManager::Action& action : manager.actions()) {
        if (action.title == QLatin1StringView("Install Update")) {
            log("offered: " + manager.detail().section(u'\n', 0, 0));
            action.perform();
            return;
        }
        if (action.title == QLatin1StringView("OK")) {
            log("ended: " + manager.heading() + ": " + manager.detail().section(u'\n', -1));
            action.perform();
            QCoreApplication::quit();
            return;
        }
    }
}

std::unique_ptr<SPUUpdater> makePlayedUpdater(SPUUserDriver& driver, SPUUpdaterDelegate& delegate) {
    UpdaterEnvironment environment = environmentOf(*PortableStart::ofThisProgram());
    environment.version = QStringLiteral(OVREL_PLAYED_VERSION);
    environment.publicKey = [] {
        return PublicKey::fromBase64(qEnvironmentVariable("OVREL_PLAYED_KEY"), PublicKey::Audience::developers);
    };
    return std::make_unique<Updater>(std::move(environment), driver, delegate);
}

void trustAuthority() {
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates(QSslCertificate::fromPath(qEnvironmentVariable("OVREL_PLAYED_AUTHORITY")));
    QSslConfiguration::setDefaultConfiguration(configuration);
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::string_view(argv[1]) == "--version") {
        return 0;
    }
    PortableStart start(std::string(applicationIdentifier.data(), applicationIdentifier.size()), argv);
    const QCoreApplication application(argc, argv);
    log("started: " + application.arguments().sliced(1).join(u' '));
#ifdef OVREL_PLAYED_CRASHES
    std::abort();
#endif
    EngineState state;
    start.remember(state);
    if (!state.failedVersion().isEmpty()) {
        log("knows that this failed: " + state.failedVersion());
        return 0;
    }
    if (application.arguments().size() > 1) {
        start.confirmHealthy(state, QStringLiteral(OVREL_PLAYED_VERSION));
        log(QStringLiteral("confirmed"));
        return 0;
    }

    trustAuthority();
    QNetworkProxyFactory::setUseSystemConfiguration(true);
    UpdateManager manager({[] { return RemoteSettings::load(); }, makePlayedUpdater,
                           [] { return AppLanguage(AppLanguage::english); },
                           [](UpdateManager&) { return std::make_unique<PlayedPanel>(); }});
    QObject::connect(
        &manager, &UpdateManager::actionsChanged, &manager, [&manager] { pressNext(manager); }, Qt::QueuedConnection);
    manager.check(true);
    return QCoreApplication::exec();
}
