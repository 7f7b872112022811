/// \file spu_user_update.h
/// What the user is asked about an update, and what they say.
#pragma once

namespace ovrel {

enum class SPUUserUpdateChoice : int {
    skip = 0,    ///< do not offer this version again by itself
    install = 1, ///< go on to the next step
    dismiss = 2, ///< not now
};

enum class SPUUserUpdateStage : int {
    notDownloaded = 0, ///< nothing of it is on this computer
    downloaded = 1,    ///< the archive is
    installing = 2,    ///< it is verified and unpacked, and waits for the program to end
};

struct SPUUserUpdateState {
    SPUUserUpdateStage stage = SPUUserUpdateStage::notDownloaded;
    bool userInitiated = false; ///< the user asked for the check
};

enum class SPUUpdateCheck : int {
    updates = 0,             ///< the user asked
    updatesInBackground = 1, ///< the program asked by itself
    updateInformation = 2,   ///< nothing is to be offered
};

/// What the user allows the updater to do by itself.
struct SUUpdatePermissionResponse {
    bool automaticUpdateChecks = false;
    bool sendSystemProfile = false;
};

} // namespace ovrel
