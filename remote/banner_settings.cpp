#include "remote/banner_settings.h"

#include "platform/programming_fault.h"
#include "remote/banner_error.h"
#include "remote/publisher.h"

#include <QStringView>
#include <QTextBoundaryFinder>
#include <QUtf8StringView>

namespace ovrel {

namespace {

constexpr int versionLimitCharacters = 80;

/// The line and paragraph breaks of Unicode; CR and LF are one each.
bool isNewline(QChar character) {
    const char16_t code = character.unicode();
    return (code >= 0x000A && code <= 0x000D) || code == 0x0085 || code == 0x2028 || code == 0x2029;
}

/// Takes the first line off `text`.
QStringView takeLine(QStringView& text) {
    qsizetype length = 0;
    while (length < text.size() && !isNewline(text[length])) {
        ++length;
    }
    const QStringView line = text.first(length);
    text = text.sliced(length == text.size() ? length : length + 1);
    return line;
}

/// Reads a line without white space around it.
void readLine(QStringView line, QHash<QString, QString>& values) {
    if (line.isEmpty() || line.startsWith(u'#')) {
        return;
    }
    const qsizetype equals = line.indexOf(u'=');
    if (equals < 0) {
        throw BannerError(BannerError::invalid);
    }
    const QString key = line.first(equals).trimmed().toString();
    if (values.contains(key)) {
        throw BannerError(BannerError::invalid);
    }
    values.insert(key, line.sliced(equals + 1).trimmed().toString());
}

QHash<QString, QString> readLines(QString text) {
    text.remove(QChar(QChar::ByteOrderMark));
    QHash<QString, QString> values;
    for (QStringView rest = text; !rest.isEmpty();) {
        // Inside a line, what `trimmed` takes away is the tab and the space separators.
        readLine(takeLine(rest).trimmed(), values);
    }
    return values;
}

/// Counts extended grapheme clusters (Unicode Standard Annex 29, section 3), which readers take for characters.
bool isLongerThan(const QString& text, int limitCharacters) {
    QTextBoundaryFinder clusters(QTextBoundaryFinder::Grapheme, text);
    for (int count = 0; count <= limitCharacters; ++count) {
        if (clusters.toNextBoundary() < 0) {
            return false;
        }
    }
    return true;
}

QUrl makeBase() {
    QUrl url(QStringLiteral("https://") + publisherHost + QStringLiteral("/app/"), QUrl::StrictMode);
    if (!url.isValid()) {
        programmingFault("the publisher's address is no URL");
    }
    return url;
}

} // namespace

const QUrl& BannerSettings::base() {
    static const QUrl url = makeBase();
    return url;
}

QUrl BannerSettings::address() {
    QUrl url = base();
    url.setPath(url.path() + QStringLiteral("app_settings.txt"));
    return url;
}

BannerSettings::BannerSettings(const QString& text) : values_(readLines(text)) {
    enabled_ = readSwitch(values_.value(QStringLiteral("enabled")));
    if (values_.value(QStringLiteral("settings_version"), QStringLiteral("1")) != QLatin1StringView("1")) {
        throw BannerError(BannerError::invalid);
    }
    version_ = values_.value(QStringLiteral("version"), QStringLiteral("1"));
    if (isLongerThan(version_, versionLimitCharacters)) {
        throw BannerError(BannerError::invalid);
    }
}

bool BannerSettings::readSwitch(const QString& value) {
    if (value != QLatin1StringView("true") && value != QLatin1StringView("false")) {
        throw BannerError(BannerError::invalid);
    }
    return value == QLatin1StringView("true");
}

BannerSettings BannerSettings::fromUtf8(const QByteArray& bytes) {
    const QUtf8StringView text(bytes.constData(), bytes.size());
    if (!text.isValidUtf8()) {
        throw BannerError(BannerError::invalid);
    }
    return BannerSettings(text.toString());
}

} // namespace ovrel
