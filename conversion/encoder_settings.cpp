#include "conversion/encoder_settings.h"

#include "platform/programming_fault.h"

#include <algorithm>
#include <cmath>

namespace ovrel {

std::int32_t encoderQuality(double quality) {
    constexpr double percent = 100.0;
    constexpr double beyond64Bits = 0x1p63;
    const double rounded = std::round(quality * percent);
    if (!(rounded >= -beyond64Bits && rounded < beyond64Bits)) {
        programmingFault("the quality is no number that fits 64 bits");
    }
    return static_cast<std::int32_t>(std::clamp(rounded, 0.0, percent));
}

} // namespace ovrel
