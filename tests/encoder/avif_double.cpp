#include "tests/encoder/avif_double.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace ovrel::test {

namespace {

AvifDouble* current = nullptr;

AvifDouble& avifDouble() {
    if (current == nullptr) {
        throw std::logic_error("libavif is called outside of a test");
    }
    return *current;
}

void release(const void* object) {
    AvifDouble& state = avifDouble();
    const auto found = state.alive.find(object);
    if (found == state.alive.end()) {
        ADD_FAILURE() << "released twice, or never created";
        return;
    }
    state.alive.erase(found);
}

avifResult giveOutput(avifRWData* output) {
    AvifDouble& state = avifDouble();
    EXPECT_EQ(output->data, nullptr);
    EXPECT_EQ(output->size, 0U);
    output->data = new std::uint8_t[state.output.size()];
    output->size = state.output.size();
    std::copy(state.output.begin(), state.output.end(), output->data);
    state.alive.insert(output->data);
    return AVIF_RESULT_OK;
}

/// A sample that stands for the first of a plane.
std::uint8_t plane = 0;

// New objects hold values that the encoder never chooses, so that a field which it sets is seen to change.

avifEncoder encoderDefaults() {
    avifEncoder encoder{};
    encoder.codecChoice = AVIF_CODEC_CHOICE_AUTO;
    encoder.maxThreads = -3;
    encoder.speed = -4;
    encoder.keyframeInterval = 5;
    encoder.timescale = 6;
    encoder.repetitionCount = 7;
    encoder.extraLayerCount = 8;
    encoder.quality = -9;
    encoder.qualityAlpha = -10;
    encoder.minQuantizer = 11;
    encoder.maxQuantizer = 12;
    encoder.minQuantizerAlpha = 13;
    encoder.maxQuantizerAlpha = 14;
    encoder.tileRowsLog2 = 2;
    encoder.tileColsLog2 = 3;
    encoder.autoTiling = AVIF_TRUE;
    encoder.scalingMode = {{1, 2}, {3, 4}};
    return encoder;
}

avifRGBImage sourceDefaults() {
    avifRGBImage source{};
    source.depth = 8;
    source.format = AVIF_RGB_FORMAT_BGR;
    source.chromaUpsampling = AVIF_CHROMA_UPSAMPLING_NEAREST;
    source.chromaDownsampling = AVIF_CHROMA_DOWNSAMPLING_BEST_QUALITY;
    source.avoidLibYUV = AVIF_TRUE;
    source.maxThreads = 9;
    return source;
}

avifImage imageDefaults() {
    avifImage image{};
    image.colorPrimaries = AVIF_COLOR_PRIMARIES_UNSPECIFIED;
    image.transferCharacteristics = AVIF_TRANSFER_CHARACTERISTICS_UNSPECIFIED;
    image.matrixCoefficients = AVIF_MATRIX_COEFFICIENTS_UNSPECIFIED;
    image.yuvRange = AVIF_RANGE_LIMITED;
    image.alphaPremultiplied = AVIF_TRUE;
    return image;
}

/// Names the fields of one object that hold other values than those of another.
template <typename Object>
class Differences {
public:
    Differences(const Object& object, const Object& usual) : object_(object), usual_(usual) {}

    template <typename Field>
    void in(const char* name, Field Object::*field) {
        in(name, [field](const Object& object) { return object.*field; });
    }
    template <typename Value>
    void in(const char* name, Value valueOf) {
        if (valueOf(object_) != valueOf(usual_)) {
            found_.push_back(name + ("=" + std::to_string(valueOf(object_))));
        }
    }

    const std::vector<std::string>& found() const { return found_; }

private:
    const Object& object_;
    const Object& usual_;
    std::vector<std::string> found_;
};

} // namespace

AvifDouble::AvifDouble() {
    EXPECT_EQ(current, nullptr);
    current = this;
}

AvifDouble::~AvifDouble() {
    EXPECT_TRUE(alive.empty()) << alive.size() << " objects were not released";
    current = nullptr;
}

