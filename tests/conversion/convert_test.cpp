#include "conversion/convert.h"

#include "conversion/memory_share.h"
#include "tests/conversion/refusal.h"
#include "tests/support/avif_facts.h"
#include "tests/support/fake_image_source.h"
#include "tests/support/forwarding_file_system.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;

constexpr double quality = 0.5;
constexpr int fastest = 10;

using Names = std::vector<std::string>;

/// Conversions of made-up sources into a real folder.
class ConvertTest : public testing::Test {
protected:
    ConvertTest() {
        services_.openImage = [this](const fs::path&) { return makeSource_(); };
    }

    void sourceHolds(std::vector<Image> images) {
        makeSource_ = [images = std::make_shared<std::vector<Image>>(std::move(images))] {
            auto source = std::make_unique<FakeImageSource>();
            for (const Image& image : *images) {
                source->add(copyOf(image), 0.1);
            }
            return source;
        };
    }

    void sourceIs(std::function<std::unique_ptr<ImageSource>()> make) { makeSource_ = std::move(make); }

    ConversionResult convert(const std::string& name, EncodingMode mode = EncodingMode::efficient,
                             const std::string& relativeDirectory = "") {
        return convertItem({folder_ / name, relativeDirectory}, output(), quality, mode, fastest, services_, turn_);
    }

    fs::path output() const { return folder_ / "out"; }

