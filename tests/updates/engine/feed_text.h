/// \file feed_text.h
/// Feeds for tests, and how they are read.
#pragma once

#include "updates/engine/appcast.h"
#include "updates/framework/update_error.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <string>

namespace ovrel::test {

inline const QUrl feedAddress(QStringLiteral("https://ovrel.example/app/updates/appcast.xml"));

/// A feed of these items.
inline QByteArray feed(const QByteArray& items) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
           "<rss version=\"2.0\" xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\"><channel>"
           "<title>Ovrel</title>" +
           items + "</channel></rss>\n";
}

/// The parts that make an item valid.
inline const QByteArray versionElement = "<sparkle:version>2.4</sparkle:version>";
inline const QByteArray enclosure = "<enclosure url=\"https://ovrel.example/app/updates/ovrel.tar.xz\" length=\"7\"/>";

/// An item with these elements.
inline QByteArray item(const QByteArray& elements) {
    return "<item>" + elements + "</item>";
}

inline Appcast readFeed(const QByteArray& xml, AppLanguage language = AppLanguage::english) {
    return readAppcast(xml, feedAddress, {QStringLiteral("2.3"), language});
}

/// \return the English text of the error that the feed ends in, "none" without one
inline std::string faultOf(const QByteArray& xml) {
    try {
        readFeed(xml);
    } catch (const UpdateError& error) {
        if (!error.is(SUError::appcastParse)) {
            return "another number";
        }
        if (error.localizedDescription(AppLanguage::russian).isEmpty()) {
            return "no Russian text";
        }
        return error.localizedDescription(AppLanguage::english).toStdString();
    }
    return "none";
}

} // namespace ovrel::test
