/// \file item_choice.h
/// Which release of a feed is offered.
#pragma once

#include "updates/engine/appcast.h"
#include "updates/engine/machine.h"
#include "updates/framework/update_error.h"

#include <QString>

#include <variant>

namespace ovrel {

/// What decides besides the feed. Versions that there are not are empty.
struct ItemConditions {
    QString hostVersion; ///< of the running program
    Machine machine;
    bool userInitiated = false; ///< the user asked, so what they skipped and what failed earlier is offered again
    QString skippedVersion;     ///< nothing up to this version is offered
    QString failedVersion;      ///< exactly this version is not offered
    QString highestVersion;     ///< nothing up to this version could be installed, even where the host is older
};

/// The item to offer, or why there is none.
using ItemChoice = std::variant<AppcastItem, SPUNoUpdateFoundReason>;

/// Chooses the newest of the items that are for this machine, newer than the host and not hidden; the first of equals.
///
/// An item without a system is for Linux unless some other item of the feed names another system: without a name, it is
/// then that one's. Items of a channel are left out, and so are those that may not replace the host without the user's
/// consent to a major upgrade, since nobody is asked for that. Any thread.
ItemChoice chooseItem(const Appcast& appcast, const ItemConditions& conditions);

/// The error that says so.
UpdateError noUpdateError(SPUNoUpdateFoundReason reason);

} // namespace ovrel