    Names results() const {
        Names names;
        if (fs::exists(output())) {
            for (const fs::directory_entry& entry : fs::recursive_directory_iterator(output())) {
                if (!entry.is_directory()) {
                    names.push_back(entry.path().lexically_relative(output()).native());
                }
            }
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    TemporaryFolder folder_;
    Services services_;
    Turn turn_;

private:
    std::function<std::unique_ptr<ImageSource>()> makeSource_ = [] { return nullptr; };
};

std::vector<Image> oneImage() {
    std::vector<Image> images;
    images.push_back(makeImage(8, 6, {10, 120, 230, 255}));
    return images;
}

std::vector<Image> twoImages() {
    std::vector<Image> images = oneImage();
    images.push_back(makeImage(8, 6, {230, 120, 10, 255}));
    return images;
}

} // namespace

TEST_F(ConvertTest, TakesTheNextFreeNameAndLeavesExistingFilesAlone) {
    sourceHolds(oneImage());
    EXPECT_EQ(convert("photo.jpg").file, output() / "photo.avif");
    const std::string first = contentOf(output() / "photo.avif");
    EXPECT_EQ(convert("photo.jpg").file, output() / "photo-2.avif");
    EXPECT_EQ(convert("photo.png").file, output() / "photo-3.avif");
    EXPECT_EQ(contentOf(output() / "photo.avif"), first);
    EXPECT_EQ(results(), (Names{"photo-2.avif", "photo-3.avif", "photo.avif"}));
}

TEST_F(ConvertTest, MirrorsTheFoldersOfTheSource) {
    sourceHolds(oneImage());
    EXPECT_EQ(convert("a.b.png", EncodingMode::efficient, "summer/beach").file,
              output() / "summer" / "beach" / "a.b.avif");
    EXPECT_EQ(results(), Names{"summer/beach/a.b.avif"});
}

TEST_F(ConvertTest, CopiesAvifByteForByteWhateverTheMode) {
    folder_.write("ready.AVIF", "these bytes are not even an image");
    for (const EncodingMode mode : allEncodingModes) {
        services_.writableTypes = [] { return std::vector<std::string>(); };
        const ConversionResult result = convert("ready.AVIF", mode);
        EXPECT_FALSE(result.multiImage);
        EXPECT_EQ(contentOf(result.file), "these bytes are not even an image");
    }
    EXPECT_EQ(results(), (Names{"ready-2.avif", "ready.avif"}));
}

TEST_F(ConvertTest, AnimatesAGifOfSeveralImages) {
    sourceHolds(twoImages());
    const ConversionResult result = convert("clip.GIF");
    EXPECT_TRUE(result.multiImage);
    EXPECT_EQ(avifFacts(result.file).frames.size(), 2U);
}

TEST_F(ConvertTest, TakesTheFirstImageOfOtherFormats) {
    sourceHolds(twoImages());
    const ConversionResult result = convert("clip.webp");
    EXPECT_TRUE(result.multiImage);
    const AvifFacts facts = avifFacts(result.file);
    ASSERT_EQ(facts.frames.size(), 1U);
    EXPECT_NEAR(pixelOf(facts.frames[0], 4, 3)[2], 230, 12);
}

TEST_F(ConvertTest, NeverHandsAGifToTheSystemsWriter) {
    services_.writableTypes = [] { return std::vector<std::string>{"public.avif"}; };
    services_.createDestination = [](const fs::path&, std::string_view, std::size_t) {
        ADD_FAILURE() << "the system's writer was asked";
        return nullptr;
    };
    sourceHolds(oneImage());
    EXPECT_FALSE(convert("still.gif", EncodingMode::system).multiImage);
    sourceHolds(twoImages());
    EXPECT_TRUE(convert("clip.gif", EncodingMode::system).multiImage);
}

TEST_F(ConvertTest, RefusesTheSystemsWriterBeforeTheSourceIsOpened) {
    services_.writableTypes = [] { return std::vector<std::string>{"public.jpeg"}; };
    sourceIs([]() -> std::unique_ptr<ImageSource> {
        ADD_FAILURE() << "the source was opened";
        return nullptr;
    });
    EXPECT_EQ(refusalOf([&] { convert("photo.jpg", EncodingMode::system); }),
              Refusal("This version of macOS cannot write AVIF files. macOS 26 or later is required.",
                      "Эта версия macOS не поддерживает запись AVIF. Требуется macOS 26 или новее."));
}

TEST_F(ConvertTest, SaysWhenASourceCannotBeOpened) {
    sourceIs([] { return nullptr; });
    EXPECT_EQ(refusalOf([&] { convert("photo.jpg"); }),
              Refusal("Unable to read the image", "Не удалось прочитать изображение"));
    EXPECT_FALSE(fs::exists(output()));
}

TEST_F(ConvertTest, SaysWhenAnImageIsDamaged) {
    const Refusal damaged("The image is damaged or unsupported", "Изображение повреждено или не поддерживается");
    sourceIs([] {
        auto source = std::make_unique<FakeImageSource>();
        source->add(makeImage(2, 2, {1, 2, 3, 255}));
        source->frames[0].properties = {};
        return source;
    });
    EXPECT_EQ(refusalOf([&] { convert("without-size.png"); }), damaged);
    sourceIs([] {
        auto source = std::make_unique<FakeImageSource>();
        source->add(makeImage(2, 2, {1, 2, 3, 255}));
        source->frames[0].image.reset();
        return source;
    });
    EXPECT_EQ(refusalOf([&] { convert("without-pixels.png"); }), damaged);
    EXPECT_FALSE(fs::exists(output()));
}

TEST_F(ConvertTest, SaysWhenMemoryRunsOut) {
    const Refusal memory("Not enough memory to process the image", "Недостаточно памяти для изображения");
    sourceIs([] {
        auto source = std::make_unique<FakeImageSource>();
        source->add(makeImage(2, 2, {1, 2, 3, 255})).add(makeImage(2, 2, {1, 2, 3, 255}));
        for (FakeImageSource::Frame& frame : source->frames) {
            frame.properties.pixelWidth = 4000000000U;
            frame.properties.pixelHeight = 4000000000U;
        }
        return source;
    });
    EXPECT_EQ(refusalOf([&] { convert("huge.png"); }), memory);
    EXPECT_EQ(refusalOf([&] { convert("huge.gif"); }),
              Refusal("Unable to prepare GIF frame 1", "Не удалось подготовить кадр GIF 1"));
    sourceIs([]() -> std::unique_ptr<ImageSource> { throw std::bad_alloc(); });
    EXPECT_EQ(refusalOf([&] { convert("unlucky.png"); }), memory);
    EXPECT_FALSE(fs::exists(output()));
}

TEST_F(ConvertTest, CountsWhatOtherConversionsSetAside) {
    std::vector<std::uint64_t> asked;
    services_.fitsIntoMemory = [&](std::uint64_t bytes) {
        asked.push_back(bytes);
        return true;
    };
    sourceHolds(oneImage());
    const MemoryShare other(1'000'000, services_.fitsIntoMemory);
    convert("photo.jpg");
    ASSERT_EQ(asked.size(), 2U);
    EXPECT_GT(asked[0], 1'000'000U) << "before it is decoded, beside the other one";
    EXPECT_LT(asked[1], 1'000'000U) << "whether it can ever fit, for itself";
}

TEST_F(ConvertTest, KeepsNothingOfTheSourceWhileAStillIsEncoded) {
    std::weak_ptr<bool> life;
    sourceIs([&life] {
        auto source = std::make_unique<FakeImageSource>();
        source->add(makeImage(8, 6, {10, 120, 230, 255}));
        auto held = std::make_shared<bool>();
        life = held;
        source->whenDecoded = [held](std::size_t) {};
        return source;
    });
    class Watching : public ForwardingFileSystem {
    public:
        explicit Watching(const std::weak_ptr<bool>& life) : life_(life) {}
        void createDirectories(const fs::path& folder) override {
            isOpen = !life_.expired();
            ForwardingFileSystem::createDirectories(folder);
        }
        bool isOpen = true;

    private:
        const std::weak_ptr<bool>& life_;
    };
    Watching files(life); // the folder is made when all is decoded and nothing encoded
    services_.files = &files;
    convert("photo.jpg");
    EXPECT_FALSE(files.isOpen);
    EXPECT_EQ(results(), Names{"photo.avif"});
}

TEST_F(ConvertTest, DoesNotBeginWhereItWouldWaitAfterAStop) {
    services_.fitsIntoMemory = [](std::uint64_t) { return false; };
    sourceHolds(twoImages());
    std::stop_source stop;
    stop.request_stop();
    turn_.stop = stop.get_token();
    const MemoryShare other(1, services_.fitsIntoMemory);
    for (const char* const name : {"photo.jpg", "clip.gif"}) {
        EXPECT_THROW(convert(name), NotBegun);
    }
    EXPECT_FALSE(fs::exists(output()));
}

TEST_F(ConvertTest, IsFinishedAfterAStopWhereNothingKeepsItWaiting) {
    sourceHolds(oneImage());
    std::stop_source stop;
    stop.request_stop();
    turn_.stop = stop.get_token();
    convert("photo.jpg");
    EXPECT_EQ(results(), Names{"photo.avif"});
    EXPECT_EQ(turn_.waited.count(), 0);
}

TEST_F(ConvertTest, LeavesNothingBehindWhenEncodingFails) {
    sourceIs([] {
        auto source = std::make_unique<FakeImageSource>();
        source->add(makeImage(4, 4, {1, 2, 3, 255})).add(makeImage(5, 4, {1, 2, 3, 255}));
        return source;
    });
    EXPECT_EQ(refusalOf([&] { convert("clip.gif"); }).first, "Unable to prepare GIF frame 2");
    EXPECT_TRUE(fs::exists(output())); // the folder was made before the first frame was read
    EXPECT_TRUE(results().empty());
}

TEST_F(ConvertTest, PassesOnTheErrorsOfFilesUnchanged) {
    folder_.write("out", "a file where the folder should be");
    sourceHolds(oneImage());
    try {
        convert("photo.jpg");
        ADD_FAILURE() << "nothing was refused";
    } catch (const FileError& error) {
        EXPECT_EQ(error.domain(), "NSCocoaErrorDomain");
        EXPECT_EQ(error.code(), FileError::writeUnknown);
    }
}

TEST_F(ConvertTest, SaysThatACopiedFileIsMissing) {
    try {
        convert("missing.avif");
        ADD_FAILURE() << "nothing was refused";
    } catch (const FileError& error) {
        EXPECT_EQ(error.code(), FileError::readNoSuchFile);
    }
    EXPECT_TRUE(results().empty());
}

TEST_F(ConvertTest, LosesNothingWhenManyConvertIntoOneFolder) {
    constexpr int threads = 4;
    constexpr int conversionsEach = 6;
    sourceHolds(oneImage());
    std::vector<std::thread> workers;
    std::vector<std::vector<fs::path>> files(threads);
    for (int i = 0; i < threads; ++i) {
        workers.emplace_back([&, i] {
            for (int j = 0; j < conversionsEach; ++j) {
                files[static_cast<std::size_t>(i)].push_back(convert("photo.jpg").file);
            }
        });
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    std::set<fs::path> distinct;
    for (const std::vector<fs::path>& list : files) {
        distinct.insert(list.begin(), list.end());
    }
    EXPECT_EQ(distinct.size(), static_cast<std::size_t>(threads * conversionsEach));
    EXPECT_EQ(results().size(), distinct.size());
    for (const fs::path& file : distinct) {
        EXPECT_EQ(avifFacts(file).frames.size(), 1U);
    }
}

TEST(Converter, AcceptsSixExtensions) {
    EXPECT_EQ(std::set<std::string_view>(Converter::extensions.begin(), Converter::extensions.end()),
              (std::set<std::string_view>{"jpg", "jpeg", "webp", "png", "avif", "gif"}));
}

TEST(Converter, OffersTheSystemsWriterWhereItCanWriteAvif) {
    Services services;
    services.writableTypes = [] { return std::vector<std::string>{"public.png", "public.avif"}; };
    EXPECT_TRUE(canWriteAvif(services));
    services.writableTypes = [] { return std::vector<std::string>{"public.png"}; };
    EXPECT_FALSE(canWriteAvif(services));
}

} // namespace ovrel::test
