/// \file manifest.h
/// What an archive says of itself under its signature, which a feed cannot say for it.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

#include <compare>
#include <functional>
#include <optional>

namespace ovrel {

/// The file manifestName in the top folder of an archive: a JSON object (RFC 8259) with these four texts.
struct Manifest {
    static constexpr qint64 limitBytes = 65536;
    static constexpr qsizetype limitCharacters = 128; ///< of each text; none is empty or has control characters

    QString application;  ///< "application"
    QString version;      ///< "version", as in the feed
    QString system;       ///< "system": "linux"
    QString architecture; ///< "architecture", as in machine.h
};

/// Other keys are ignored.
/// \throws UpdateError installation over validation
Manifest parseManifest(const QByteArray& json);

/// Reads the manifest of an unpacked archive, which must be a file itself.
/// \param topFolder an open descriptor
/// \throws UpdateError installation over validation
Manifest readManifest(int topFolder);

/// What the archive must be to be installed.
struct ManifestExpectation {
    QString application;
    QString feedVersion;                   ///< for which the feed offered the archive
    QString installedVersion;              ///< that runs
    std::optional<QString> highestVersion; ///< the highest that was ever installed here, if it is known
    QString system;
    QString architecture;
};

using VersionOrder = std::function<std::weak_ordering(QStringView, QStringView)>;

/// \throws UpdateError installation over downgrade when the archive is no newer than what is or was installed, over
///     validation when anything else is not as expected; texts are compared to the letter
void checkManifest(const Manifest& manifest, const ManifestExpectation& expectation, const VersionOrder& compare);

} // namespace ovrel
