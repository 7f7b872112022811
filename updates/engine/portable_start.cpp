#include "updates/engine/portable_start.h"

#include "updates/engine/staging.h"
#include "updates/installation/clean_environment.h"
#include "updates/installation/file_identity.h"
#include "updates/installation/installation_snapshot.h"
#include "updates/installation/program_start.h"
#include "updates/installation/recovery.h"

#include <QFile>
#include <QString>
#include <QtGlobal>

#include <system_error>

#include <unistd.h>

namespace ovrel {

namespace {

PortableStart* ofProgram = nullptr;

void reportKept(const KeptFiles& kept) {
    if (!kept.empty()) {
        qInfo("Updates: %zu files that no installation had brought are in \"%s\" now.", kept.files.size(),
              kept.folder.c_str());
    }
}

} // namespace

PortableStart::PortableStart(const std::string& application, char** arguments) : environment_(currentEnvironment()) {
    ofProgram = this;
    const InstallationSnapshot snapshot = takeInstallationSnapshot(ownSources());
    installation_ = judgeInstallation(snapshot, application);
    if (!installation_.mayUpdateItself()) {
        return;
    }
    directory_ = snapshot.tree;
    try {
        place_.emplace(directory_);
        instance_.emplace(*place_);
        recover(snapshot.program.lexically_relative(directory_), arguments);
    } catch (const std::system_error& error) {
        // The program is whole, whatever an update has left half done: it runs.
        qWarning("Updates: %s", error.what());
    }
}

PortableStart::~PortableStart() {
    ofProgram = nullptr;
}

PortableStart* PortableStart::ofThisProgram() {
    return ofProgram;
}

QString PortableStart::relaunchedOption() {
    return QString::fromLatin1(ovrel::relaunchedOption);
}

void PortableStart::recover(const std::filesystem::path& program, char** arguments) {
    TreeCalls calls;
    // While the lock was waited for, an update may have moved the tree of this program aside.
    tree_ = identityOf(takeInstallationSnapshot(ownSources()).tree).value_or(FileIdentity());
    const StartReport report = recoverAtStart(calls, *place_, tree_, *instance_);
    for (const KeptFiles& kept : report.kept) {
        reportKept(kept);
    }
    if (report.failure) {
        qWarning("Updates: %s", report.failure->what());
    }
    failedVersion_ = report.failedVersion;
    counted_ = report.counted;
    if (report.restart) {
        const std::filesystem::path installed = directory_.parent_path() / place_->name() / program;
        instance_.reset();
        ::execv(installed.c_str(), arguments);
        throw std::system_error(errno, std::generic_category(), installed.native());
    }
    if (report.failure) { // what the update has unpacked may still be needed
        return;
    }
    // The installer of an update that waits or works holds the lock, and needs its folder.
    if (const std::optional<UpdateLock> lock = UpdateLock::tryAcquire(*place_)) {
        removeStaleStaging(*place_, *lock);
    }
}

void PortableStart::remember(const EngineState& state) {
    if (!failedVersion_ || !state.recordFailed(QString::fromStdString(*failedVersion_))) {
        return; // the journal keeps it for the next start
    }
    try {
        TreeCalls calls;
        forgetFailedVersion(calls, *place_, *failedVersion_);
        failedVersion_.reset();
    } catch (const std::system_error& error) {
        qWarning("Updates: %s", error.what());
    }
}

void PortableStart::disregard() const {
    if (!counted_) {
        return;
    }
    try {
        TreeCalls calls;
        discountStart(calls, *place_);
    } catch (const std::system_error& error) {
        qWarning("Updates: %s", error.what());
    }
}

void PortableStart::confirmHealthy(const EngineState& state, const QString& version) const {
    if (!place_) {
        return;
    }
    try {
        TreeCalls calls;
        reportKept(confirmHealthyStart(calls, *place_, tree_));
    } catch (const std::system_error& error) {
        qWarning("Updates: %s", error.what()); // the next start goes on
        return;
    }
    // Not before: a version that is taken back may be installed again.
    if (!state.recordInstalled(QFile::decodeName(directory_.c_str()), version)) {
        qWarning("Updates: the installed version could not be remembered.");
    }
}

} // namespace ovrel
