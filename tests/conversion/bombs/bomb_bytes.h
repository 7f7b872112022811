/// \file bomb_bytes.h
/// Pieces of files that no encoder writes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ovrel::test {

/// `text` written `times` times.
std::string repeated(std::string_view text, std::size_t times);

/// The lowest `bytes` bytes of a number, the highest first.
std::string bigEndianBytes(std::uint64_t value, std::size_t bytes);

/// The lowest `bytes` bytes of a number, the lowest first.
std::string littleEndianBytes(std::uint64_t value, std::size_t bytes);

/// `file` with other bytes at the first place of `mark`; throws where that is missing.
/// \param distance from the begin of `mark`
std::string withBytesBehind(std::string file, std::string_view mark, std::size_t distance, std::string_view bytes);

/// A zlib stream (RFC 1950) of `prefix` and `zeros` zero bytes: a thousandth of their number, packed at once.
std::string packedZeros(std::uint64_t zeros, std::string_view prefix = {});

} // namespace ovrel::test
