/// \file base64.h
/// Keys and signatures as text.
#pragma once

#include <QStringView>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace ovrel {

/// Decodes standard base64 with its padding (RFC 4648, section 4) into all of `bytes`. White space around the text is
/// ignored, inside it is not; bits that no byte uses must be zero.
/// \return false when `text` is anything else or of another size; `bytes` is undefined then
bool decodeStrictBase64(QStringView text, std::span<std::uint8_t> bytes);

/// \return nothing unless `text` stands for exactly `Size` bytes
template <std::size_t Size>
std::optional<std::array<std::uint8_t, Size>> fromStrictBase64(QStringView text) {
    std::array<std::uint8_t, Size> bytes{};
    return decodeStrictBase64(text, bytes) ? std::optional(bytes) : std::nullopt;
}

} // namespace ovrel
