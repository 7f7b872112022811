/// \file banner_error.h
/// Why settings or a banner could not be had from the publisher. Never shown: without them there is no banner.
#pragma once

#include <cstddef>
#include <exception>
#include <functional>

namespace ovrel {

/// Thrown by everything in this folder, beside TransportError. A value; comparable, hashable.
class BannerError final : public std::exception {
public:
    enum Case {
        invalid,  ///< an address, a file's content or an image failed a check
        tooLarge, ///< the body is, or announces that it will be, longer than the limit
        response, ///< the answer is not one with status 200 from an allowed address
    };

    // NOLINTNEXTLINE(google-explicit-constructor): a case is an error
    BannerError(Case value) noexcept : case_(value) {}
    operator Case() const noexcept { return case_; }

    /// For logs only.
    const char* what() const noexcept override;

private:
    Case case_;
};

} // namespace ovrel

template <>
struct std::hash<ovrel::BannerError> {
    std::size_t operator()(const ovrel::BannerError& error) const noexcept {
        return std::hash<int>()(static_cast<ovrel::BannerError::Case>(error));
    }
};
