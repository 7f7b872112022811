#include "tests/updates/engine/tar_writer.h"
#include "tests/updates/engine/update_failure.h"
#include "updates/engine/signature.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include <fcntl.h>
#include <sys/mman.h>

namespace ovrel::test {

namespace {

constexpr const char* otherPublisher = "rhHib+w769W2/6/t+oM1ZxgjBB93BfBKMLO0Qo1etQs=";
constexpr const char* ownPublisher = "A6EHv/POEL4dcN0Y50vAmWfk1jCbpQ1fHdyGZBJVMbg=";

constexpr const char* goodOther =
    "EIawm2YkDZ2gBfkEMF2+1VuuTeXnCGZOdnMdVgPPvDZioq7bvDayXqKkIIzSjKMmeFdcFJOHdnba5ZV60+gPBw==";
constexpr const char* wrongOther =
    "wTcpXCgWoa4NrJpsfzS61FXJIbv963//12U2ef9xstzVOLPHYK2N4/ojgpDV5N1/NGG1uWMBgK+kEWp0Z5zMDQ==";
constexpr const char* goodOwn =
    "nHFe1oZv3oqCNC/gPC1ycIWmtc14Vi+qIomMpNUeqtkNEHfbh4IVrB1K61C1bM1s5VfcTk/bgx8qk3jqt26/DA==";

constexpr const char* refused = "4005 over 3001";

PublicKey keyOf(const char* text) {
    return PublicKey::fromBase64(QString::fromLatin1(text), PublicKey::Audience::developers);
}

std::string resultOf(std::string_view bytes, const std::optional<QString>& signature, const PublicKey& key) {
    return failureOf([&] { verifySignature(seal(bytes), signature, key); });
}

TEST(Signature, BelongsToOneKeyAndOneMessage) {
    struct Row {
        const char* name;
        std::string_view message;
        const char* signature;
        const char* key;
        const char* result;
    };
    const Row rows[] = {
        {"good", "Hello World!\n", goodOther, otherPublisher, ""},
        {"good, own key", "Hello World!\n", goodOwn, ownPublisher, ""},
        {"wrong", "Hello World!\n", wrongOther, otherPublisher, refused},
        {"of the other key", "Hello World!\n", goodOwn, otherPublisher, refused},
        {"of the own key for the other", "Hello World!\n", goodOther, ownPublisher, refused},
        {"shorter message", "Hello World!", goodOther, otherPublisher, refused},
        {"longer message", "Hello World!\n\n", goodOther, otherPublisher, refused},
        {"no message", "", goodOther, otherPublisher, refused},
        {"white space around", "Hello World!\n",
         " \r\nEIawm2YkDZ2gBfkEMF2+1VuuTeXnCGZOdnMdVgPPvDZioq7bvDayXqKkIIzSjKMmeFdcFJOHdnba5ZV60+gPBw==\n",
         otherPublisher, ""},
        {"empty", "Hello World!\n", "", otherPublisher, refused},
        {"no base64", "Hello World!\n", "a signature", otherPublisher, refused},
        {"no padding", "Hello World!\n",
         "EIawm2YkDZ2gBfkEMF2+1VuuTeXnCGZOdnMdVgPPvDZioq7bvDayXqKkIIzSjKMmeFdcFJOHdnba5ZV60+gPBw", otherPublisher,
         refused},
        {"unused bits", "Hello World!\n",
         "EIawm2YkDZ2gBfkEMF2+1VuuTeXnCGZOdnMdVgPPvDZioq7bvDayXqKkIIzSjKMmeFdcFJOHdnba5ZV60+gPBx==", otherPublisher,
         refused},
        {"63 bytes", "Hello World!\n",
         "EIawm2YkDZ2gBfkEMF2+1VuuTeXnCGZOdnMdVgPPvDZioq7bvDayXqKkIIzSjKMmeFdcFJOHdnba5ZV60+gP", otherPublisher,
         refused},
        {"65 bytes", "Hello World!\n",
         "EIawm2YkDZ2gBfkEMF2+1VuuTeXnCGZOdnMdVgPPvDZioq7bvDayXqKkIIzSjKMmeFdcFJOHdnba5ZV60+gPBwA=", otherPublisher,
         refused},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(resultOf(row.message, QLatin1StringView(row.signature), keyOf(row.key)), row.result) << row.name;
    }
}

TEST(Signature, IsMissedWhenTheFeedHasNone) {
    EXPECT_EQ(resultOf("Hello World!\n", std::nullopt, keyOf(otherPublisher)), refused);
}

TEST(Signature, NeverMakesAnEmptyArchiveGood) {
    EXPECT_EQ(resultOf("", sign(""), testKey()), refused);
}

TEST(Signature, NoticesEachFlippedBitOfTheArchive) {
    const std::string archive = writeTar({tarFolder("ovrel"), tarFile("ovrel/file")});
    const QString signature = sign(archive);
    ASSERT_EQ(resultOf(archive, signature, testKey()), "");
    for (std::size_t bit = 0; bit < archive.size() * 8; ++bit) {
        std::string changed = archive;
        changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ (1 << (bit % 8)));
        ASSERT_EQ(resultOf(changed, signature, testKey()), refused) << bit;
    }
}

TEST(Signature, NoticesEachFlippedBitOfItself) {
    const QByteArray signature = QByteArray::fromBase64(goodOwn);
    for (int bit = 0; bit < signature.size() * 8; ++bit) {
        QByteArray changed = signature;
        changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ (1 << (bit % 8)));
        ASSERT_EQ(resultOf("Hello World!\n", QString::fromLatin1(changed.toBase64()), keyOf(ownPublisher)), refused)
            << bit;
    }
}

