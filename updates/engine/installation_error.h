/// \file installation_error.h
/// How the framework reports what verification and installation found.
#pragma once

#include "updates/framework/update_error.h"

namespace ovrel {

/// The error that the user is shown, with `cause` underneath. It says that the old version is still there.
UpdateError installationError(UpdateError cause);

} // namespace ovrel
