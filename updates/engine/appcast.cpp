#include "updates/engine/appcast.h"

#include "updates/engine/appcast_item_reader.h"
#include "updates/engine/xml_element.h"

#include <optional>
#include <utility>

namespace ovrel {

namespace {

/// \throws UpdateError
XmlElement readRoot(const QByteArray& xml) {
    if (xml.size() > appcastLimitBytes) {
        throw appcastTooLargeError();
    }
    std::optional<XmlElement> root = readXml(xml);
    if (!root) {
        throw UpdateError(SUError::appcastParse, QStringLiteral("Список обновлений повреждён."),
                          QStringLiteral("The list of updates is damaged."));
    }
    // A page that some network puts in the place of the feed must not pass for "nothing new".
    if (root->name != QLatin1StringView("rss")) {
        throw UpdateError(SUError::appcastParse, QStringLiteral("Вместо списка обновлений получено что-то другое."),
                          QStringLiteral("Something else came in place of the list of updates."));
    }
    return std::move(*root);
}

} // namespace

UpdateError appcastTooLargeError() {
    return {SUError::appcastParse, QStringLiteral("Список обновлений слишком велик."),
            QStringLiteral("The list of updates is too large.")};
}

Appcast readAppcast(const QByteArray& xml, const QUrl& feedUrl, const AppcastReader& reader) {
    const XmlElement root = readRoot(xml);
    Appcast appcast;
    for (const XmlElement& channel : root.children) {
        if (channel.name != QLatin1StringView("channel")) {
            continue;
        }
        for (const XmlElement& element : channel.children) {
            if (element.name != QLatin1StringView("item")) {
                continue;
            }
            if (std::optional<AppcastItem> item = readAppcastItem(element, feedUrl, reader)) {
                appcast.push_back(std::move(*item));
            }
        }
    }
    return appcast;
}

} // namespace ovrel