TEST(Signature, LeavesTheBytesAsTheyCame) {
    const std::string bytes(3'000'000, 'x');
    const VerifiedArchive archive = verifySignature(seal(bytes), sign(bytes), testKey());
    const std::span<const std::byte> found = archive.bytes();
    EXPECT_TRUE(std::equal(found.begin(), found.end(), std::as_bytes(std::span(bytes)).begin(),
                           std::as_bytes(std::span(bytes)).end()));
}

/// The file behind sealed bytes, found as another program of the same user would find it.
std::filesystem::path fileBehind(const SealedArchive& archive) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        if (std::filesystem::read_symlink(entry.path(), error).native().starts_with("/memfd:update")) {
            const FileDescriptor file(::open(entry.path().c_str(), O_RDONLY));
            std::string content(archive.bytes().size(), '\0');
            if (::pread(file.get(), content.data(), content.size(), 0) == static_cast<ssize_t>(content.size())) {
                return entry.path();
            }
        }
    }
    return {};
}

TEST(SealedArchive, CannotBeChangedByAnybody) {
    const SealedArchive archive = seal("Hello World!\n");
    const std::filesystem::path path = fileBehind(archive);
    ASSERT_FALSE(path.empty());
    const FileDescriptor file(::open(path.c_str(), O_RDWR));
    ASSERT_TRUE(file);
    EXPECT_EQ(::pwrite(file.get(), "J", 1, 0), -1);
    EXPECT_EQ(errno, EPERM);
    EXPECT_EQ(::ftruncate(file.get(), 1), -1);
    EXPECT_EQ(errno, EPERM);
    EXPECT_EQ(::ftruncate(file.get(), 100), -1);
    EXPECT_EQ(errno, EPERM);
    EXPECT_EQ(::mmap(nullptr, 1, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0), MAP_FAILED);
    EXPECT_EQ(::fcntl(file.get(), F_ADD_SEALS, F_SEAL_GROW), -1);
    EXPECT_EQ(std::to_integer<char>(archive.bytes().front()), 'H');
}

TEST(SealedArchive, IsMovedWithItsBytes) {
    SealedArchive first = seal("first");
    SealedArchive second = seal("second one");
    first = std::move(second);
    EXPECT_EQ(first.bytes().size(), 10U);
    const SealedArchive third = std::move(first);
    EXPECT_EQ(third.bytes().size(), 10U);
    EXPECT_EQ(std::to_integer<char>(third.bytes().front()), 's');
}

} // namespace

} // namespace ovrel::test
