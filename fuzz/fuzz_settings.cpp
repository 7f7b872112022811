#include "fuzz/require.h"
#include "remote/banner_error.h"
#include "remote/banner_redirect_policy.h"
#include "remote/banner_settings.h"

namespace {

using namespace ovrel;
using fuzz::require;

/// Lets `ask` fail by BannerError::invalid, the only failure that there may be.
template <typename Ask>
void mayBeRefused(const Ask& ask) {
    try {
        ask();
    } catch (const BannerError& error) {
        require(error == BannerError::invalid);
    }
}

void askForUpdates(const BannerSettings& settings) {
    const std::optional<QUrl> feed = settings.updateFeed();
    require(!feed || BannerRedirectPolicy::allowed(*feed));
}

void askForBanner(const BannerSettings& settings, AppLanguage language) {
    const BannerSettings::Entry entry = settings.entry(language);
    require(BannerRedirectPolicy::allowed(entry.image));
    require(entry.image.fileName().endsWith(QLatin1StringView(".avif"), Qt::CaseInsensitive));
    const QByteArray query = entry.image.query(QUrl::FullyEncoded).toLatin1();
    require(query.startsWith("v=") && QUrl::fromPercentEncoding(query.mid(2)) == settings.version());
    require(entry.link.scheme() == QLatin1StringView("https") && !entry.link.host().isEmpty());
    require(entry.link.userInfo().isEmpty());
}

/// The same bytes as a server's answer that the settings are elsewhere.
void redirect(const QByteArray& location) {
    const std::optional<QUrl> target = BannerRedirectPolicy::redirected(BannerSettings::address(), location);
    require(!target || BannerRedirectPolicy::allowed(*target));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    const QByteArray file(reinterpret_cast<const char*>(bytes), static_cast<qsizetype>(count));
    redirect(file);
    mayBeRefused([&] {
        const BannerSettings settings = BannerSettings::fromUtf8(file);
        require(settings.values().contains(QStringLiteral("enabled")));
        mayBeRefused([&] { askForUpdates(settings); });
        for (const AppLanguage language : AppLanguage::allCases) {
            mayBeRefused([&] { require(settings.enabled() || !settings.isEnabled(language)); });
            mayBeRefused([&] { askForBanner(settings, language); });
        }
    });
    return 0;
}
