/// \file spu_updater_delegate.h
/// Whom the updater asks for permission and tells what it does.
#pragma once

#include "updates/framework/one_shot.h"
#include "updates/framework/spu_user_update.h"
#include "updates/framework/su_appcast_item.h"
#include "updates/framework/update_error.h"

#include <QString>

#include <optional>
#include <vector>

namespace ovrel {

/// Called on the main thread. Every method may be left as it is here.
class SPUUpdaterDelegate {
public:
    virtual ~SPUUpdaterDelegate() = default;

    /// Asked at each check.
    /// \return nothing when there is no feed now, which fails the check
    virtual std::optional<QString> feedURLStringForUpdater() { return std::nullopt; }

    /// Asked first in every check. On refusal with an error the user sees it, if it was they who asked; without one
    /// the session just ends.
    virtual bool mayPerformUpdateCheck(SPUUpdateCheck, std::optional<UpdateError>& /*error*/) { return true; }

    /// The feed has been read and is sound.
    virtual void didFinishLoadingAppcast(const std::vector<SUAppcastItem>& /*items*/) {}

    /// Asked once an item has been chosen, before anybody hears of it. Refusal ends the session with the error.
    virtual bool shouldProceedWithUpdate(const SUAppcastItem&, SPUUpdateCheck, std::optional<UpdateError>& /*error*/) {
        return true;
    }

    virtual void didFindValidUpdate(const SUAppcastItem&) {}
    virtual void updaterDidNotFindUpdate(const UpdateError&) {}

    /// After the reply to the offer; not after that at the end of the preparation.
    virtual void userDidMakeChoice(SPUUserUpdateChoice, const SUAppcastItem&, SPUUserUpdateState) {}

    virtual void willDownloadUpdate(const SUAppcastItem&) {}
    virtual void didDownloadUpdate(const SUAppcastItem&) {}
    virtual void failedToDownloadUpdate(const SUAppcastItem&, const UpdateError&) {}
    virtual void userDidCancelDownload() {}

    virtual void willExtractUpdate(const SUAppcastItem&) {}
    /// Comes before the archive has been verified, whatever its name says: it is no sign of success.
    virtual void didExtractUpdate(const SUAppcastItem&) {}

    /// Asked after the user let the installation begin, and again after a postponement and each further attempt to end
    /// the program. Otherwise the update is installed when the program ends by itself, and not started.
    virtual bool updaterShouldRelaunchApplication() { return true; }

    /// Asked once in a session.
    /// \param untilInvokingBlock continues; dropped, it ends the session as a dismissal would
    /// \return true to wait for that
    // NOLINTNEXTLINE(performance-unnecessary-value-param): who waits keeps it
    virtual bool shouldPostponeRelaunchForUpdate(const SUAppcastItem&, OneShot<> /*untilInvokingBlock*/) {
        return false;
    }

    virtual void willInstallUpdate(const SUAppcastItem&) {}
    virtual void updaterWillRelaunchApplication() {}

    /// Before the end of a session that failed; "no update" is a failure, too.
    virtual void didAbortWithError(const UpdateError&) {}

    /// Once in each session, unless the program ends for the installation. A new check may begin within.
    virtual void didFinishUpdateCycleForUpdateCheck(SPUUpdateCheck, const std::optional<UpdateError>& /*error*/) {}

    /// The updater will not check by itself.
    virtual void updaterWillNotScheduleUpdateCheck() {}
};

} // namespace ovrel
