/// \file appcast_item_reader.h
/// One item of a feed.
#pragma once

#include "updates/engine/appcast.h"
#include "updates/engine/xml_element.h"

#include <QUrl>

#include <optional>

namespace ovrel {

/// \param element an `item` of the feed
/// \return nothing for an item that is no complete archive of the program
/// \throws UpdateError appcastParse when the item breaks the rules
std::optional<AppcastItem> readAppcastItem(const XmlElement& element, const QUrl& feedUrl, const AppcastReader& reader);

} // namespace ovrel
