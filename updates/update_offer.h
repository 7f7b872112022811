/// \file update_offer.h
/// What of a release is offered to the user, and how it reads.
#pragma once

#include "model/app_language.h"
#include "updates/framework/su_appcast_item.h"

#include <QString>

namespace ovrel {

/// Whether the release has something to install, at one of the publisher's addresses.
bool canBeOffered(const SUAppcastItem& item);

/// The part of a description that is in this language: Russian comes first, English after a line that is "---en---".
/// A description without exactly one such line has no English part, and what comes before the first one stands for it.
QString releaseNotes(const QString& description, AppLanguage language);

/// The heading of an offer.
QString offerHeading(const SUAppcastItem& item, AppLanguage language);

/// The release notes, if there are any, and what an installation does.
QString offerDetail(const SUAppcastItem& item, AppLanguage language);

} // namespace ovrel
