/// \file step_work.h
/// What is done for one step of a plan. Any thread, several at once.
#pragma once

#include "cli/batch.h"
#include "conversion/converter.h"
#include "conversion/turn.h"
#include "platform/file_system.h"

#include <functional>
#include <stop_token>

namespace ovrel::cli {

/// Converts or copies an image; as convertItem().
using ConvertFunction = std::function<ConversionResult(const InputItem&, Turn&)>;

/// Carries the step out.
/// \param preserveTimes whether the result gets its source's modification time; where that fails, the step counts as
///        failed and its result stays
/// \param stop handed on to `convert`
/// \throws NotBegun as `convert` does
Outcome carryOut(const Step& step, const ConvertFunction& convert, FileSystem& files, bool preserveTimes,
                 const std::stop_token& stop = {});

/// What carryOut() would do if it succeeded. Writes nothing.
Outcome foretell(const Step& step, FileSystem& files);

} // namespace ovrel::cli
