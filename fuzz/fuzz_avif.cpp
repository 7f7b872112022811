#include "fuzz/decode.h"
#include "platform/linux/av1_image.h"
#include "platform/linux/decoders.h"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace {

/// A file that must keep to a size, as a banner must.
std::unique_ptr<ovrel::ImageSource> openSmall(ovrel::InputFile file) {
    constexpr ovrel::ImageLimits limits{64, 64};
    std::optional<std::vector<std::uint8_t>> bytes = file.readAll();
    return bytes ? ovrel::openAvifWithin(limits, std::move(*bytes)) : nullptr;
}

/// A file that goes by a more general brand.
std::unique_ptr<ovrel::ImageSource> openGeneral(ovrel::InputFile file) {
    std::optional<std::vector<std::uint8_t>> bytes = file.readAll();
    return bytes ? ovrel::openAv1Image(std::move(*bytes)) : nullptr;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    ovrel::fuzz::decode(bytes, count, ovrel::openAvif, false);
    ovrel::fuzz::decode(bytes, count, openSmall, false);
    ovrel::fuzz::decode(bytes, count, openGeneral, false);
    return 0;
}