std::vector<std::string> changes(const avifEncoder& encoder) {
    const avifEncoder usual = encoderDefaults();
    Differences differences(encoder, usual);
    differences.in("codecChoice", &avifEncoder::codecChoice);
    differences.in("maxThreads", &avifEncoder::maxThreads);
    differences.in("speed", &avifEncoder::speed);
    differences.in("keyframeInterval", &avifEncoder::keyframeInterval);
    differences.in("timescale", &avifEncoder::timescale);
    differences.in("repetitionCount", &avifEncoder::repetitionCount);
    differences.in("extraLayerCount", &avifEncoder::extraLayerCount);
    differences.in("quality", &avifEncoder::quality);
    differences.in("qualityAlpha", &avifEncoder::qualityAlpha);
    differences.in("minQuantizer", &avifEncoder::minQuantizer);
    differences.in("maxQuantizer", &avifEncoder::maxQuantizer);
    differences.in("minQuantizerAlpha", &avifEncoder::minQuantizerAlpha);
    differences.in("maxQuantizerAlpha", &avifEncoder::maxQuantizerAlpha);
    differences.in("tileRowsLog2", &avifEncoder::tileRowsLog2);
    differences.in("tileColsLog2", &avifEncoder::tileColsLog2);
    differences.in("autoTiling", &avifEncoder::autoTiling);
    differences.in("scalingMode.horizontal.n", [](const avifEncoder& each) { return each.scalingMode.horizontal.n; });
    differences.in("scalingMode.horizontal.d", [](const avifEncoder& each) { return each.scalingMode.horizontal.d; });
    differences.in("scalingMode.vertical.n", [](const avifEncoder& each) { return each.scalingMode.vertical.n; });
    differences.in("scalingMode.vertical.d", [](const avifEncoder& each) { return each.scalingMode.vertical.d; });
    return differences.found();
}

std::vector<std::string> changes(const avifRGBImage& source) {
    const avifRGBImage usual = sourceDefaults();
    Differences differences(source, usual);
    differences.in("depth", &avifRGBImage::depth);
    differences.in("format", &avifRGBImage::format);
    differences.in("chromaUpsampling", &avifRGBImage::chromaUpsampling);
    differences.in("chromaDownsampling", &avifRGBImage::chromaDownsampling);
    differences.in("avoidLibYUV", &avifRGBImage::avoidLibYUV);
    differences.in("ignoreAlpha", &avifRGBImage::ignoreAlpha);
    differences.in("alphaPremultiplied", &avifRGBImage::alphaPremultiplied);
    differences.in("isFloat", &avifRGBImage::isFloat);
    differences.in("maxThreads", &avifRGBImage::maxThreads);
    return differences.found();
}

std::vector<std::string> changes(const avifImage& image) {
    const avifImage usual = imageDefaults();
    Differences differences(image, usual);
    differences.in("yuvRange", &avifImage::yuvRange);
    differences.in("yuvChromaSamplePosition", &avifImage::yuvChromaSamplePosition);
    differences.in("alphaPremultiplied", &avifImage::alphaPremultiplied);
    differences.in("colorPrimaries", &avifImage::colorPrimaries);
    differences.in("transferCharacteristics", &avifImage::transferCharacteristics);
    differences.in("matrixCoefficients", &avifImage::matrixCoefficients);
    differences.in("transformFlags", &avifImage::transformFlags);
    differences.in("icc.size", [](const avifImage& each) { return each.icc.size; });
    return differences.found();
}

const std::vector<std::string> srgbImage{
    "yuvRange=" + std::to_string(AVIF_RANGE_FULL),
    "alphaPremultiplied=0",
    "colorPrimaries=1",
    "transferCharacteristics=13",
    "matrixCoefficients=6",
};

const std::vector<std::string> premultipliedRgba{"format=" + std::to_string(AVIF_RGB_FORMAT_RGBA),
                                                 "alphaPremultiplied=1"};

} // namespace ovrel::test

using namespace ovrel::test;

// The linker's option --wrap dictates these names.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" long __real_sysconf(int name);
extern "C" long __wrap_sysconf(int name);

