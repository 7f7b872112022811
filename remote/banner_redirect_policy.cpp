#include "remote/banner_redirect_policy.h"

#include "remote/publisher.h"

#include <QStringDecoder>

#include <algorithm>

namespace ovrel {

namespace {

constexpr int httpsPort = 443;

/// An honest path is encoded once. The limit keeps long chains of "%25" from costing time.
constexpr int maximumEncodings = 8;

/// What follows "https://HOST" or "https://HOST:443", whose letters must be exactly these.
/// \return null when the address begins in another way
QStringView afterAuthority(QStringView address) {
    QStringView rest = address;
    for (const QLatin1StringView part : {QLatin1StringView("https://"), publisherHost}) {
        if (!rest.startsWith(part)) {
            return {};
        }
        rest = rest.sliced(part.size());
    }
    constexpr QLatin1StringView port(":443");
    if (rest.startsWith(port)) {
        rest = rest.sliced(port.size());
    }
    return rest;
}

/// RFC 3986, section 3.3: a path ends at the query or the fragment.
QStringView pathOf(QStringView afterAuthority) {
    const auto end = std::find_if(afterAuthority.begin(), afterAuthority.end(),
                                  [](QChar letter) { return letter == u'?' || letter == u'#'; });
    return afterAuthority.first(end - afterAuthority.begin());
}

/// Control characters and overlong UTF-8 have no place in an address, and servers differ in what they make of them.
bool isPlainText(const QByteArray& path) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(path);
    return !decoder.hasError() && std::none_of(text.begin(), text.end(),
                                               [](QChar letter) { return letter.category() == QChar::Other_Control; });
}

/// What servers that know parameters (RFC 3986, section 3.3) or trim names take for the segment.
QByteArray bareSegment(const QByteArray& segment) {
    return segment.split(';').first().trimmed();
}

/// Whether a path begins in the publisher's folder and no dot segment (RFC 3986, section 5.2.4) leads out of it, not
/// even on the way. Servers differ in how they see empty segments and backslashes, so the former give ".." nothing to
/// remove, and the latter are slashes.
bool staysInside(QByteArray path) {
    if (!isPlainText(path)) {
        return false;
    }
    path.replace('\\', '/');
    const QByteArrayList segments = path.split('/');
    if (segments.size() < 2 || !segments[0].isEmpty() || segments[1] != "app") {
        return false;
    }
    qsizetype depth = 0;
    return std::all_of(segments.begin() + 1, segments.end(), [&depth](const QByteArray& written) {
        const QByteArray segment = bareSegment(written);
        if (segment == "..") {
            --depth;
        } else if (!segment.isEmpty() && segment != ".") {
            ++depth;
        }
        return depth > 0;
    });
}

bool isHexadecimal(char letter) {
    return (letter >= '0' && letter <= '9') || (letter >= 'A' && letter <= 'F') || (letter >= 'a' && letter <= 'f');
}

/// Decodes once. A percent sign without two digits stays, with what follows it; Qt alone would make a letter of all
/// three and so hide a slash or a dot.
QByteArray decoded(const QByteArray& path) {
    QByteArray encoded;
    encoded.reserve(path.size());
    for (qsizetype i = 0; i < path.size(); ++i) {
        encoded += path[i];
        const bool hasDigits = i + 2 < path.size() && isHexadecimal(path[i + 1]) && isHexadecimal(path[i + 2]);
        if (path[i] == '%' && !hasDigits) {
            encoded += "25";
        }
    }
    return QByteArray::fromPercentEncoding(encoded);
}

/// The same however often somebody decodes the path on its way to a file.
bool staysInsideWhenDecoded(QByteArray path) {
    for (int encodings = 0; encodings <= maximumEncodings && staysInside(path); ++encodings) {
        const QByteArray next = decoded(path);
        if (next == path) {
            return true;
        }
        path = next;
    }
    return false;
}

bool isVisibleAscii(const QByteArray& text) {
    return std::all_of(text.begin(), text.end(), [](char letter) { return letter > ' ' && letter < '\x7F'; });
}

/// RFC 3986, section 4.1: only an address with a scheme has a colon in front of the first slash, query or fragment.
bool isAbsolute(QStringView reference) {
    const auto end = std::find_if(reference.begin(), reference.end(),
                                  [](QChar letter) { return QStringView(u":/?#").contains(letter); });
    return end != reference.end() && *end == u':';
}

/// RFC 3986, section 5.2.2, but for the dot segments, which stay.
QString resolved(const QUrl& base, const QString& reference) {
    constexpr QUrl::FormattingOptions written(QUrl::FullyEncoded);
    if (isAbsolute(reference)) {
        return reference;
    }
    if (reference.startsWith(QLatin1StringView("//"))) {
        return base.scheme() + u':' + reference;
    }
    if (reference.startsWith(u'/')) {
        return base.toString(written | QUrl::RemovePath | QUrl::RemoveQuery | QUrl::RemoveFragment) + reference;
    }
    if (reference.startsWith(u'?')) {
        return base.toString(written | QUrl::RemoveQuery | QUrl::RemoveFragment) + reference;
    }
    if (reference.startsWith(u'#')) {
        return base.toString(written | QUrl::RemoveFragment) + reference;
    }
    return base.toString(written | QUrl::RemoveFilename | QUrl::RemoveQuery | QUrl::RemoveFragment) + reference;
}

} // namespace

bool BannerRedirectPolicy::allowed(const QString& address) {
    const QStringView rest = afterAuthority(address);
    if (!rest.startsWith(u'/') || !staysInsideWhenDecoded(pathOf(rest).toUtf8())) {
        return false;
    }
    // The parser that the request will go through has to see the same.
    const QUrl url(address, QUrl::StrictMode);
    return url.isValid() && url.scheme() == QLatin1StringView("https") &&
           url.host(QUrl::FullyEncoded) == publisherHost && url.port(httpsPort) == httpsPort &&
           url.userInfo().isEmpty() && staysInsideWhenDecoded(url.path(QUrl::FullyEncoded).toLatin1());
}

bool BannerRedirectPolicy::allowed(const QUrl& address) {
    return allowed(address.toString(QUrl::FullyEncoded));
}

std::optional<QUrl> BannerRedirectPolicy::redirected(const QUrl& from, const QByteArray& location) {
    if (location.isEmpty() || !isVisibleAscii(location)) {
        return std::nullopt;
    }
    const QString address = resolved(from, QString::fromLatin1(location));
    if (!allowed(address)) {
        return std::nullopt;
    }
    return QUrl(address, QUrl::StrictMode).adjusted(QUrl::NormalizePathSegments);
}

} // namespace ovrel
