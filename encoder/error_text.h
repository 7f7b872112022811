/// \file error_text.h
/// The text of a failure in the caller's buffer.
#pragma once

#include <avif/avif.h>

#include <cstddef>

namespace ovrel {

/// The caller's buffer. A text that is too long is cut; a capacity of 0 takes none.
struct ErrorText {
    char* buffer = nullptr;
    std::size_t capacity = 0; ///< bytes, with the terminating NUL

    /// \return false, so that a function that fails can end with it
    bool fail(const char* text) const;

    /// Names the failure of libavif with what the encoder says of it.
    /// \return false
    bool fail(avifResult result, const avifEncoder& encoder) const;
};

} // namespace ovrel
