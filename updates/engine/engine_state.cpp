#include "updates/engine/engine_state.h"

#include "updates/engine/version_comparator.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QSaveFile>

#include <algorithm>
#include <compare>
#include <utility>

namespace ovrel {

namespace {

using Key = QLatin1StringView;

constexpr qint64 fileLimitBytes = 16'384;
constexpr int formatVersion = 1;

constexpr Key formatKey("format");
constexpr Key lastCheckKey("last_check");
constexpr Key skippedKey("skipped_version");
constexpr Key highestKey("highest_version");
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
    return bytes.size() <= fileLimitBytes && makeFolder(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) &&
           file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner) && file.write(bytes) == bytes.size() &&
           file.commit();
}

bool set(const QString& path, Key key, const QJsonValue& value) {
    QJsonObject object = read(path);
    object.insert(formatKey, formatVersion);
    object.insert(key, value);
    return write(path, object);
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

EngineState::EngineState(QString file, Clock clock) : file_(std::move(file)), clock_(std::move(clock)) {}

std::optional<QDateTime> EngineState::lastCheck() const {
    const QDateTime time = QDateTime::fromString(text(file_, lastCheckKey), Qt::ISODateWithMs);
    // A clock that was once wrong must not put off the next check for years.
    return time.isValid() ? std::optional(std::min(time.toUTC(), clock_().toUTC())) : std::nullopt;
}

QString EngineState::skippedVersion() const {
    return text(file_, skippedKey);
}

QString EngineState::highestVersion() const {
    return text(file_, highestKey);
}

QString EngineState::failedVersion() const {
    return text(file_, failedKey);
}

bool EngineState::recordCheck() const {
    return set(file_, lastCheckKey, clock_().toUTC().toString(Qt::ISODateWithMs));
}

bool EngineState::skip(const QString& version) const {
    return set(file_, skippedKey, version);
}

bool EngineState::forgetSkipped() const {
    return skippedVersion().isEmpty() || set(file_, skippedKey, QString());
}

bool EngineState::recordInstalled(const QString& version) const {
    return std::is_lteq(compareVersions(version, highestVersion())) || set(file_, highestKey, version);
}

bool EngineState::recordFailed(const QString& version) const {
    return set(file_, failedKey, version);
}

} // namespace ovrel
