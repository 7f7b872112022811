/// \file batch.h
/// Works through a plan, several steps at once, and tells of them in order.
#pragma once

#include "cli/plan.h"
#include "cli/totals.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <stop_token>

namespace ovrel::cli {

/// What became of a step.
struct Outcome {
    enum class Status { converted, copied, skipped, failed, wouldConvert, wouldCopy };

    Status status = Status::failed;
    std::filesystem::path result; ///< the file written, planned or found; empty when there is none
    bool multiImage = false;      ///< the source holds several images
    std::exception_ptr error;     ///< not null exactly when the status is failed
    std::optional<std::uint64_t> sourceBytes;
    std::optional<std::uint64_t> resultBytes;      ///< of a file written
    std::chrono::steady_clock::duration waited{0}; ///< for memory that other steps had set aside
    std::chrono::milliseconds duration{0};         ///< time spent on the step, not waited; set by the batch
};

/// How far a batch has come.
struct BatchProgress {
    const Step* current = nullptr; ///< the step that was begun last; not null
    std::size_t completed = 0;     ///< steps that have come to an end
    std::size_t steps = 0;
    std::size_t worked = 0; ///< conversions and copies that have come to an end
    std::size_t work = 0;   ///< conversions and copies in all
    std::chrono::milliseconds elapsed{0};
    bool stopping = false; ///< the user asked to stop
};

/// Hears of a batch, always on the thread that runs it.
class BatchObserver {
public:
    virtual ~BatchObserver() = default;

    /// Called when a step begins, and twice a second while nothing else happens.
    virtual void progressed(const BatchProgress& progress) = 0;

    /// Called once for each step that was done, in the order of the plan.
    /// \return false to end the batch as a request to stop does
    virtual bool completed(const Step& step, const Outcome& outcome) = 0;

protected:
    BatchObserver() = default;
    BatchObserver(const BatchObserver&) = default;
    BatchObserver& operator=(const BatchObserver&) = default;
};

/// Does one step; called by several threads at once. What it throws becomes a failure of the step, but NotBegun: the
/// step remains, and the batch ends as by a request to stop.
using StepFunction = std::function<Outcome(const Step&)>;

/// Runs until every step is done, or, after a request to stop, until those in hand are.
/// \param jobs steps at once, at least 1
/// \return counts; stopped tells whether `stop` was requested by the end
/// \throws std::system_error when not even one thread can be started, std::bad_alloc, and whatever the observer throws;
/// the steps in hand are finished first
Totals runBatch(std::span<const Step> plan, unsigned jobs, const StepFunction& work, const std::stop_token& stop,
                BatchObserver& observer);

} // namespace ovrel::cli