long __wrap_sysconf(int name) {
    return name == _SC_NPROCESSORS_ONLN && current != nullptr ? current->processors : __real_sysconf(name);
}
// NOLINTEND(bugprone-reserved-identifier)

avifImage* avifImageCreate(std::uint32_t width, std::uint32_t height, std::uint32_t depth, avifPixelFormat yuvFormat) {
    AvifDouble& state = avifDouble();
    const std::lock_guard lock(state.mutex);
    state.calls.push_back("avifImageCreate " + std::to_string(width) + "x" + std::to_string(height) + ", " +
                          std::to_string(depth) + " bits, format " + std::to_string(yuvFormat));
    if (state.refusesImages) {
        return nullptr;
    }
    auto* const image = new avifImage(imageDefaults());
    image->width = width;
    image->height = height;
    image->depth = depth;
    image->yuvFormat = yuvFormat;
    state.alive.insert(image);
    return image;
}

avifImage* avifImageCreateEmpty() {
    AvifDouble& state = avifDouble();
    const std::lock_guard lock(state.mutex);
    if (state.refusesEmptyImages) {
        return nullptr;
    }
    auto* const image = new avifImage{};
    state.alive.insert(image);
    return image;
}

void avifImageDestroy(avifImage* image) {
    AvifDouble& state = avifDouble();
    const std::lock_guard lock(state.mutex);
    if (image->depth != 0 && image->yuvPlanes[AVIF_CHAN_V] == nullptr) { // no view
        state.calls.emplace_back("avifImageDestroy");
    }
    release(image);
    state.planesReleased += image->imageOwnsYUVPlanes + image->imageOwnsAlphaPlane;
    delete image;
}

avifResult avifImageAllocatePlanes(avifImage* image, avifPlanesFlags planes) {
    AvifDouble& state = avifDouble();
    const std::lock_guard lock(state.mutex);
    state.calls.emplace_back("avifImageAllocatePlanes");
    EXPECT_EQ(planes, static_cast<avifPlanesFlags>(AVIF_PLANES_ALL));
    if (state.ofAllocation != AVIF_RESULT_OK) {
        return state.ofAllocation;
    }
    image->imageOwnsYUVPlanes = AVIF_TRUE;
    image->imageOwnsAlphaPlane = AVIF_TRUE;
    image->yuvPlanes[AVIF_CHAN_Y] = &plane;
    return AVIF_RESULT_OK;
}

avifResult avifImageSetViewRect(avifImage* dstImage, const avifImage* srcImage, const avifCropRect* rect) {
    AvifDouble& state = avifDouble();
    const std::lock_guard lock(state.mutex);
    EXPECT_NE(srcImage->yuvPlanes[AVIF_CHAN_Y], nullptr) << "a view of an image without planes";
    if (state.ofView != AVIF_RESULT_OK) {
        return state.ofView;
    }
    *dstImage = *srcImage;
    dstImage->width = rect->width;
    dstImage->height = rect->height;
    dstImage->imageOwnsYUVPlanes = AVIF_FALSE;
    dstImage->imageOwnsAlphaPlane = AVIF_FALSE;
    dstImage->yuvPlanes[AVIF_CHAN_V] = &plane; // marks a view
    dstImage->yuvRowBytes[AVIF_CHAN_Y] = rect->x;
    dstImage->yuvRowBytes[AVIF_CHAN_U] = rect->y;
    return AVIF_RESULT_OK;
}

void avifRGBImageSetDefaults(avifRGBImage* rgb, const avifImage* image) {
    AvifDouble& state = avifDouble();
    const std::lock_guard lock(state.mutex);
    state.calls.emplace_back("avifRGBImageSetDefaults");
    *rgb = sourceDefaults();
    rgb->width = image->width;
    rgb->height = image->height;
}

