/// \file updater_texts.h
/// What the user reads where the updater fails.
#pragma once

#include "updates/framework/update_error.h"

#include <QString>

namespace ovrel {

UpdateError noFeedError();
UpdateError insecureFeedError();
UpdateError feedDownloadError();
UpdateError archiveDownloadError();
UpdateError wrongArchiveLengthError();

/// \param owner the package manager, where it is known
UpdateError managedInstallationError(const QString& owner);
UpdateError unwritableInstallationError();
UpdateError otherUpdateError();

/// A second window of the installation, or its command line, would run on in an exchanged tree.
UpdateError othersRunError();

/// What an earlier update has left cannot be ended now.
UpdateError unfinishedUpdateError();

/// When memory ran out, for example.
UpdateError unexpectedError();
UpdateError installerGoneError();

} // namespace ovrel
