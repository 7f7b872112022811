/// \file outcome.h
/// The encoder's functions with a buffer as its callers have it.
#pragma once

#include "encoder/avif_encoder.h"
#include "tests/encoder/pictures.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <string>

namespace ovrel::test {

/// The caller's buffer, which shows whether it was written to.
class Message {
public:
    Message() { buffer_.fill(untouched); }

    char* data() { return buffer_.data(); }
    std::size_t capacity() const { return buffer_.size(); }

    /// The text, or "untouched".
    std::string text() const {
        const bool isUntouched =
            std::all_of(buffer_.begin(), buffer_.end(), [](char byte) { return byte == untouched; });
        return isUntouched ? "untouched" : std::string(buffer_.data());
    }

private:
    static constexpr char untouched = '~';
    std::array<char, 512> buffer_{};
};

/// "written", with the buffer untouched, or the message of the failure.
inline std::string outcome(bool result, const Message& message) {
    if (result) {
        return message.text() == "untouched" ? "written" : "written, but also: " + message.text();
    }
    return message.text();
}

inline std::string encodeStill(const Picture& picture, const std::filesystem::path& file, std::int32_t quality = 50,
                               std::int32_t speed = 10) {
    Message message;
    return outcome(encode_avif_rgba(picture.pixels.data(), picture.width, picture.height, quality, speed, file.c_str(),
                                    message.data(), message.capacity()),
                   message);
}

inline std::string addFrame(avif_sequence* sequence, const Picture& picture, std::uint64_t duration) {
    Message message;
    return outcome(avif_sequence_add(sequence, picture.pixels.data(), picture.width, picture.height, duration,
                                     message.data(), message.capacity()),
                   message);
}

inline std::string finish(avif_sequence* sequence, const std::filesystem::path& file) {
    Message message;
    return outcome(avif_sequence_finish(sequence, file.c_str(), message.data(), message.capacity()), message);
}

} // namespace ovrel::test
