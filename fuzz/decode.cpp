#include "fuzz/decode.h"

#include "fuzz/require.h"
#include "platform/bitmap.h"
#include "tests/support/memory_file.h"

#include <algorithm>
#include <new>
#include <optional>
#include <utility>

namespace ovrel::fuzz {

namespace {

constexpr std::uint64_t mostPixels = std::uint64_t{1} << 21;
constexpr std::size_t mostImages = 8;

/// A picture must be as large as its own fields say, or the next step would read outside it.
void requireWhole(const Image& image) {
    require(image.width > 0 && image.height > 0 && image.samples.size() >= image.height * image.bytesPerRow());
}

/// \return whether the picture was small enough to be looked at
bool decodeOne(ImageSource& source, std::size_t index, bool draw) {
    const ImageProperties properties = source.properties(index);
    if (std::uint64_t{properties.pixelWidth} * properties.pixelHeight > mostPixels) {
        return false;
    }
    std::optional<Image> image = source.decode(index);
    if (image) {
        requireWhole(*image);
        if (draw) {
            (void)Bitmap::draw(std::move(*image));
        }
    }
    return true;
}

void decodeAll(ImageSource& source, bool draw) {
    (void)source.format();
    (void)source.gifLoopCount();
    std::size_t index = 0;
    while (index < std::min(source.count(), mostImages) && decodeOne(source, index, draw)) {
        ++index;
    }
    if (index > 1) {
        decodeOne(source, 0, draw); // going back, frames that build upon others begin anew
    }
}

} // namespace

void decode(const std::uint8_t* bytes, std::size_t count,
            const std::function<std::unique_ptr<ImageSource>(InputFile)>& open, bool draw) {
    try {
        if (const std::unique_ptr<ImageSource> source =
                open(test::memoryFile({reinterpret_cast<const char*>(bytes), count}))) {
            decodeAll(*source, draw);
        }
    } catch (const std::bad_alloc&) {
        return; // what does not fit into memory is refused, which is no find
    }
}

} // namespace ovrel::fuzz
