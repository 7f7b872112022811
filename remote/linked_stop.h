/// \file linked_stop.h
/// A stop that others can bring about, too.
#pragma once

#include <functional>
#include <stop_token>

namespace ovrel {

/// Requests a stop through a copy of its own: what ends by the stop may be the owner of the original.
// NOLINTNEXTLINE(performance-unnecessary-value-param): that is what the copy is for
inline void requestStop(std::stop_source source) {
    source.request_stop();
}

/// A stop of its own that also comes when another one does, as long as this lives. Not thread-safe but for what
/// std::stop_source is.
class LinkedStop {
public:
    explicit LinkedStop(const std::stop_token& other) : follow_(other, [source = source_] { requestStop(source); }) {}

    /// For those who may request it.
    const std::stop_source& source() const { return source_; }
    std::stop_token token() const { return source_.get_token(); }
    bool isRequested() const { return source_.stop_requested(); }

private:
    std::stop_source source_;
    std::stop_callback<std::function<void()>> follow_;
};

} // namespace ovrel
