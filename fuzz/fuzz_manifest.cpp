#include "updates/engine/manifest.h"
#include "updates/framework/update_error.h"

#include <cstdint>
#include <cstdlib>

namespace {

using namespace ovrel;

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

std::weak_ordering compareTexts(QStringView one, QStringView other) {
    const int order = one.compare(other);
    return order < 0   ? std::weak_ordering::less
           : order > 0 ? std::weak_ordering::greater
                       : std::weak_ordering::equivalent;
}

bool isText(const QString& text) {
    return !text.isEmpty() && text.size() <= Manifest::limitCharacters;
}

/// Whether an archive with this manifest would be installed over `installed`.
bool isTaken(const Manifest& manifest, const QString& installed) {
    ManifestExpectation expectation;
    expectation.application = QStringLiteral("ovrel");
    expectation.feedVersion = manifest.version;
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
    try {
        const Manifest manifest =
            parseManifest(QByteArray(reinterpret_cast<const char*>(bytes), static_cast<qsizetype>(count)));
        require(isText(manifest.application) && isText(manifest.version));
        require(isText(manifest.system) && isText(manifest.architecture));
        const bool ours = manifest.application == QLatin1StringView("ovrel") &&
                          manifest.system == QLatin1StringView("linux") &&
                          manifest.architecture == QLatin1StringView("x86_64");
        require(!isTaken(manifest, manifest.version));
        require(isTaken(manifest, QString()) == ours);
    } catch (const UpdateError& error) {
        require(error.is(SUError::installation) && error.underlying()->is(SUError::validation));
    }
    return 0;
}
