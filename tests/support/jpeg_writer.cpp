#include "tests/support/jpeg_writer.h"

#include <cstdio> // jpeglib.h needs it

#include <jpeglib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

namespace ovrel::test {

namespace {

J_COLOR_SPACE storedColors(JpegColors colors) {
    switch (colors) {
    case JpegColors::gray: return JCS_GRAYSCALE;
    case JpegColors::yCbCr: return JCS_YCbCr;
    case JpegColors::rgb: return JCS_RGB;
    case JpegColors::cmyk: return JCS_CMYK;
    case JpegColors::ycck: return JCS_YCCK;
    }
    return JCS_UNKNOWN;
}

/// One scan with all coefficients of each component.
std::vector<jpeg_scan_info> scansOfComponents(int components) {
    std::vector<jpeg_scan_info> scans;
    for (int component = 0; component < components; ++component) {
        scans.push_back({1, {component}, 0, DCTSIZE2 - 1, 0, 0});
    }
    return scans;
}

void applyOptions(jpeg_compress_struct& info, const JpegOptions& options) {
    jpeg_set_defaults(&info);
    jpeg_set_colorspace(&info, storedColors(options.colors));
    jpeg_set_quality(&info, options.quality, TRUE);
    info.comp_info[0].h_samp_factor = options.horizontalSubsampling;
    info.comp_info[0].v_samp_factor = options.verticalSubsampling;
    if (options.colors == JpegColors::ycck) { // Black is stored as fine as the luminance.
        info.comp_info[3].h_samp_factor = options.horizontalSubsampling;
        info.comp_info[3].v_samp_factor = options.verticalSubsampling;
    }
    if (options.colors == JpegColors::cmyk) {
        info.write_Adobe_marker = options.adobe ? TRUE : FALSE;
    }
    info.arith_code = options.arithmetic ? TRUE : FALSE;
    info.restart_interval = options.restartInterval;
    if (options.progressive) {
        jpeg_simple_progression(&info);
    }
}

void writeMarkers(jpeg_compress_struct& info, const JpegOptions& options) {
    const auto bytesOf = [](const std::string& text) { return reinterpret_cast<const JOCTET*>(text.data()); };
    if (!options.exif.empty()) {
        const std::string block = std::string("Exif\0\0", 6) + options.exif;
        jpeg_write_marker(&info, JPEG_APP0 + 1, bytesOf(block), static_cast<unsigned>(block.size()));
    }
    if (!options.profile.empty()) {
        jpeg_write_icc_profile(&info, bytesOf(options.profile), static_cast<unsigned>(options.profile.size()));
    }
}

} // namespace

std::string writeJpeg(const Image& image, const JpegOptions& options) {
    const bool inks = image.layout == PixelLayout::cmyk8;
    const bool inverted = inks && (options.adobe || options.colors == JpegColors::ycck);
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &bytes, &size);
    info.image_width = image.width;
    info.image_height = image.height;
    info.input_components = 4;
    info.in_color_space = inks ? JCS_CMYK : JCS_EXT_RGBX;
    applyOptions(info, options);
    const std::vector<jpeg_scan_info> scans = scansOfComponents(info.num_components);
    if (options.scanForEachComponent) {
        info.scan_info = scans.data();
        info.num_scans = static_cast<int>(scans.size());
    }
    jpeg_start_compress(&info, TRUE);
    writeMarkers(info, options);
    std::vector<std::uint8_t> row(image.bytesPerRow());
    for (std::uint32_t y = 0; y < image.height; ++y) {
        std::transform(image.row(y), image.row(y) + row.size(), row.begin(), [&](std::uint8_t sample) {
            return inverted ? static_cast<std::uint8_t>(255 - sample) : sample;
        });
        std::array<JSAMPROW, 1> rows{row.data()};
        jpeg_write_scanlines(&info, rows.data(), 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    const std::unique_ptr<unsigned char, decltype(&std::free)> owned(bytes, &std::free);
    return {reinterpret_cast<const char*>(owned.get()), size};
}

std::string jpegSegment(std::uint8_t marker, std::string_view content) {
    const std::size_t length = content.size() + 2; // ITU-T T.81, annex B.1.1.4: the length counts itself
    std::string segment("\xFF");
    for (const std::size_t byte : {std::size_t{marker}, length >> 8, length & 0xFF}) {
        segment.push_back(static_cast<char>(byte));
    }
    return segment.append(content);
}

std::string withSegments(std::string file, std::string_view segments) {
    return file.insert(2, segments);
}

} // namespace ovrel::test
