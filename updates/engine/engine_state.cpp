#include "updates/engine/engine_state.h"

#include "platform/linux/file_descriptor.h"
#include "updates/engine/version_comparator.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QSaveFile>

#include <chrono>
#include <compare>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace ovrel {

namespace {

using Key = QLatin1StringView;

constexpr qint64 fileLimitBytes = 16'384;
constexpr int formatVersion = 1;

constexpr Key formatKey("format");
constexpr Key skippedKey("skipped_version");
constexpr Key highestKey("highest_versions"); // an object: the folder of an installation, its version
constexpr Key failedKey("failed_version");

QJsonObject read(const QString& path) {
    QFile file(path);
    // Opening a pipe would wait for its other end.
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray bytes = file.read(fileLimitBytes + 1);
    const QJsonObject object = QJsonDocument::fromJson(bytes.size() > fileLimitBytes ? QByteArray() : bytes).object();
    return object.value(formatKey).toInt() == formatVersion ? object : QJsonObject();
}

/// Folders for the base directories are the user's alone (XDG Base Directory Specification 0.8, "Referencing this
/// specification").
bool makeFolder(const QString& path) {
    constexpr QFileDevice::Permissions ownerOnly =
        QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner;
    const auto exists = [&] { return QFileInfo(path).isDir(); };
    // Another instance may be quicker.
    return exists() || (makeFolder(QFileInfo(path).path()) && (QDir().mkdir(path, ownerOnly) || exists()));
}

bool write(const QString& path, const QJsonObject& object) {
    const QByteArray bytes = QJsonDocument(object).toJson();
    QSaveFile file(path);
    return bytes.size() <= fileLimitBytes && file.open(QIODevice::WriteOnly) &&
           file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner) && file.write(bytes) == bytes.size() &&
           file.commit();
}

/// What keeps other instances of the program from changing the file.
/// \return none when another one does not let go of it within a second
FileDescriptor lockSoon(const QString& path) {
    constexpr int tries = 200;
    constexpr std::chrono::milliseconds pause(5);
    FileDescriptor file(::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
    for (int attempt = 0; file && attempt < tries; ++attempt) {
        if (::flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
            return file;
        }
        std::this_thread::sleep_for(pause);
    }
    return {};
}

/// Between reading and writing no other instance changes the file.
/// \param change returns whether it has changed the object
template <typename Change>
bool update(const QString& path, Change change) {
    // Not the file itself, which each change replaces.
    const FileDescriptor lock =
        makeFolder(QFileInfo(path).path()) ? lockSoon(path + QStringLiteral(".lock")) : FileDescriptor();
    if (!lock) {
        return false;
    }
    QJsonObject object = read(path);
    if (!change(object)) {
        return true;
    }
    object.insert(formatKey, formatVersion);
    return write(path, object);
}

bool set(const QString& path, Key key, const QString& value) {
    return update(path, [&](QJsonObject& object) {
        object.insert(key, value);
        return true;
    });
}

QString text(const QString& path, Key key) {
    return read(path).value(key).toString();
}

} // namespace

QString EngineState::defaultFile() {
    const QString named = qEnvironmentVariable("XDG_STATE_HOME");
    const QString folder = QDir::isAbsolutePath(named) ? named : QDir::homePath() + QStringLiteral("/.local/state");
    return folder + QStringLiteral("/ovrel/updates.json");
}

EngineState::EngineState(QString file) : file_(std::move(file)) {}

QString EngineState::skippedVersion() const {
    return text(file_, skippedKey);
}

QString EngineState::highestVersion(const QString& installation) const {
    return read(file_).value(highestKey).toObject().value(installation).toString();
}

QString EngineState::failedVersion() const {
    return text(file_, failedKey);
}

bool EngineState::skip(const QString& version) const {
    return set(file_, skippedKey, version);
}

bool EngineState::forgetSkipped() const {
    return skippedVersion().isEmpty() || set(file_, skippedKey, QString());
}

bool EngineState::recordInstalled(const QString& installation, const QString& version) const {
    return update(file_, [&](QJsonObject& object) {
        QJsonObject highest = object.value(highestKey).toObject();
        if (!std::is_gt(compareVersions(version, highest.value(installation).toString()))) {
            return false;
        }
        for (const QString& folder : highest.keys()) {
            if (!QFileInfo(folder).isDir()) {
                highest.remove(folder);
            }
        }
        highest.insert(installation, version);
        object.insert(highestKey, highest);
        return true;
    });
}

bool EngineState::recordFailed(const QString& version) const {
    return set(file_, failedKey, version);
}

} // namespace ovrel
