#include "fuzz/require.h"
#include "platform/linux/exif_orientation.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    const std::uint8_t orientation = ovrel::exifOrientation({bytes, count});
    ovrel::fuzz::require(orientation >= 1 && orientation <= 8);
    return 0;
}
