#include "conversion/memory_share.h"

#include "conversion/turn.h"

#include <condition_variable>
#include <cstddef>
#include <limits>
#include <mutex>

namespace ovrel {

namespace {

struct Shares {
    std::mutex mutex; ///< guards the numbers
    std::condition_variable_any returned;
    std::size_t count = 0;
    std::uint64_t bytes = 0;
};

Shares& shares() {
    static Shares all;
    return all;
}

std::uint64_t sum(std::uint64_t a, std::uint64_t b) {
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    return a > most - b ? most : a + b;
}

} // namespace

MemoryShare::MemoryShare(std::uint64_t bytes, const std::function<bool(std::uint64_t)>& fits,
                         const std::stop_token& stop) {
    Shares& all = shares();
    const auto fitsNow = [&] { return all.count == 0 || fits(sum(all.bytes, bytes)); };
    const auto start = std::chrono::steady_clock::now();
    std::unique_lock lock(all.mutex);
    if (!fitsNow()) {
        if (!all.returned.wait(lock, stop, fitsNow)) {
            throw NotBegun();
        }
        waited_ = std::chrono::steady_clock::now() - start;
    }
    bytes_ = sum(all.bytes, bytes) - all.bytes;
    all.bytes += bytes_;
    ++all.count;
}

MemoryShare::~MemoryShare() {
    Shares& all = shares();
    {
        const std::lock_guard lock(all.mutex);
        all.bytes -= bytes_;
        --all.count;
    }
    all.returned.notify_all();
}

} // namespace ovrel
