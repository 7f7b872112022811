#include "tests/conversion/bombs/bomb_bytes.h"

#include <zlib.h>

#include <stdexcept>

namespace ovrel::test {

namespace {

/// RFC 1951 without a head, ended so that more of the kind may follow.
std::string deflated(std::string_view bytes) {
    constexpr int withoutHead = -15;
    constexpr int defaultMemory = 8;
    constexpr std::size_t roomForFlush = 64;
    z_stream stream{};
    if (::deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, withoutHead, defaultMemory, Z_DEFAULT_STRATEGY) !=
        Z_OK) {
        throw std::runtime_error("zlib refuses to write");
    }
    std::string packed(::deflateBound(&stream, bytes.size()) + roomForFlush, '\0');
    stream.next_in = const_cast<Bytef*>(reinterpret_cast<const Bytef*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    const int result = ::deflate(&stream, Z_FULL_FLUSH);
    packed.resize(stream.total_out);
    ::deflateEnd(&stream);
    if (result != Z_OK) {
        throw std::runtime_error("zlib refuses to write");
    }
    return packed;
}

/// RFC 1950, section 8.2: of zero bytes the first sum stays, and each adds it to the second.
std::uint32_t checksumOfZeros(std::uint64_t zeros) {
    constexpr std::uint64_t base = 65521;
    return static_cast<std::uint32_t>((zeros % base) << 16 | 1);
}

} // namespace

std::string repeated(std::string_view text, std::size_t times) {
    std::string all;
    all.reserve(text.size() * times);
    for (std::size_t i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

std::string bigEndianBytes(std::uint64_t value, std::size_t bytes) {
    std::string text;
    for (std::size_t i = bytes; i-- > 0;) {
        text.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
    }
    return text;
}

std::string littleEndianBytes(std::uint64_t value, std::size_t bytes) {
    const std::string text = bigEndianBytes(value, bytes);
    return {text.rbegin(), text.rend()};
}

std::string withBytesBehind(std::string file, std::string_view mark, std::size_t distance, std::string_view bytes) {
    const std::size_t place = file.find(mark);
    if (place == std::string::npos || place + distance + bytes.size() > file.size()) {
        throw std::runtime_error("the file lacks " + std::string(mark));
    }
    return file.replace(place + distance, bytes.size(), bytes);
}

std::string packedZeros(std::uint64_t zeros, std::string_view prefix) {
    constexpr std::size_t blockBytes = std::size_t{1} << 20;
    const std::string head("\x78\xDA", 2);
    const std::string lastEmptyBlock("\x03\x00", 2);
    const auto sum = ::adler32_combine(::adler32_z(1, reinterpret_cast<const Bytef*>(prefix.data()), prefix.size()),
                                       checksumOfZeros(zeros), static_cast<z_off_t>(zeros));
    return head + deflated(prefix) +
           repeated(deflated(std::string(blockBytes, '\0')), static_cast<std::size_t>(zeros / blockBytes)) +
           deflated(std::string(static_cast<std::size_t>(zeros % blockBytes), '\0')) + lastEmptyBlock +
           bigEndianBytes(sum, 4);
}

} // namespace ovrel::test
