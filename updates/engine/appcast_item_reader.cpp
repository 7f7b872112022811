#include "updates/engine/appcast_item_reader.h"

#include "updates/engine/version_comparator.h"
#include "updates/framework/update_error.h"
#include "updates/installation/journal.h"

#include <QFileInfo>

#include <algorithm>
#include <array>
#include <compare>
#include <cstdint>

namespace ovrel {

namespace {

using Name = QLatin1StringView;

/// Longer ones would break every text that shows a version.
constexpr qsizetype displayVersionLimitCharacters = 128;

UpdateError fault(const QString& russian, const QString& english) {
    return {SUError::appcastParse, russian, english};
}

QString firstOf(const QString& text, const QString& otherwise) {
    return text.isEmpty() ? otherwise : text;
}

/// How well an element suits the user, 0 best. One that names no language is English.
int languageRank(const XmlElement& element, AppLanguage language) {
    const QString tag = element.attribute(Name("xml:lang")).section(u'-', 0, 0).toLower();
    const QString own = firstOf(tag, QStringLiteral("en"));
    return own == language.rawValue() ? 0 : own == QLatin1StringView("en") ? 1 : 2;
}

/// \return among the children of that name the one that suits best, the first of equals; null when there is none
const XmlElement* childOf(const XmlElement& item, Name name, AppLanguage language) {
    const XmlElement* best = nullptr;
    for (const XmlElement& child : item.children) {
        if (child.name == name && (!best || languageRank(child, language) < languageRank(*best, language))) {
            best = &child;
        }
    }
    return best;
}

/// An item seen by one user.
class ItemReader {
public:
    ItemReader(const XmlElement& item, const QUrl& feedUrl, const AppcastReader& reader)
        : item_(item), feedUrl_(feedUrl), reader_(reader), enclosure_(child(Name("enclosure"))) {}

    std::optional<AppcastItem> read() const {
        AppcastItem result;
        result.item.infoURL = address(text(Name("link")));
        result.item.fileURL = archive(result.item.infoURL.has_value());
        result.item.fileAddress = authorityAsWritten();
        result.item.versionString = version(result.item.fileURL);
        result.item.displayVersionString = displayVersion(result.item.versionString);
        if (!isCompleteArchive()) {
            return std::nullopt;
        }
        if (const QString title = text(Name("title")); !title.isEmpty()) {
            result.item.title = title;
        }
        if (const XmlElement* description = child(Name("description"))) {
            result.item.itemDescription = description->text;
        }
        result.item.contentLength = length();
        result.item.isInformationOnlyUpdate = !result.item.fileURL || (result.item.infoURL && isInformationForHost());
        result.edSignature = enclosureAttribute(Name("sparkle:edSignature"));
        result.os = enclosureAttribute(Name("sparkle:os"));
        result.channel = channel();
        result.minimumSystemVersion = text(Name("sparkle:minimumSystemVersion"));
        result.maximumSystemVersion = text(Name("sparkle:maximumSystemVersion"));
        result.minimumUpdateVersion = text(Name("sparkle:minimumUpdateVersion"));
        result.minimumAutoupdateVersion = text(Name("sparkle:minimumAutoupdateVersion"));
        return result;
    }

private:
    const XmlElement* child(Name name) const { return childOf(item_, name, reader_.language); }

    QString text(Name name) const {
        const XmlElement* element = child(name);
        return element ? element->text.trimmed() : QString();
    }

    QString enclosureAttribute(Name name) const { return enclosure_ ? enclosure_->attribute(name) : QString(); }

    /// \return nothing unless it is http or https
    std::optional<QUrl> address(QString written) const {
        if (written.isEmpty()) {
            return std::nullopt;
        }
        const QUrl relative(written.replace(u' ', QLatin1StringView("%20")), QUrl::StrictMode);
        const QUrl url = feedUrl_.resolved(relative);
        const bool isWeb = url.scheme() == QLatin1StringView("https") || url.scheme() == QLatin1StringView("http");
        return relative.isValid() && isWeb && !url.host().isEmpty() ? std::optional(url) : std::nullopt;
    }

    /// The archive's address where the feed names its host, as it does so.
    QString authorityAsWritten() const {
        const QString written = enclosureAttribute(Name("url")).replace(u' ', QLatin1StringView("%20"));
        if (written.startsWith(QLatin1StringView("//"))) {
            return feedUrl_.scheme() + u':' + written;
        }
        return QUrl(written).isRelative() ? QString() : written;
    }

