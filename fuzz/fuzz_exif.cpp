#include "platform/linux/exif_orientation.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    const std::uint8_t orientation = ovrel::exifOrientation({bytes, count});
    if (orientation < 1 || orientation > 8) {
        std::abort();
    }
    return 0;
}
