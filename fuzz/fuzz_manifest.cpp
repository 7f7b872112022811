#include "fuzz/require.h"
#include "platform/linux/file_descriptor.h"
#include "tests/support/temporary_folder.h"
#include "updates/engine/manifest.h"
#include "updates/framework/update_error.h"
#include "updates/installation/installed_layout.h"

#include <cstddef>
#include <cstdint>

#include <fcntl.h>

namespace {

using namespace ovrel;
using fuzz::require;

std::weak_ordering compareTexts(QStringView one, QStringView other) {
    const int order = one.compare(other);
    return order < 0   ? std::weak_ordering::less
           : order > 0 ? std::weak_ordering::greater
                       : std::weak_ordering::equivalent;
}

bool isText(const QString& text) {
    return !text.isEmpty() && text.size() <= Manifest::limitCharacters;
}

/// Reads the bytes as the manifest of an unpacked program, which takes a file and so a while.
Manifest fromFolder(const QByteArray& json) {
    static const test::TemporaryFolder folder;
    static const FileDescriptor opened(::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    folder.write(manifestName, {json.constData(), static_cast<std::size_t>(json.size())});
    return readManifest(opened.get());
}

/// Whether an archive with this manifest would be installed over `installed` when the feed offers `offered`.
bool isTaken(const Manifest& manifest, const QString& installed, const QString& offered) {
    ManifestExpectation expectation;
    expectation.application = QStringLiteral("ovrel");
    expectation.feedVersion = offered;
    expectation.installedVersion = installed;
    expectation.system = QStringLiteral("linux");
    expectation.architecture = QStringLiteral("x86_64");
    try {
        checkManifest(manifest, expectation, compareTexts);
        return true;
    } catch (const UpdateError& error) {
        require(error.is(SUError::installation) && error.underlying() != nullptr);
        return false;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    const QByteArray json(reinterpret_cast<const char*>(bytes), static_cast<qsizetype>(count));
    try {
        const Manifest manifest = parseManifest(json);
        require(isText(manifest.application) && isText(manifest.version));
        require(isText(manifest.system) && isText(manifest.architecture));
        const bool ours = manifest.application == QLatin1StringView("ovrel") &&
                          manifest.system == QLatin1StringView("linux") &&
                          manifest.architecture == QLatin1StringView("x86_64");
        require(!isTaken(manifest, manifest.version, manifest.version));
        require(!isTaken(manifest, QString(), manifest.version + u'1'));
        require(isTaken(manifest, QString(), manifest.version) == ours);
        require(fromFolder(json).version == manifest.version);
    } catch (const UpdateError& error) {
        require(error.is(SUError::installation) && error.underlying()->is(SUError::validation));
    }
    return 0;
}
