#include "platform/image_source.h"

#include "platform/linux/decoders.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace ovrel {

namespace {

constexpr std::size_t headBytes = 512;

bool startsWith(std::span<const std::uint8_t> head, std::string_view magic, std::size_t offset = 0) {
    return head.size() >= offset + magic.size() &&
           std::equal(magic.begin(), magic.end(), head.begin() + static_cast<std::ptrdiff_t>(offset),
                      [](char expected, std::uint8_t found) { return static_cast<std::uint8_t>(expected) == found; });
}

/// ISO/IEC 14496-12, section 4.3: size, "ftyp", the major brand, a version, then the compatible brands.
std::optional<ImageFormat> formatOfBrands(std::span<const std::uint8_t> head) {
    constexpr std::size_t brandBytes = 4;
    constexpr std::size_t majorBrandOffset = 8;
    constexpr std::size_t firstCompatibleBrandOffset = 16;
    const std::size_t boxBytes =
        std::size_t{head[0]} << 24 | std::size_t{head[1]} << 16 | std::size_t{head[2]} << 8 | head[3];
    const std::size_t end = std::min(boxBytes, head.size());
    bool heif = false;
    const auto looksAt = [&](std::size_t offset) {
        heif = heif || startsWith(head, "mif1", offset) || startsWith(head, "msf1", offset) ||
               startsWith(head, "hei", offset) || startsWith(head, "hev", offset);
        return startsWith(head, "avif", offset) || startsWith(head, "avis", offset);
    };
    if (looksAt(majorBrandOffset)) {
        return ImageFormat::avif;
    }
    for (std::size_t offset = firstCompatibleBrandOffset; offset + brandBytes <= end; offset += brandBytes) {
        if (looksAt(offset)) {
            return ImageFormat::avif;
        }
    }
    return heif ? std::optional(ImageFormat::heif) : std::nullopt;
}

/// A file of a known format whose header is damaged: one image of unknown size.
class DamagedSource final : public ImageSource {
public:
    explicit DamagedSource(ImageFormat format) : format_(format) {}

    ImageFormat format() const override { return format_; }
    std::size_t count() const override { return 1; }
    ImageProperties properties(std::size_t) const override { return {}; }
    std::optional<Image> decode(std::size_t) override { return std::nullopt; }

private:
    ImageFormat format_;
};

std::unique_ptr<ImageSource> openAs(ImageFormat format, InputFile file) {
    switch (format) {
    case ImageFormat::jpeg: return openJpeg(std::move(file));
    case ImageFormat::png: return openPng(std::move(file));
    case ImageFormat::webp: return openWebp(std::move(file));
    case ImageFormat::gif: return openGif(std::move(file));
    case ImageFormat::avif: return openAvif(std::move(file));
    case ImageFormat::heif: return openHeif(std::move(file));
    }
    return nullptr;
}

} // namespace

std::optional<ImageFormat> formatOf(std::span<const std::uint8_t> head) {
    using namespace std::string_view_literals;
    if (startsWith(head, "\xFF\xD8\xFF"sv)) { // ITU-T T.81, annex B: SOI and the first byte of the next marker
        return ImageFormat::jpeg;
    }
    if (startsWith(head, "\x89PNG\r\n\x1A\n"sv)) { // PNG, third edition, section 5.2
        return ImageFormat::png;
    }
    if (startsWith(head, "GIF87a"sv) || startsWith(head, "GIF89a"sv)) { // GIF89a, section 17
        return ImageFormat::gif;
    }
    if (startsWith(head, "RIFF"sv) && startsWith(head, "WEBP"sv, 8)) { // RFC 9649, section 2.4
        return ImageFormat::webp;
    }
    if (startsWith(head, "ftyp"sv, 4)) {
        return formatOfBrands(head);
    }
    return std::nullopt;
}

std::unique_ptr<ImageSource> openImage(InputFile file) {
    std::array<std::uint8_t, headBytes> head{};
    const std::size_t count = file.readAt(0, head);
    const std::optional<ImageFormat> format = formatOf(std::span(head).first(count));
    if (!format) {
        return nullptr;
    }
    std::unique_ptr<ImageSource> source = file.size() <= maximumFileBytes ? openAs(*format, std::move(file)) : nullptr;
    if (!source) {
        source = std::make_unique<DamagedSource>(*format);
    }
    return source;
}

std::unique_ptr<ImageSource> ImageSource::open(const std::filesystem::path& file) {
    std::optional<InputFile> opened = InputFile::open(file);
    if (!opened) {
        return nullptr;
    }
    return openImage(std::move(*opened));
}

std::unique_ptr<ImageSource> ImageSource::avifFromMemory(std::span<const std::uint8_t> bytes, ImageLimits limits) {
    if (formatOf(bytes.first(std::min(bytes.size(), headBytes))) != ImageFormat::avif) {
        return nullptr;
    }
    return openAvifWithin(limits, {bytes.begin(), bytes.end()});
}

} // namespace ovrel
