#include "tests/support/webp_writer.h"

#include <webp/encode.h>
#include <webp/mux.h>

#include <memory>
#include <stdexcept>

namespace ovrel::test {

namespace {

struct MuxDeleter {
    void operator()(WebPMux* mux) const noexcept { WebPMuxDelete(mux); }
};
using Mux = std::unique_ptr<WebPMux, MuxDeleter>;

void require(bool done) {
    if (!done) {
        throw std::runtime_error("libwebp refuses to write");
    }
}

WebPData dataOf(const std::string& bytes) {
    return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
}

std::string encoded(const Image& image, std::optional<float> lossyQuality) {
    WebPConfig config;
    require(WebPConfigInit(&config));
    config.lossless = lossyQuality ? 0 : 1;
    config.exact = 1;
    config.quality = lossyQuality.value_or(0);
    WebPPicture picture;
    require(WebPPictureInit(&picture));
    picture.use_argb = config.lossless;
    picture.width = static_cast<int>(image.width);
    picture.height = static_cast<int>(image.height);
    WebPMemoryWriter writer;
    WebPMemoryWriterInit(&writer);
    picture.writer = WebPMemoryWrite;
    picture.custom_ptr = &writer;
    const bool done =
        WebPPictureImportRGBA(&picture, image.samples.data(), static_cast<int>(image.bytesPerRow())) != 0 &&
        WebPEncode(&config, &picture) != 0;
    WebPPictureFree(&picture);
    std::string bytes(reinterpret_cast<const char*>(writer.mem), done ? writer.size : 0);
    WebPMemoryWriterClear(&writer);
    require(done);
    return bytes;
}

std::string assembled(const Mux& mux, const WebpMetadata& metadata) {
    constexpr int copies = 1;
    if (!metadata.exif.empty()) {
        const WebPData exif = dataOf(metadata.exif);
        require(WebPMuxSetChunk(mux.get(), "EXIF", &exif, copies) == WEBP_MUX_OK);
    }
    if (!metadata.icc.empty()) {
        const WebPData icc = dataOf(metadata.icc);
        require(WebPMuxSetChunk(mux.get(), "ICCP", &icc, copies) == WEBP_MUX_OK);
    }
    WebPData file;
    require(WebPMuxAssemble(mux.get(), &file) == WEBP_MUX_OK);
    std::string bytes(reinterpret_cast<const char*>(file.bytes), file.size);
    WebPDataClear(&file);
    return bytes;
}

} // namespace

std::string writeWebp(const Image& image, const WebpMetadata& metadata, std::optional<float> lossyQuality) {
    std::string still = encoded(image, lossyQuality);
    if (metadata.exif.empty() && metadata.icc.empty()) {
        return still;
    }
    const WebPData data = dataOf(still);
    return assembled(Mux(WebPMuxCreate(&data, 1)), metadata);
}

std::string writeWebpAnimation(const WebpAnimation& animation) {
    const Mux mux(WebPMuxNew());
    for (const WebpFrameBlock& block : animation.frames) {
        WebPMuxFrameInfo frame{};
        frame.bitstream = dataOf(block.still);
        frame.id = WEBP_CHUNK_ANMF;
        frame.x_offset = block.left;
        frame.y_offset = block.top;
        frame.duration = block.milliseconds;
        frame.dispose_method = block.isClearedAfter ? WEBP_MUX_DISPOSE_BACKGROUND : WEBP_MUX_DISPOSE_NONE;
        frame.blend_method = block.blends ? WEBP_MUX_BLEND : WEBP_MUX_NO_BLEND;
        require(WebPMuxPushFrame(mux.get(), &frame, 1) == WEBP_MUX_OK);
    }
    const WebPMuxAnimParams parameters{animation.backgroundColor, animation.loops};
    require(WebPMuxSetAnimationParams(mux.get(), &parameters) == WEBP_MUX_OK);
    require(WebPMuxSetCanvasSize(mux.get(), animation.width, animation.height) == WEBP_MUX_OK);
    return assembled(mux, animation.metadata);
}

} // namespace ovrel::test
