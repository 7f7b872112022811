/// \file report.h
/// What a run prints.
#pragma once

#include "cli/batch.h"
#include "cli/standard_streams.h"
#include "cli/wording.h"

#include <QByteArray>

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>

namespace ovrel::cli {

struct ReportSettings {
    AppLanguage language = AppLanguage::english;
    bool json = false;         ///< one object a line instead of texts
    bool quiet = false;        ///< failures only; objects all the same
    bool progressLine = false; ///< standard error is a terminal that shows a line which is redrawn
    bool failuresOnly = false; ///< and pictures of which a part alone was converted: a progress line tells of the rest
    bool dryRun = false;
};

/// The line of a step, without its end: one line on a terminal, whatever the file names hold.
std::string itemLine(const Step& step, const Outcome& outcome, AppLanguage language);

/// The same as a JSON object (RFC 8259).
QByteArray itemObject(const Step& step, const Outcome& outcome, AppLanguage language);

/// Prints while a batch runs. Results go to `out`, the progress line to `err`; with `quiet` failures go to `err` too.
class Report : public BatchObserver {
public:
    /// \param columns the present width of the terminal
    Report(const ReportSettings& settings, Output& out, Output& err, std::function<std::size_t()> columns);

    void progressed(const BatchProgress& progress) override;
    bool completed(const Step& step, const Outcome& outcome) override;

    /// Prints the last line, to `err` where `out` holds objects.
    /// \return whether it could be written
    bool summarise(const Totals& totals);

private:
    void clearProgressLine();

    const ReportSettings settings_;
    Output& out_;
    Output& err_;
    const std::function<std::size_t()> columns_;
    std::optional<std::chrono::milliseconds> lastDrawn_; ///< nothing when no progress line is to be seen
};

} // namespace ovrel::cli
