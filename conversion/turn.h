/// \file turn.h
/// One conversion among others that run at once.
#pragma once

#include <chrono>
#include <exception>
#include <stop_token>

namespace ovrel {

/// What a conversion hears and tells while it waits for memory that others have set aside.
struct Turn {
    std::stop_token stop; ///< once requested, a conversion that would have to wait does not begin
    std::chrono::steady_clock::duration waited{0}; ///< set by the conversion; 0 when nothing kept it waiting
};

/// The conversion would have had to wait after it was told to stop. It has decoded and written nothing.
class NotBegun : public std::exception {
public:
    const char* what() const noexcept override { return "stopped before its turn"; }
};

} // namespace ovrel
