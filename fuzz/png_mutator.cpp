#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <span>

/// libFuzzer's own mutations.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* bytes, std::size_t count, std::size_t most);

namespace {

std::uint32_t bigEndian(std::span<const std::uint8_t> bytes) {
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 | bytes[3];
}

/// PNG, third edition, section 5.3: length, type, content, CRC of type and content. Ends at a chunk that does not fit.
void mendChecksums(std::span<std::uint8_t> file) {
    constexpr std::size_t signatureBytes = 8;
    constexpr std::size_t fieldBytes = 4;
    std::span<std::uint8_t> rest = file.subspan(file.size() < signatureBytes ? file.size() : signatureBytes);
    while (rest.size() >= 3 * fieldBytes) {
        const std::size_t length = bigEndian(rest);
        if (length > rest.size() - 3 * fieldBytes) {
            return;
        }
        const std::span<std::uint8_t> checked = rest.subspan(fieldBytes, fieldBytes + length);
        rest = rest.subspan(fieldBytes + checked.size());
        const uLong checksum = ::crc32_z(0, checked.data(), checked.size());
        for (std::size_t i = 0; i < fieldBytes; ++i) {
            rest[i] = static_cast<std::uint8_t>(checksum >> (24 - 8 * i));
        }
        rest = rest.subspan(fieldBytes);
    }
}

} // namespace

/// Without right checksums hardly any mutation would come past the first chunk. Some inputs keep wrong ones.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* bytes, std::size_t count, std::size_t most,
                                               unsigned seed) {
    constexpr unsigned oneInSoManyStaysWrong = 32;
    const std::size_t mutated = LLVMFuzzerMutate(bytes, count, most);
    if (seed % oneInSoManyStaysWrong != 0) {
        mendChecksums({bytes, mutated});
    }
    return mutated;
}
