// What the manager allows the updater.

#include "updates/update_manager.h"
#include "updates/update_texts.h"

#include <utility>

namespace ovrel {

std::optional<QString> UpdateManager::feedURLStringForUpdater() {
    return feedURL_ ? std::optional(feedURL_->toString(QUrl::FullyEncoded)) : std::nullopt;
}

bool UpdateManager::mayPerformUpdateCheck(SPUUpdateCheck, std::optional<UpdateError>& error) {
    if (!processing_ && feedURL_) {
        return true;
    }
    error = UpdateError(QStringLiteral("Ovrel.Updates"), 1, update_texts::notFinished.in(AppLanguage::russian),
                        update_texts::notFinished.in(AppLanguage::english));
    return false;
}

bool UpdateManager::shouldPostponeRelaunchForUpdate(const SUAppcastItem&, OneShot<> untilInvokingBlock) {
    if (!processing_) {
        return false;
    }
    defer(std::move(untilInvokingBlock));
    return true;
}

void UpdateManager::didFinishUpdateCycleForUpdateCheck(SPUUpdateCheck, const std::optional<UpdateError>&) {
    setChecking(false);
}

} // namespace ovrel