    std::optional<QUrl> archive(bool hasLink) const {
        const QString written = enclosureAttribute(Name("url"));
        if (written.isEmpty()) {
            if (!hasLink) {
                throw fault(QStringLiteral("В списке обновлений у одной из версий нет адреса загрузки."),
                            QStringLiteral("A version in the list of updates has no download address."));
            }
            return std::nullopt;
        }
        std::optional<QUrl> url = address(written);
        if (!url) {
            throw fault(QStringLiteral("В списке обновлений у одной из версий недопустимый адрес загрузки."),
                        QStringLiteral("A version in the list of updates has an invalid download address."));
        }
        return url;
    }

    QString version(const std::optional<QUrl>& file) const {
        const QString named = firstOf(enclosureAttribute(Name("sparkle:version")), text(Name("sparkle:version")));
        QString version = !named.isEmpty() || !file ? named : versionInName(file->fileName());
        if (!isInstallableVersion(version.toStdString())) { // before anybody downloads it
            throw fault(QStringLiteral("В списке обновлений у одной из версий нет допустимого номера."),
                        QStringLiteral("A version in the list of updates has no valid number."));
        }
        return version;
    }

    /// What follows the last underscore. An architecture's own underscore does not count.
    static QString versionInName(const QString& fileName) {
        QString name = QFileInfo(fileName).completeBaseName();
        if (name.endsWith(QLatin1StringView(".tar"))) {
            name.chop(4);
        }
        const qsizetype underscore = name.lastIndexOf(u'_');
        return underscore < 0 || name.endsWith(QLatin1StringView("x86_64")) ? QString() : name.sliced(underscore + 1);
    }

    QString displayVersion(const QString& version) const {
        const Name name("sparkle:shortVersionString");
        const QString written = firstOf(firstOf(enclosureAttribute(name), text(name)), version);
        return written.size() > displayVersionLimitCharacters ? version : written;
    }

    /// Differences apply to one version alone, and installer packages are another system's.
    bool isCompleteArchive() const {
        const QString type =
            firstOf(enclosureAttribute(Name("sparkle:installationType")), QStringLiteral("application"));
        constexpr std::array<Name, 2> packages{Name("package"), Name("interactive-package")};
        const bool isPackage = std::find(packages.begin(), packages.end(), type) != packages.end();
        if (!isPackage && type != QLatin1StringView("application")) {
            throw fault(QStringLiteral("В списке обновлений есть версия с неизвестным способом установки."),
                        QStringLiteral("The list of updates has a version that is installed in an unknown way."));
        }
        return !isPackage && enclosureAttribute(Name("sparkle:deltaFrom")).isEmpty();
    }

    /// \return 0 for what is no positive number
    std::uint64_t length() const {
        const QString written = enclosureAttribute(Name("length"));
        const bool isDigits = std::all_of(written.begin(), written.end(),
                                          [](QChar character) { return character >= u'0' && character <= u'9'; });
        return isDigits ? written.toULongLong() : 0;
    }

    /// A name that breaks the rules of channels is none.
    QString channel() const {
        const QString name = text(Name("sparkle:channel"));
        const bool isName = std::all_of(name.begin(), name.end(), [](QChar character) {
            return character.isLetterOrNumber() || character == u'_' || character == u'.' || character == u'-';
        });
        return isName ? name : QString();
    }

    /// Whether the host is among those for which there is nothing to install; without a list all are. The list's own
    /// names have the literal prefix.
    bool isInformationForHost() const {
        const XmlElement* hosts = child(Name("sparkle:informationalUpdate"));
        if (!hosts) {
            return false;
        }
        bool isListed = false;
        bool hasList = false;
        for (const XmlElement& host : hosts->children) {
            const QString version = host.text.trimmed();
            const bool isExact = host.writtenName == QLatin1StringView("sparkle:version");
            const bool isBelow = host.writtenName == QLatin1StringView("sparkle:belowVersion");
            hasList = hasList || isExact || isBelow;
            isListed = isListed || (isExact && version == reader_.hostVersion) ||
                       (isBelow && std::is_lt(compareVersions(reader_.hostVersion, version)));
        }
        return isListed || !hasList;
    }

    const XmlElement& item_;
    const QUrl& feedUrl_;
    const AppcastReader& reader_;
    const XmlElement* enclosure_;
};

} // namespace

std::optional<AppcastItem> readAppcastItem(const XmlElement& element, const QUrl& feedUrl,
                                           const AppcastReader& reader) {
    return ItemReader(element, feedUrl, reader).read();
}

} // namespace ovrel
