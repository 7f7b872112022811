#include "fuzz/decode.h"

#include "platform/bitmap.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <optional>
#include <utility>

namespace ovrel::fuzz {

namespace {

constexpr std::uint64_t mostPixels = std::uint64_t{1} << 21;
constexpr std::size_t mostImages = 8;

InputFile fileInMemory(const std::uint8_t* bytes, std::size_t count) {
    const int descriptor = ::memfd_create("fuzz", MFD_CLOEXEC);
    if (descriptor < 0 || ::write(descriptor, bytes, count) != static_cast<ssize_t>(count)) {
        std::abort();
    }
    return InputFile(descriptor);
}

/// A picture must be as large as its own fields say, or the next step would read outside it.
void requireWhole(const Image& image) {
    if (image.width == 0 || image.height == 0 || image.samples.size() < image.height * image.bytesPerRow()) {
        std::abort();
    }
}

void decodeAll(const std::unique_ptr<ImageSource>& source, bool draw) {
    if (!source) {
        return;
    }
    (void)source->gifLoopCount();
    for (std::size_t index = 0; index < std::min(source->count(), mostImages); ++index) {
        const ImageProperties properties = source->properties(index);
        if (std::uint64_t{properties.pixelWidth} * properties.pixelHeight > mostPixels) {
            return;
        }
        std::optional<Image> image = source->decode(index);
        if (image) {
            requireWhole(*image);
            if (draw) {
                (void)Bitmap::draw(std::move(*image));
            }
        }
    }
}

} // namespace

void decode(const std::uint8_t* bytes, std::size_t count,
            const std::function<std::unique_ptr<ImageSource>(InputFile)>& open, bool draw) {
    try {
        decodeAll(open(fileInMemory(bytes, count)), draw);
    } catch (const std::bad_alloc&) {
        return; // what does not fit into memory is refused, which is no find
    }
}

} // namespace ovrel::fuzz
