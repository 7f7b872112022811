/// \file memory_share.h
/// Keeps conversions that run at once from promising themselves the same memory.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <stop_token>

namespace ovrel {

/// What one conversion will need, set aside for as long as this lives.
class MemoryShare {
public:
    /// Waits until `bytes` fit beside all other shares of the process, or until there is no other: a conversion that
    /// is alone is never kept from trying. Any thread, one share a thread.
    /// \param fits whether so many bytes are left; asked by one thread at a time. What others have taken of their
    /// shares already counts twice, so now and then this waits for memory that would have sufficed.
    /// \param stop ends the waiting
    /// \throws NotBegun when it would have to wait, or go on waiting, after `stop` was requested
    MemoryShare(std::uint64_t bytes, const std::function<bool(std::uint64_t)>& fits, const std::stop_token& stop = {});
    ~MemoryShare();
    MemoryShare(const MemoryShare&) = delete;
    MemoryShare& operator=(const MemoryShare&) = delete;

    /// How long others kept it waiting; 0 when they did not.
    std::chrono::steady_clock::duration waited() const { return waited_; }

private:
    std::uint64_t bytes_ = 0;
    std::chrono::steady_clock::duration waited_{0};
};

} // namespace ovrel
