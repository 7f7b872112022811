#include "updates/engine/preparation.h"

#include "updates/engine/installation_error.h"
#include "updates/engine/manifest.h"
#include "updates/engine/program_check.h"
#include "updates/engine/updater_texts.h"
#include "updates/engine/version_comparator.h"
#include "updates/installation/recovery.h"
#include "updates/installation/running_programs.h"

#include <cerrno>
#include <span>
#include <system_error>
#include <utility>

namespace ovrel {

namespace {

constexpr QLatin1StringView systemName("linux");

UpdateLock lockFor(const InstallationPlace& place, const UpdaterEnvironment& environment) {
    std::optional<UpdateLock> lock;
    try {
        TreeCalls calls;
        lock = lockForNewUpdate(calls, place, environment.tree, [&environment](const std::string& version) {
            return environment.state.recordFailed(QString::fromStdString(version));
        });
    } catch (const std::system_error& error) {
        qWarning("Updates: %s", error.what());
        if (error.code() == std::errc::device_or_resource_busy || error.code().value() == ESTALE) {
            throw unfinishedUpdateError();
        }
        throw stagingError();
    }
    if (!lock) {
        throw otherUpdateError();
    }
    return std::move(*lock);
}

InstallationPlace placeOf(const std::filesystem::path& directory) {
    try {
        return InstallationPlace(directory);
    } catch (const std::system_error& error) {
        qWarning("Updates: %s", error.what());
        throw stagingError();
    }
}

} // namespace

PendingInstallation::~PendingInstallation() {
    if (staging_) {
        staging_->keep();
    }
}

bool PendingInstallation::othersRun() const {
    try {
        return ovrel::othersRun(place_);
    } catch (const std::system_error& error) {
        qWarning("Updates: %s", error.what()); // the installer looks again
        return false;
    }
}

void PendingInstallation::cancel() {
    if (staging_ && installer_.cancel()) {
        staging_->keep();
    }
    staging_.reset();
}

Preparation::Preparation(const UpdaterEnvironment& environment, AppcastItem item)
    : environment_(environment)
    , item_(std::move(item))
    , place_(placeOf(environment_.directory))
    , lock_(lockFor(place_, environment_))
    , received_(std::in_place) {}

void Preparation::receive(QByteArrayView part) {
    received_->append(std::as_bytes(std::span(part.data(), static_cast<std::size_t>(part.size()))));
}

void Preparation::verify() {
    SealedArchive archive = std::move(*received_).seal();
    received_.reset();
    const std::optional<QString> signature =
        item_.edSignature.isEmpty() ? std::nullopt : std::optional(item_.edSignature);
    archive_ = verifySignature(std::move(archive), signature, environment_.publicKey());
}

void Preparation::unpack(const std::function<void(double)>& progress, const std::stop_token& stop) {
    staging_ = Staging::create(place_);
    tree_ = ovrel::unpack(*archive_, staging_->tree(), progress, stop);
    archive_.reset();
}

void Preparation::check() const {
    ManifestExpectation expectation;
    expectation.application = environment_.application;
    expectation.feedVersion = item_.item.versionString;
    expectation.installedVersion = environment_.version;
    if (const QString highest = environment_.highestVersion(); !highest.isEmpty()) {
        expectation.highestVersion = highest;
    }
    expectation.system = systemName;
    expectation.architecture = environment_.machine.architecture;
    checkManifest(readManifest(tree_->directory.get()), expectation, compareVersions);
    checkPrograms(tree_->directory.get(), environment_.machine.architecture);
    checkInstallation(tree_->directory.get(), environment_.application);
}

PendingInstallation Preparation::launch() && {
    InstallerLaunch launch;
    launch.staging = staging_->name();
    launch.top = tree_->name;
    launch.version = item_.item.versionString.toStdString();
    launch.environment = environment_.startEnvironment;
    try {
        WaitingInstaller installer = launchInstaller(place_, lock_, launch);
        return {std::move(place_), std::move(installer), *std::exchange(staging_, std::nullopt)};
    } catch (const std::system_error& error) {
        qWarning("Updates: %s", error.what());
        throw installationError(installerGoneError());
    }
}

} // namespace ovrel
