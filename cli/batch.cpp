#include "cli/batch.h"

#include "conversion/turn.h"

#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace ovrel::cli {

namespace {

using Clock = std::chrono::steady_clock;

std::chrono::milliseconds inMilliseconds(Clock::duration duration) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(duration);
}

/// \return false when the step was not begun
bool carryOut(const StepFunction& work, const Step& step, Outcome& outcome) {
    const Clock::time_point start = Clock::now();
    try {
        outcome = work(step);
    } catch (const NotBegun&) {
        return false;
    } catch (...) {
        outcome = {};
        outcome.error = std::current_exception();
    }
    outcome.duration = inMilliseconds(Clock::now() - start - outcome.waited);
    return true;
}

class Batch {
public:
    Batch(std::span<const Step> plan, const StepFunction& work, const std::stop_token& stop, BatchObserver& observer)
        : plan_(plan), work_(work), stop_(stop), observer_(observer) {
        progress_.steps = plan.size();
        progress_.work = static_cast<std::size_t>(
            std::count_if(plan.begin(), plan.end(), [](const Step& step) { return step.isWork(); }));
        totals_.items = plan.size();
    }

    Totals run(unsigned jobs) {
        std::vector<std::jthread> workers;
        try {
            startWorkers(workers, jobs);
            tellOfAll();
        } catch (...) {
            // The workers are waited for while this leaves, so they must not go on.
            const std::lock_guard lock(mutex_);
            breakOff(std::current_exception());
            throw;
        }
        const std::lock_guard lock(mutex_);
        if (failure_) {
            std::rethrow_exception(failure_);
        }
        totals_.stopped = stop_.stop_requested();
        return totals_;
    }

private:
    /// How far the fastest worker may be ahead of the last step told of, so that what waits to be told stays small.
    static constexpr std::size_t furthestAhead = 1000;
    static constexpr std::chrono::milliseconds tick{500};

    void startWorkers(std::vector<std::jthread>& workers, unsigned jobs) {
        const std::size_t count = std::min<std::size_t>(jobs, plan_.size());
        for (std::size_t index = 0; index < count; ++index) {
            {
                const std::lock_guard lock(mutex_);
                ++working_;
            }
            try {
                workers.emplace_back([this] { workOn(); });
            } catch (const std::system_error&) {
                const std::lock_guard lock(mutex_);
                --working_;
                if (index == 0) {
                    throw;
                }
                return; // fewer at once than asked for, but the work gets done
            }
        }
    }

    void tellOfAll() {
        std::unique_lock lock(mutex_);
        while (working_ > 0 || !waiting_.empty()) {
            if (!reportNext(lock)) {
                showProgress(lock);
            }
        }
    }

    /// Ends the batch, whose mutex is held, because of what no step is to blame for. The first reason counts.
    void breakOff(std::exception_ptr failure) {
        if (!failure_) {
            failure_ = std::move(failure);
        }
        ended_ = true;
        changed_.notify_all();
    }

    bool isEnding() const { return ended_ || stop_.stop_requested(); }

    /// The life of a worker.
    void workOn() {
        std::unique_lock lock(mutex_);
        try {
            takeSteps(lock);
        } catch (...) {
            if (!lock.owns_lock()) {
                lock.lock();
            }
            breakOff(std::current_exception());
        }
        --working_;
        changed_.notify_all();
    }

    void takeSteps(std::unique_lock<std::mutex>& lock) {
        for (std::size_t step = nextHead(lock); step != Step::none; step = nextHead(lock)) {
            for (; step != Step::none && !isEnding(); step = plan_[step].follower) {
                progress_.current = &plan_[step];
                changed_.notify_all();
                lock.unlock();
                // Its place is made first: when memory runs out, no step that was done is lost.
                std::map<std::size_t, Outcome> done;
                const bool wasBegun = carryOut(work_, plan_[step], done[step]);
                lock.lock();
                if (!wasBegun) {
                    ended_ = true;
                    return;
                }
                waiting_.merge(done);
                ++progress_.completed;
                progress_.worked += plan_[step].isWork() ? 1U : 0U;
                changed_.notify_all();
            }
        }
    }

    /// The next step that follows no other, or none when the batch is over.
    std::size_t nextHead(std::unique_lock<std::mutex>& lock) {
        changed_.wait(lock, [this] { return isEnding() || cursor_ < told_ + furthestAhead; });
        while (!isEnding() && cursor_ < plan_.size()) {
            const std::size_t step = cursor_++;
            if (!plan_[step].follows) {
                return step;
            }
        }
        return Step::none;
    }

    /// Tells of the next step in order when it is done; once no worker is left, gaps are what was never begun.
    bool reportNext(std::unique_lock<std::mutex>& lock) {
        if (waiting_.empty() || (waiting_.begin()->first != told_ && working_ > 0)) {
            return false;
        }
        const auto done = waiting_.extract(waiting_.begin());
        told_ = done.key() + 1;
        changed_.notify_all();
        const Outcome& outcome = done.mapped();
        switch (outcome.status) {
        case Outcome::Status::failed: ++totals_.failed; break;
        case Outcome::Status::skipped: ++totals_.skipped; break;
        default: ++totals_.succeeded; break;
        }
        lock.unlock();
        const bool goOn = observer_.completed(plan_[done.key()], outcome);
        lock.lock();
        ended_ = ended_ || !goOn;
        return true;
    }

    void showProgress(std::unique_lock<std::mutex>& lock) {
        const Step* const shown = progress_.current;
        if (shown != nullptr) {
            BatchProgress progress = progress_;
            progress.elapsed = inMilliseconds(Clock::now() - start_);
            progress.stopping = stop_.stop_requested();
            lock.unlock();
            observer_.progressed(progress);
            lock.lock();
        }
        changed_.wait_for(lock, tick, [this, shown] {
            return progress_.current != shown || working_ == 0 ||
                   (!waiting_.empty() && waiting_.begin()->first == told_);
        });
        if (isEnding()) {
            changed_.notify_all();
        }
    }

    const std::span<const Step> plan_;
    const StepFunction& work_;
    const std::stop_token stop_;
    BatchObserver& observer_;
    const Clock::time_point start_ = Clock::now();

    std::mutex mutex_; ///< guards all below
    std::condition_variable changed_;
    std::map<std::size_t, Outcome> waiting_; ///< done, not yet told of
    std::size_t cursor_ = 0;                 ///< the first step that no worker has looked at
    std::size_t told_ = 0;                   ///< steps before this one have been told of
    std::size_t working_ = 0;                ///< workers
    bool ended_ = false;                     ///< nothing more begins, whether or not `stop_` was requested
    std::exception_ptr failure_;             ///< what broke the batch off
    BatchProgress progress_;
    Totals totals_;
};

} // namespace

Totals runBatch(std::span<const Step> plan, unsigned jobs, const StepFunction& work, const std::stop_token& stop,
                BatchObserver& observer) {
    return Batch(plan, work, stop, observer).run(jobs);
}

} // namespace ovrel::cli
