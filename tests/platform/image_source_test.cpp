#include "platform/image_source.h"

#include "platform/linux/decoders.h"
#include "tests/support/temporary_folder.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ovrel::test {

namespace {

using namespace std::string_view_literals;

std::optional<ImageFormat> formatOfText(std::string_view head) {
    const std::vector<std::uint8_t> bytes(head.begin(), head.end());
    return formatOf(bytes);
}

struct Case {
    std::string_view head;
    std::optional<ImageFormat> format;
};

const std::vector<Case> cases{
    {"\xFF\xD8\xFF\xE0"sv, ImageFormat::jpeg},
    {"\xFF\xD8\xFF\xDB"sv, ImageFormat::jpeg},
    {"\xFF\xD8"sv, std::nullopt},
    {"\x89PNG\r\n\x1A\n"sv, ImageFormat::png},
    {"\x89PNG\n\x1A\n"sv, std::nullopt},
    {"GIF87a"sv, ImageFormat::gif},
    {"GIF89a"sv, ImageFormat::gif},
    {"GIF88a"sv, std::nullopt},
    {"RIFF\x10\0\0\0WEBPVP8 "sv, ImageFormat::webp},
    {"RIFF\x10\0\0\0WAVEfmt "sv, std::nullopt},
    {"\0\0\0\x1C"
     "ftypavif\0\0\0\0"sv,
     ImageFormat::avif},
    {"\0\0\0\x1C"
     "ftypavis\0\0\0\0"sv,
     ImageFormat::avif},
    {"\0\0\0\x1C"
     "ftypmif1\0\0\0\0miafavif"sv,
     ImageFormat::avif},
    {"\0\0\0\x1C"
     "ftypheic\0\0\0\0mif1"sv,
     ImageFormat::heif},
    {"\0\0\0\x18"
     "ftypmif1\0\0\0\0mif1"sv,
     ImageFormat::heif},
    {"\0\0\0\x10"
     "ftypmp42\0\0\0\0avif"sv, // the brand lies behind the end of the box
     std::nullopt},
    {"\0\0\0\x18"
     "ftypisom\0\0\0\0mp41"sv,
     std::nullopt},
    {"ftyp"sv, std::nullopt},
    {"BM"sv, std::nullopt},
    {"plain text"sv, std::nullopt},
    {""sv, std::nullopt},
};

} // namespace

TEST(ImageSource, TellsTheFormatByTheFirstBytes) {
    for (const Case& row : cases) {
        EXPECT_EQ(formatOfText(row.head), row.format) << testing::PrintToString(row.head);
    }
}

TEST(ImageSource, DoesNotOpenWhatIsNoImageFile) {
    const TemporaryFolder folder;
    EXPECT_EQ(ImageSource::open(folder / "missing.png"), nullptr);
    EXPECT_EQ(ImageSource::open(folder.path()), nullptr);
    EXPECT_EQ(ImageSource::open(folder.write("empty.jpg", "")), nullptr);
    EXPECT_EQ(ImageSource::open(folder.write("text.jpg", "plain text")), nullptr);
    EXPECT_EQ(ImageSource::open("/dev/zero"), nullptr);
    const std::filesystem::path pipe = folder / "pipe.gif";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(ImageSource::open(pipe), nullptr);
}

TEST(ImageSource, FollowsNoLinkInAFilesPlaceButLinksOfFoldersAboveIt) {
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.write("photos/photo.gif", "GIF89a");
    std::filesystem::create_symlink("photo.gif", folder / "photos/link.gif");
    std::filesystem::create_directory_symlink("photos", folder / "linked");
    EXPECT_NE(ImageSource::open(file), nullptr);
    EXPECT_EQ(ImageSource::open(folder / "photos/link.gif"), nullptr);
    EXPECT_NE(ImageSource::open(folder / "linked/photo.gif"), nullptr);
}

TEST(ImageSource, OpensADamagedHeaderAsOneImageOfUnknownSize) {
    const TemporaryFolder folder;
    for (const std::string_view head :
         {"\xFF\xD8\xFF\xE0"sv, "\x89PNG\r\n\x1A\n"sv, "RIFF\x10\0\0\0WEBPVP8 "sv, "GIF89a"sv,
          "\0\0\0\x1C"
          "ftypavif"sv,
          "\0\0\0\x1C"
          "ftypheic"sv}) {
        const std::unique_ptr<ImageSource> source = ImageSource::open(folder.write("damaged", head));
        ASSERT_NE(source, nullptr) << testing::PrintToString(head);
        EXPECT_EQ(source->count(), 1U);
        EXPECT_EQ(source->properties(0).pixelWidth, 0U);
        EXPECT_EQ(source->properties(0).pixelHeight, 0U);
        EXPECT_EQ(source->gifLoopCount(), std::nullopt);
        EXPECT_FALSE(source->decode(0).has_value());
    }
}

} // namespace ovrel::test
