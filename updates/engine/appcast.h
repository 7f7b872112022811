/// \file appcast.h
/// The feed that tells which releases there are: RSS 2.0 with elements of the update framework's namespace.
#pragma once

#include "model/app_language.h"
#include "updates/framework/su_appcast_item.h"
#include "updates/framework/update_error.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <vector>

namespace ovrel {

/// One release with what decides whether it is offered and whether its archive is genuine. Texts that the feed does
/// not have are empty.
struct AppcastItem {
    SUAppcastItem item;
    QString edSignature;              ///< of the archive, Base64 as the feed has it; not checked here
    QString os;                       ///< the system that the archive is for
    QString channel;                  ///< empty for the channel that everybody gets
    QString minimumSystemVersion;     ///< of the system's C library
    QString maximumSystemVersion;     ///< of the system's C library
    QString minimumUpdateVersion;     ///< the oldest Ovrel that this release may replace
    QString minimumAutoupdateVersion; ///< likewise, unless the user decides; nobody is asked here
};

/// In the feed's order.
using Appcast = std::vector<AppcastItem>;

/// For whom a feed is read.
struct AppcastReader {
    QString hostVersion;                         ///< of the running program; decides which items are information only
    AppLanguage language = AppLanguage::russian; ///< of elements that the feed has in several
};

/// The most bytes that a feed has.
constexpr qsizetype appcastLimitBytes = 1'048'576;

/// What is thrown for a feed above the limit.
UpdateError appcastTooLargeError();

/// Reads a feed. One item that breaks the rules fails the whole feed; a feed without items is sound. Releases that are
/// no complete archive of the program (differences, installer packages) are left out. A feed is UTF-8, has no document
/// type, and its root is `rss`. Any thread; nothing is fetched.
/// \param feedUrl where the feed came from after all redirects, to which relative addresses are resolved
/// \throws UpdateError appcastParse
Appcast readAppcast(const QByteArray& xml, const QUrl& feedUrl, const AppcastReader& reader);

} // namespace ovrel
