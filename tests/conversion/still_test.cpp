#include "conversion/still.h"

#include "platform/linux/color_profiles.h"
#include "tests/conversion/refusal.h"
#include "tests/support/avif_facts.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <utility>

namespace ovrel::test {

namespace {

constexpr int fastest = 10;

/// Takes what a conversion hands to the system's writer, and answers as it is told.
class RecordingDestination final : public ImageDestination {
public:
    struct Record {
        Image image;
        double quality = -1.0;
        bool answer = true;
    };

    explicit RecordingDestination(Record& record) : record_(record) {}
    void addImage(const Image& image, double lossyCompressionQuality) override {
        record_.image = copyOf(image);
        record_.quality = lossyCompressionQuality;
    }
    bool finalize() override { return record_.answer; }

private:
    Record& record_;
};

Services servicesWith(RecordingDestination::Record& record) {
    Services services;
    services.createDestination = [&record](const std::filesystem::path&, std::string_view type, std::size_t count) {
        EXPECT_EQ(type, "public.avif");
        EXPECT_EQ(count, 1U);
        return std::make_unique<RecordingDestination>(record);
    };
    return services;
}

} // namespace

TEST(EncodeCompact, WritesStraightAlphaInSrgb) {
    const TemporaryFolder folder;
    Image image = makeImage(20, 11, {200, 100, 50, 128});
    image.colorSpace = colorSpaceFromCicp(12, 13);
    encodeCompact(std::move(image), folder / "a", 1.0, fastest);
    const AvifFacts facts = avifFacts(folder / "a");
    EXPECT_EQ(facts.width, 20U);
    EXPECT_EQ(facts.height, 11U);
    EXPECT_TRUE(facts.profile.empty());
    const Rgba color = pixelOf(facts.frames.at(0), 10, 5);
    EXPECT_GT(color[0], 205); // P3's orange is further out in sRGB
    EXPECT_LT(color[2], 50);
    EXPECT_EQ(color[3], 128);
}

TEST(EncodeCompact, PassesOnWhatTheEncoderSays) {
    const TemporaryFolder folder;
    EXPECT_EQ(refusalOf([&] {
                  encodeCompact(makeImage(4, 4, {1, 2, 3, 255}), folder / "no" / "a", 0.5, fastest);
              }),
              Refusal("AVIF error: Cannot create output file", "Ошибка AVIF: Cannot create output file"));
    EXPECT_EQ(refusalOf([&] {
                  encodeCompact(makeImage(4, 4, {1, 2, 3, 255}), "/dev/full", 0.5, fastest);
              }),
              Refusal("AVIF error: Cannot finish output file", "Ошибка AVIF: Cannot finish output file"));
    EXPECT_EQ(refusalOf([&] {
                  encodeCompact(makeImage(4, 4, {1, 2, 3, 255}), folder / "a", 0.5, 11);
              }),
              Refusal("AVIF error: Invalid encoding parameters", "Ошибка AVIF: Invalid encoding parameters"));
}

TEST(EncodeCompact, RefusesRowsTooLongForTheEncoder) {
    Image image;
    image.width = std::uint32_t{1} << 30;
    image.height = 1;
    EXPECT_EQ(refusalOf([&] { encodeCompact(std::move(image), "unused", 0.5, fastest); }),
              Refusal("Not enough memory to process the image", "Недостаточно памяти для изображения"));
}

TEST(EncodeWithSystem, HandsOnTheFractionUnrounded) {
    RecordingDestination::Record record;
    encodeWithSystem(makeImage(4, 2, {1, 2, 3, 255}), "unused", 0.4567, servicesWith(record));
    EXPECT_EQ(record.quality, 0.4567);
    EXPECT_EQ(record.image.width, 4U);
    EXPECT_EQ(record.image.height, 2U);
}

TEST(EncodeWithSystem, MakesOddSizesEvenByRepeatingTheEdge) {
    RecordingDestination::Record record;
    encodeWithSystem(makeImage(3, 5, {1, 2, 3, 255}), "unused", 0.5, servicesWith(record));
    EXPECT_EQ(record.image.width, 4U);
    EXPECT_EQ(record.image.height, 6U);
    EXPECT_EQ(pixelOf(record.image, 3, 5), (Rgba{1, 2, 3, 255}));
}

TEST(EncodeWithSystem, SaysWhenTheWriterCannotBeCreatedOrFinish) {
    RecordingDestination::Record record;
    Services services = servicesWith(record);
    record.answer = false;
    EXPECT_EQ(refusalOf([&] {
                  encodeWithSystem(makeImage(2, 2, {1, 2, 3, 255}), "unused", 0.5, services);
              }),
              Refusal("AVIF encoding failed", "Ошибка кодирования AVIF"));
    services.createDestination = [](const std::filesystem::path&, std::string_view, std::size_t) { return nullptr; };
    EXPECT_EQ(refusalOf([&] {
                  encodeWithSystem(makeImage(2, 2, {1, 2, 3, 255}), "unused", 0.5, services);
              }),
              Refusal("Unable to create the AVIF file", "Не удалось создать AVIF"));
}

} // namespace ovrel::test