avifResult avifImageRGBToYUV(avifImage* image, const avifRGBImage* rgb) {
    AvifDouble& state = avifDouble();
    if (state.duringConversion) {
        state.duringConversion();
    }
    const std::lock_guard lock(state.mutex);
    const bool isView = image->yuvPlanes[AVIF_CHAN_V] != nullptr;
    if (!isView) {
        state.calls.emplace_back("avifImageRGBToYUV");
    }
    state.conversions.push_back(
        {isView ? image->yuvRowBytes[AVIF_CHAN_U] : 0, *image, *rgb, std::this_thread::get_id()});
    // As the real one does: it calls the image the owner of planes that were there before.
    image->imageOwnsYUVPlanes = AVIF_TRUE;
    image->imageOwnsAlphaPlane = AVIF_TRUE;
    return state.ofConversion;
}

avifEncoder* avifEncoderCreate() {
    AvifDouble& state = avifDouble();
    const std::lock_guard lock(state.mutex);
    state.calls.emplace_back("avifEncoderCreate");
    if (state.refusesEncoders) {
        return nullptr;
    }
    auto* const encoder = new avifEncoder(encoderDefaults());
    std::snprintf(encoder->diag.error, sizeof encoder->diag.error, "%s", state.diagnosis.c_str());
    state.alive.insert(encoder);
    return encoder;
}

void avifEncoderDestroy(avifEncoder* encoder) {
    AvifDouble& state = avifDouble();
    const std::lock_guard lock(state.mutex);
    state.calls.emplace_back("avifEncoderDestroy");
    release(encoder);
    delete encoder;
}

avifResult avifEncoderSetCodecSpecificOption(avifEncoder* encoder, const char* key, const char* value) {
    AvifDouble& state = avifDouble();
    const std::lock_guard lock(state.mutex);
    EXPECT_TRUE(state.alive.contains(encoder));
    state.calls.push_back(std::string("option ") + key + "=" + value);
    return key == state.refusedOption ? AVIF_RESULT_INVALID_CODEC_SPECIFIC_OPTION : AVIF_RESULT_OK;
}

avifResult avifEncoderWrite(avifEncoder* encoder, const avifImage* image, avifRWData* output) {
    AvifDouble& state = avifDouble();
    const std::lock_guard lock(state.mutex);
    state.calls.emplace_back("avifEncoderWrite");
    state.encoderAtWork = *encoder;
    state.imageAtWork = *image;
    const avifResult given = giveOutput(output); // also before a failure, when libavif may leave a part
    return state.ofWrite == AVIF_RESULT_OK ? given : state.ofWrite;
}

avifResult avifEncoderAddImage(avifEncoder* encoder, const avifImage* image, std::uint64_t durationInTimescales,
                               avifAddImageFlags addImageFlags) {
    AvifDouble& state = avifDouble();
    const std::lock_guard lock(state.mutex);
    state.calls.emplace_back("avifEncoderAddImage");
    state.encoderAtWork = *encoder;
    state.imageAtWork = *image;
    state.durationAtWork = durationInTimescales;
    state.flagsAtWork = addImageFlags;
    return state.ofAdd;
}

avifResult avifEncoderFinish(avifEncoder* encoder, avifRWData* output) {
    AvifDouble& state = avifDouble();
    const std::lock_guard lock(state.mutex);
    EXPECT_TRUE(state.alive.contains(encoder));
    state.calls.emplace_back("avifEncoderFinish");
    const avifResult given = giveOutput(output);
    return state.ofFinish == AVIF_RESULT_OK ? given : state.ofFinish;
}

void avifRWDataFree(avifRWData* raw) {
    AvifDouble& state = avifDouble();
    const std::lock_guard lock(state.mutex);
    state.calls.emplace_back("avifRWDataFree");
    if (raw->data != nullptr) {
        release(raw->data);
        delete[] raw->data;
    }
    *raw = AVIF_DATA_EMPTY;
}

const char* avifResultToString(avifResult result) {
    switch (result) {
    case AVIF_RESULT_REFORMAT_FAILED: return "reformat failed";
    case AVIF_RESULT_INVALID_CODEC_SPECIFIC_OPTION: return "invalid option";
    case AVIF_RESULT_ENCODE_COLOR_FAILED: return "encode failed";
    case AVIF_RESULT_NO_CONTENT: return "no content";
    case AVIF_RESULT_OUT_OF_MEMORY: return "out of memory";
    default: return "another result";
    }
}
