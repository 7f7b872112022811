#include "fuzz/decode.h"
#include "platform/linux/decoders.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    ovrel::fuzz::decode(bytes, count, ovrel::openImage, true);
    return 0;
}
