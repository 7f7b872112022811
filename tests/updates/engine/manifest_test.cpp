#include "platform/linux/file_descriptor.h"
#include "tests/support/temporary_folder.h"
#include "tests/updates/engine/update_failure.h"
#include "updates/engine/manifest.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>

namespace ovrel::test {

namespace {

constexpr const char* refused = "4005 over 3002";
constexpr const char* older = "4005 over 4006";

constexpr const char* good =
    R"({"application": "ovrel", "version": "2.4", "system": "linux", "architecture": "x86_64"})";

/// Numbers with dots, as far as these tests go.
std::weak_ordering compareNumbers(QStringView one, QStringView other) {
    return one.toDouble() <=> other.toDouble() == std::partial_ordering::less      ? std::weak_ordering::less
           : one.toDouble() <=> other.toDouble() == std::partial_ordering::greater ? std::weak_ordering::greater
                                                                                   : std::weak_ordering::equivalent;
}

TEST(Manifest, HasFourTexts) {
    const Manifest manifest = parseManifest(good);
    EXPECT_EQ(manifest.application, "ovrel");
    EXPECT_EQ(manifest.version, "2.4");
    EXPECT_EQ(manifest.system, "linux");
    EXPECT_EQ(manifest.architecture, "x86_64");
}

TEST(Manifest, MayHaveMore) {
    const Manifest manifest = parseManifest(
        R"({"note": [1, {}], "application": "ovrel", "version": "2.4", "system": "linux", "architecture": "x86_64"})");
    EXPECT_EQ(manifest.version, "2.4");
}

TEST(Manifest, IsRefusedWhenItIsNone) {
    const auto with = [](const QByteArray& version) {
        return R"({"application": "ovrel", "version": )" + version +
               R"(, "system": "linux", "architecture": "x86_64"})";
    };
    EXPECT_EQ(failureOf([&] { parseManifest(with('"' + QByteArray(128, '1') + '"')); }), "");
    const QByteArray texts[] = {
        "",
        "{}",
        "[]",
        "null",
        "text",
        R"("text")",
        QByteArray(good) + "x",
        QByteArray(good).chopped(1),
        QByteArray(good).replace("application", "Application"),
        QByteArray(good).replace(R"("system": "linux", )", ""),
        QByteArray(good).replace(R"(, "architecture": "x86_64")", ""),
        "[" + QByteArray(good) + "]",
        "\xff" + QByteArray(good),
        with("2.4"),
        with("null"),
        with("true"),
        with("[\"2.4\"]"),
        with("{}"),
        with("\"\""),
        with(R"("2.4\n")"),
        with(R"("2.4\u0000")"),
        with("\"2\xff\""),
        with('"' + QByteArray(129, '1') + '"'),
        with("\"2.4\", \"more\": \"" + QByteArray(65536, 'x') + '"'),
        QByteArray(5000, '['),
    };
    for (const QByteArray& text : texts) {
        EXPECT_EQ(failureOf([&] { parseManifest(text); }), refused) << text.left(200).toStdString();
    }
}

class ManifestFileTest : public testing::Test {
protected:
    std::string read() const {
        const FileDescriptor top(::open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY));
        return failureOf([&] { EXPECT_EQ(readManifest(top.get()).version, "2.4"); });
    }

    TemporaryFolder folder_;
};

TEST_F(ManifestFileTest, LiesInTheTopFolder) {
    folder_.write("manifest.json", good);
    EXPECT_EQ(read(), "");
}

TEST_F(ManifestFileTest, MayBeMissed) {
    EXPECT_EQ(read(), refused);
}

TEST_F(ManifestFileTest, MustBeAFileItself) {
    std::filesystem::create_symlink(folder_.write("other", good), folder_ / "manifest.json");
    EXPECT_EQ(read(), refused);
    std::filesystem::remove(folder_ / "manifest.json");
    std::filesystem::create_directory(folder_ / "manifest.json");
    EXPECT_EQ(read(), refused);
    std::filesystem::remove(folder_ / "manifest.json");
    ASSERT_EQ(::mkfifo((folder_ / "manifest.json").c_str(), 0600), 0);
    EXPECT_EQ(read(), refused);
}

TEST_F(ManifestFileTest, MustNotBeTooLarge) {
    folder_.write("manifest.json", std::string(good) + std::string(65536 - std::string(good).size(), ' '));
    EXPECT_EQ(read(), "");
    folder_.write("manifest.json", std::string(good) + std::string(65537 - std::string(good).size(), ' '));
    EXPECT_EQ(read(), refused);
}

TEST(ManifestCheck, ComparesWithWhatIsInstalledAndOffered) {
    struct Row {
        const char* name;
        Manifest manifest;
        const char* feedVersion;
        std::optional<QString> highestVersion;
        const char* result;
    };
    const Manifest offered{"ovrel", "1.1", "linux", "x86_64"};
    const Row rows[] = {
        {"newer", offered, "1.1", std::nullopt, ""},
        {"newer than the highest", offered, "1.1", "1.05", ""},
        {"older than the feed says", {"ovrel", "0.9", "linux", "x86_64"}, "1.1", std::nullopt, older},
        {"other than the feed says", offered, "1.2", std::nullopt, refused},
        {"newer than the feed says", {"ovrel", "1.2", "linux", "x86_64"}, "1.1", std::nullopt, refused},
        {"equal under a newer number", {"ovrel", "1.0", "linux", "x86_64"}, "1.1", std::nullopt, older},
        {"equal", {"ovrel", "1.0", "linux", "x86_64"}, "1.0", std::nullopt, older},
        {"equal in other letters", {"ovrel", "1.00", "linux", "x86_64"}, "1.00", std::nullopt, older},
        {"the feed's in other letters", offered, "1.10", std::nullopt, refused},
        {"equal to the highest", offered, "1.1", "1.1", older},
        {"older than the highest", offered, "1.1", "1.5", older},
        {"another application", {"Ovrel", "1.1", "linux", "x86_64"}, "1.1", std::nullopt, refused},
        {"another system", {"ovrel", "1.1", "macos", "x86_64"}, "1.1", std::nullopt, refused},
        {"another architecture", {"ovrel", "1.1", "linux", "aarch64"}, "1.1", std::nullopt, refused},
        {"another application, older", {"Ovrel", "0.9", "linux", "x86_64"}, "0.9", std::nullopt, refused},
    };
    for (const Row& row : rows) {
        ManifestExpectation expectation;
        expectation.application = "ovrel";
        expectation.feedVersion = row.feedVersion;
        expectation.installedVersion = "1.0";
        expectation.highestVersion = row.highestVersion;
        expectation.system = "linux";
        expectation.architecture = "x86_64";
        EXPECT_EQ(failureOf([&] { checkManifest(row.manifest, expectation, compareNumbers); }), row.result) << row.name;
    }
}

} // namespace

} // namespace ovrel::test
