/// \file worker.h
/// Work of the updater that would hold up the main thread.
#pragma once

#include "updates/framework/update_error.h"

#include <qcoro/qcorotask.h>

#include <functional>
#include <optional>

namespace ovrel {

/// Runs in one of the background threads. QtConcurrent would replace the exception by one of its own.
/// \param work throws UpdateError alone
/// \return what it threw
QCoro::Task<std::optional<UpdateError>> inWorker(std::function<void()> work);

} // namespace ovrel
