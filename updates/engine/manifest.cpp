#include "updates/engine/manifest.h"

#include "platform/linux/file_descriptor.h"
#include "updates/engine/installation_error.h"
#include "updates/installation/installed_layout.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>

#include <algorithm>

#include <fcntl.h>
#include <sys/stat.h>

namespace ovrel {

namespace {

UpdateError damaged() {
    return installationError(UpdateError(SUError::validation, QStringLiteral("В обновлении нет пригодного описания."),
                                         QStringLiteral("The update has no usable description.")));
}

bool isPlain(const QString& text) {
    return std::none_of(text.cbegin(), text.cend(),
                        [](QChar character) { return character.category() == QChar::Other_Control; });
}

QString textOf(const QJsonObject& object, QLatin1StringView key) {
    const QJsonValue value = object.value(key);
    QString text = value.toString();
    if (!value.isString() || text.isEmpty() || text.size() > Manifest::limitCharacters || !isPlain(text)) {
        throw damaged();
    }
    return text;
}

[[noreturn]] void refuse(SUError code, const QString& russian, const QString& english) {
    throw installationError(UpdateError(code, russian, english));
}

} // namespace

Manifest parseManifest(const QByteArray& json) {
    if (json.size() > Manifest::limitBytes) {
        throw damaged();
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        throw damaged();
    }
    const QJsonObject object = document.object();
    Manifest manifest;
    manifest.application = textOf(object, QLatin1StringView("application"));
    manifest.version = textOf(object, QLatin1StringView("version"));
    manifest.system = textOf(object, QLatin1StringView("system"));
    manifest.architecture = textOf(object, QLatin1StringView("architecture"));
    return manifest;
}

Manifest readManifest(int topFolder) {
    const FileDescriptor file(
        ::openat(topFolder, manifestName, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat facts {};
    if (!file || ::fstat(file.get(), &facts) != 0 || !S_ISREG(facts.st_mode) || facts.st_size > Manifest::limitBytes) {
        throw damaged();
    }
    QByteArray json(static_cast<qsizetype>(facts.st_size), Qt::Uninitialized);
    const ssize_t count =
        uninterrupted([&] { return ::pread(file.get(), json.data(), static_cast<std::size_t>(json.size()), 0); });
    if (count != json.size()) {
        throw damaged();
    }
    return parseManifest(json);
}

void checkManifest(const Manifest& manifest, const ManifestExpectation& expectation, const VersionOrder& compare) {
    if (manifest.application != expectation.application) {
        refuse(SUError::validation, QStringLiteral("Это обновление другой программы."),
               QStringLiteral("This is the update of another program."));
    }
    if (manifest.system != expectation.system || manifest.architecture != expectation.architecture) {
        refuse(SUError::validation, QStringLiteral("Это обновление для другой системы или другого процессора."),
               QStringLiteral("This update is for another system or another processor."));
    }
    const auto isNoNewerThan = [&](const QString& version) { return !std::is_gt(compare(manifest.version, version)); };
    if (isNoNewerThan(expectation.installedVersion) ||
        (expectation.highestVersion && isNoNewerThan(*expectation.highestVersion))) {
        refuse(SUError::downgrade, QStringLiteral("Это обновление не новее того, что уже было установлено."),
               QStringLiteral("This update is no newer than what has been installed already."));
    }
    if (manifest.version != expectation.feedVersion) {
        refuse(SUError::validation, QStringLiteral("В архиве обновления не та версия, что была предложена."),
               QStringLiteral("The update's archive holds another version than the one that was offered."));
    }
}

} // namespace ovrel
