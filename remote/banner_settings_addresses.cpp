// What the settings say about the banner of a language and about updates.

#include "platform/programming_fault.h"
#include "remote/banner_error.h"
#include "remote/banner_redirect_policy.h"
#include "remote/banner_settings.h"

#include <QStringView>

#include <algorithm>

namespace ovrel {

namespace {

/// An address on the publisher's server.
/// \throws BannerError for every other text
QUrl readAddress(const QString& text) {
    QUrl url(text, QUrl::StrictMode);
    if (!url.isValid() || !BannerRedirectPolicy::allowed(text)) {
        throw BannerError(BannerError::invalid);
    }
    return url;
}

/// What follows the last dot of the last component of the path; a name that only begins with a dot has none.
QString pathExtension(const QUrl& url) {
    const QString name = url.fileName();
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot > 0 ? name.sliced(dot + 1) : QString();
}

bool isFileNameCharacter(QChar character) {
    static constexpr QStringView others = u"_-.";
    const bool isAscii = character.unicode() < 0x80;
    return (isAscii && character.isLetterOrNumber()) || others.contains(character);
}

bool isImageName(const QString& name) {
    return std::all_of(name.begin(), name.end(), isFileNameCharacter) && !name.contains(QLatin1StringView("..")) &&
           name.endsWith(QLatin1StringView(".avif"), Qt::CaseInsensitive);
}

QUrl imageAddress(QUrl folder, const QString& name, const QString& version) {
    QString path = folder.path(QUrl::FullyEncoded);
    if (!path.endsWith(u'/')) {
        path += u'/';
    }
    folder.setPath(path + name, QUrl::StrictMode);
    // Everything but letters, digits, "-", ".", "_" and "~" is encoded, so that servers cannot take a "+" for a blank.
    folder.setQuery(QStringLiteral("v=") + QString::fromLatin1(QUrl::toPercentEncoding(version)), QUrl::StrictMode);
    if (!folder.isValid()) {
        programmingFault("an image's name and version make no URL");
    }
    return folder;
}

} // namespace

std::optional<QUrl> BannerSettings::updateFeed() const {
    if (!readSwitch(values_.value(QStringLiteral("updates_enabled")))) {
        return std::nullopt;
    }
    QUrl feed = readAddress(values_.value(QStringLiteral("update_feed_url")));
    if (pathExtension(feed) != QLatin1StringView("xml")) {
        throw BannerError(BannerError::invalid);
    }
    return feed;
}

bool BannerSettings::isEnabled(AppLanguage language) const {
    const auto found = values_.constFind(language.rawValue() + QStringLiteral("_banner_enabled"));
    return enabled_ && (found == values_.constEnd() || readSwitch(*found));
}

BannerSettings::Entry BannerSettings::entry(AppLanguage language) const {
    const QString code = language.rawValue();
    const QString name = values_.value(code + QStringLiteral("_image"), code + QStringLiteral("_banner.avif"));
    const std::optional<QUrl> link = destination(values_.value(code + QStringLiteral("_url")));
    if (!isImageName(name) || !link) {
        throw BannerError(BannerError::invalid);
    }
    const QUrl folder =
        readAddress(values_.value(QStringLiteral("banner_base_url"), base().toString(QUrl::FullyEncoded)));
    if (folder.hasQuery() || folder.hasFragment()) {
        throw BannerError(BannerError::invalid);
    }
    return {imageAddress(folder, name, version_), *link,
            values_.value(code + QStringLiteral("_alt"), language.choose(QStringLiteral("Открыть рекламную ссылку"),
                                                                         QStringLiteral("Open advertisement link")))};
}

std::optional<QUrl> BannerSettings::destination(const std::optional<QString>& text) {
    if (!text) {
        return std::nullopt;
    }
    QUrl url(*text, QUrl::StrictMode);
    const bool isHttps = url.isValid() && url.scheme() == QLatin1StringView("https");
    // An "@" shows that a user is named, be it by an empty name.
    if (!isHttps || url.host().isEmpty() || url.authority().contains(u'@')) {
        return std::nullopt;
    }
    return url;
}

} // namespace ovrel
