#include "updates/engine/item_choice.h"

#include "updates/engine/version_comparator.h"

#include <algorithm>
#include <compare>
#include <iterator>
#include <vector>

namespace ovrel {

namespace {

using Candidates = std::vector<const AppcastItem*>;

bool namesLinux(const AppcastItem& item) {
    return item.os == QLatin1StringView("linux") || item.os.startsWith(QLatin1StringView("linux-"));
}

bool namesAnotherSystem(const AppcastItem& item) {
    return !item.os.isEmpty() && !namesLinux(item);
}

bool isOlder(const QString& left, const QString& right) {
    return std::is_lt(compareVersions(left, right));
}

bool isBelow(const QString& version, const QString& minimum) {
    return !minimum.isEmpty() && isOlder(version, minimum);
}

bool isTooOldFor(const Machine& machine, const AppcastItem& item) {
    return isBelow(machine.systemVersion, item.minimumSystemVersion);
}

bool isTooNewFor(const Machine& machine, const AppcastItem& item) {
    return !item.maximumSystemVersion.isEmpty() && isOlder(item.maximumSystemVersion, machine.systemVersion);
}

bool isHidden(const AppcastItem& item, const ItemConditions& conditions) {
    const QString& version = item.item.versionString;
    const bool isSkipped = !conditions.skippedVersion.isEmpty() && !isOlder(conditions.skippedVersion, version);
    return !conditions.userInitiated && (isSkipped || version == conditions.failedVersion);
}

/// Those for this system and host, whatever the system's version.
Candidates candidatesOf(const Appcast& appcast, const ItemConditions& conditions) {
    const bool isMixed = std::any_of(appcast.begin(), appcast.end(), namesAnotherSystem);
    const QString ownSystem = QStringLiteral("linux-") + conditions.machine.architecture;
    Candidates candidates;
    for (const AppcastItem& item : appcast) {
        const bool isForSystem =
            item.os.isEmpty() ? !isMixed : item.os == QLatin1StringView("linux") || item.os == ownSystem;
        const bool mayReplace = !isBelow(conditions.hostVersion, item.minimumUpdateVersion) &&
                                !isBelow(conditions.hostVersion, item.minimumAutoupdateVersion);
        if (isForSystem && item.channel.isEmpty() && mayReplace && !isHidden(item, conditions)) {
            candidates.push_back(&item);
        }
    }
    return candidates;
}

/// \return the first of those that no other is newer than, null when there is none
const AppcastItem* newestOf(const Candidates& candidates) {
    const auto newest =
        std::max_element(candidates.begin(), candidates.end(), [](const AppcastItem* left, const AppcastItem* right) {
            return isOlder(left->item.versionString, right->item.versionString);
        });
    return newest == candidates.end() ? nullptr : *newest;
}

/// Whether an update to it would be one forward.
bool isNew(const AppcastItem& item, const ItemConditions& conditions) {
    const QString& version = item.item.versionString;
    return isOlder(conditions.hostVersion, version) &&
           (conditions.highestVersion.isEmpty() || isOlder(conditions.highestVersion, version));
}

SPUNoUpdateFoundReason reasonFor(const AppcastItem* newest, const ItemConditions& conditions) {
    if (!newest) {
        return SPUNoUpdateFoundReason::onLatestVersion;
    }
    const std::weak_ordering order = compareVersions(conditions.hostVersion, newest->item.versionString);
    if (std::is_eq(order)) {
        return SPUNoUpdateFoundReason::onLatestVersion;
    }
    if (std::is_gt(order)) {
        return SPUNoUpdateFoundReason::onNewerThanLatestVersion;
    }
    if (!isNew(*newest, conditions)) {
        return SPUNoUpdateFoundReason::unknown; // the user has gone back to an older version by hand
    }
    return isTooOldFor(conditions.machine, *newest) ? SPUNoUpdateFoundReason::systemIsTooOld
                                                    : SPUNoUpdateFoundReason::systemIsTooNew;
}

} // namespace

ItemChoice chooseItem(const Appcast& appcast, const ItemConditions& conditions) {
    const Candidates candidates = candidatesOf(appcast, conditions);
    Candidates supported;
    std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(supported), [&](const AppcastItem* item) {
        return !isTooOldFor(conditions.machine, *item) && !isTooNewFor(conditions.machine, *item);
    });
    const AppcastItem* best = newestOf(supported);
    if (best && isNew(*best, conditions)) {
        return *best;
    }
    return reasonFor(newestOf(candidates), conditions);
}

UpdateError noUpdateError(SPUNoUpdateFoundReason reason) {
    const auto error = [reason](const QString& russian, const QString& english) {
        return UpdateError(SUError::noUpdate, russian, english).withReason(reason);
    };
    switch (reason) {
    case SPUNoUpdateFoundReason::systemIsTooOld:
        return error(QStringLiteral("Новая версия не работает в этой системе: система слишком старая."),
                     QStringLiteral("The new version does not run on this system, which is too old."));
    case SPUNoUpdateFoundReason::systemIsTooNew:
        return error(QStringLiteral("Новая версия не работает в этой системе: система слишком новая."),
                     QStringLiteral("The new version does not run on this system, which is too new."));
    case SPUNoUpdateFoundReason::onNewerThanLatestVersion:
        return error(QStringLiteral("Установленная версия новее последней опубликованной."),
                     QStringLiteral("The installed version is newer than the latest published one."));
    case SPUNoUpdateFoundReason::onLatestVersion:
    case SPUNoUpdateFoundReason::unknown: break;
    }
    return error(QStringLiteral("Установлена последняя версия."), QStringLiteral("The latest version is installed."));
}

} // namespace ovrel
