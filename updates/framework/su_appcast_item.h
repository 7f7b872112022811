/// \file su_appcast_item.h
/// One release as the feed tells of it.
#pragma once

#include <QString>
#include <QUrl>

#include <cstdint>
#include <optional>

namespace ovrel {

/// A value. Nothing in it is verified: the archive's signature does not cover it.
struct SUAppcastItem {
    QString versionString;        ///< what is compared; not empty
    QString displayVersionString; ///< what people read; not empty
    std::optional<QString> title;
    std::optional<QString> itemDescription; ///< release notes as they stand in the feed, blanks included
    std::optional<QUrl> infoURL;            ///< http or https
    std::optional<QUrl> fileURL;            ///< the archive; http or https
    QString fileAddress; ///< fileURL as the feed wrote it, if it did so in full; QUrl lowers host and scheme
    std::uint64_t contentLength = 0;      ///< bytes of the archive; 0 when the feed does not say
    bool isInformationOnlyUpdate = false; ///< something to read, nothing to install
};

} // namespace ovrel
