/// \file progress_line.h
/// The line that shows how far a run has come.
#pragma once

#include "cli/batch.h"
#include "cli/wording.h"

#include <cstddef>
#include <string>

namespace ovrel::cli {

/// Count, name, speed and time left, cut to `columns`: the name gives way first.
std::string progressLine(const BatchProgress& progress, AppLanguage language, std::size_t columns);

} // namespace ovrel::cli
