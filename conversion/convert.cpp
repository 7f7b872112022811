#include "conversion/convert.h"

#include "conversion/animation.h"
#include "conversion/errors.h"
#include "conversion/memory_share.h"
#include "conversion/publish.h"
#include "conversion/still.h"
#include "platform/temporary_file.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <utility>

namespace ovrel {

namespace {

namespace fs = std::filesystem;

/// What a picture needs while it is encoded, all buffers together, measured with libaom 3.14: one of a single colour
/// takes 17 bytes a pixel, a photograph 27 to 43. With the least a size may still fit, so it decides what is refused;
/// the most is set aside where others run beside it.
constexpr std::uint64_t leastBytesPerPixel = 17;
constexpr std::uint64_t mostBytesPerPixel = 43;

/// Lets `write` fill a hidden file and publishes it.
template <typename Write>
fs::path publishWritten(const InputItem& item, const fs::path& output, const Services& services, const Write& write) {
    const fs::path folder = resultFolder(item, output);
    services.files->createDirectories(folder);
    const TemporaryFile temporary(folder);
    write(temporary.path());
    return publish(*services.files, temporary.path(), item, folder);
}

std::uint64_t bytesFor(const ImageProperties& properties, std::uint64_t bytesPerPixel) {
    const std::uint64_t pixels = std::uint64_t{properties.pixelWidth} * properties.pixelHeight;
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    return pixels > most / bytesPerPixel ? most : pixels * bytesPerPixel;
}

/// Tells a header that claims more than the machine has before anything is decoded.
bool fitsIntoMemory(const ImageProperties& properties, const Services& services) {
    return services.fitsIntoMemory(bytesFor(properties, leastBytesPerPixel));
}

/// The first image of `source`, upright.
Image decodeStill(ImageSource& source, const Services& services) {
    const ImageProperties properties = source.properties(0);
    if (std::max(properties.pixelWidth, properties.pixelHeight) < 1) {
        throw damagedImageError();
    }
    if (!fitsIntoMemory(properties, services)) {
        throw memoryError();
    }
    std::optional<Image> image = source.decode(0);
    if (!image) {
        throw damagedImageError();
    }
    return std::move(*image);
}

ConversionResult convertChecked(const InputItem& item, const fs::path& output, double quality, EncodingMode mode,
                                int speed, const Services& services, Turn& turn) {
    if (item.isAVIF()) {
        fs::path file = publishWritten(
            item, output, services, [&](const fs::path& temporary) { services.files->copyFile(item.url, temporary); });
        return {std::move(file), false}; // a copy could lack memory when the file stands already
    }
    const bool withSystem = mode == EncodingMode::system && !item.isGIF();
    if (withSystem && !canWriteAvif(services)) {
        throw ConversionError("Эта версия macOS не поддерживает запись AVIF. Требуется macOS 26 или новее.",
                              "This version of macOS cannot write AVIF files. macOS 26 or later is required.");
    }
    std::unique_ptr<ImageSource> source = services.openImage(item.url);
    if (!source) {
        throw unreadableImageError();
    }
    const MemoryShare share(bytesFor(source->properties(0), mostBytesPerPixel), services.fitsIntoMemory, turn.stop);
    turn.waited = share.waited();
    const bool multiImage = source->count() > 1;
    if (item.isGIF() && multiImage) {
        if (!fitsIntoMemory(source->properties(0), services)) {
            throw framePreparationError("1");
        }
        fs::path file = publishWritten(
            item, output, services, [&](const fs::path& temporary) { encodeGIF(*source, temporary, quality, speed); });
        return {std::move(file), true};
    }
    Image image = decodeStill(*source, services);
    source.reset(); // it may hold the whole file and canvases, for which nothing is set aside while encoding
    fs::path file = publishWritten(item, output, services, [&](const fs::path& temporary) {
        if (withSystem) {
            encodeWithSystem(std::move(image), temporary, quality, services);
        } else {
            encodeCompact(std::move(image), temporary, quality, speed);
        }
    });
    return {std::move(file), multiImage};
}

} // namespace

bool canWriteAvif(const Services& services) {
    const std::vector<std::string> types = services.writableTypes();
    return std::find(types.begin(), types.end(), ImageDestination::avifType) != types.end();
}

ConversionResult convertItem(const InputItem& item, const fs::path& output, double quality, EncodingMode mode,
                             int speed, const Services& services, Turn& turn) {
    try {
        return convertChecked(item, output, quality, mode, speed, services, turn);
    } catch (const std::bad_alloc&) {
        throw memoryError();
    }
}

bool Converter::supported() {
    return canWriteAvif({});
}

ConversionResult Converter::convert(const InputItem& item, const fs::path& output, double quality, EncodingMode mode,
                                    int speed) {
    Turn turn;
    return convertItem(item, output, quality, mode, speed, {}, turn);
}

} // namespace ovrel
