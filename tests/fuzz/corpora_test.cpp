// What the fuzz targets have come upon, without a fuzzer: every kept input and every seed once.

#include "fuzz/seeds.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

extern "C" {
int fuzz_appcast(const std::uint8_t* bytes, std::size_t count);
int fuzz_archive(const std::uint8_t* bytes, std::size_t count);
int fuzz_avif(const std::uint8_t* bytes, std::size_t count);
int fuzz_exif(const std::uint8_t* bytes, std::size_t count);
int fuzz_gif(const std::uint8_t* bytes, std::size_t count);
int fuzz_heif(const std::uint8_t* bytes, std::size_t count);
int fuzz_image(const std::uint8_t* bytes, std::size_t count);
int fuzz_installer_order(const std::uint8_t* bytes, std::size_t count);
int fuzz_journal(const std::uint8_t* bytes, std::size_t count);
int fuzz_jpeg(const std::uint8_t* bytes, std::size_t count);
int fuzz_manifest(const std::uint8_t* bytes, std::size_t count);
int fuzz_png(const std::uint8_t* bytes, std::size_t count);
int fuzz_settings(const std::uint8_t* bytes, std::size_t count);
int fuzz_webp(const std::uint8_t* bytes, std::size_t count);
}

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;

struct Target {
    const char* name;
    int (*run)(const std::uint8_t* bytes, std::size_t count);
};

void PrintTo(const Target& target, std::ostream* stream) {
    *stream << target.name;
}

constexpr std::array<Target, 14> targets = {{{"appcast", fuzz_appcast},
                                             {"archive", fuzz_archive},
                                             {"avif", fuzz_avif},
                                             {"exif", fuzz_exif},
                                             {"gif", fuzz_gif},
                                             {"heif", fuzz_heif},
                                             {"image", fuzz_image},
                                             {"installer_order", fuzz_installer_order},
                                             {"journal", fuzz_journal},
                                             {"jpeg", fuzz_jpeg},
                                             {"manifest", fuzz_manifest},
                                             {"png", fuzz_png},
                                             {"settings", fuzz_settings},
                                             {"webp", fuzz_webp}}};

const fs::path fuzzFolder = OVREL_FUZZ_FOLDER;

/// The files in a folder, sorted; none where there is no such folder.
std::vector<fs::path> filesIn(const fs::path& folder) {
    std::vector<fs::path> files;
    if (fs::is_directory(folder)) {
        for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

/// A target ends the program when something is wrong, so the last line that it leaves names the input.
void run(const Target& target, const std::vector<fs::path>& inputs) {
    for (const fs::path& input : inputs) {
        std::cout << target.name << " " << input.native() << std::endl;
        const std::string bytes = contentOf(input);
        // A copy of just that size, so that the sanitizers see the first byte beyond it.
        const std::vector<std::uint8_t> exact(bytes.begin(), bytes.end());
        EXPECT_EQ(target.run(exact.data(), exact.size()), 0);
    }
}

class FuzzCorpora : public testing::TestWithParam<Target> {
protected:
    static void SetUpTestSuite() {
        seeds_ = std::make_unique<TemporaryFolder>();
        writeSeeds(seeds_->path());
    }
    static void TearDownTestSuite() { seeds_.reset(); }

    static inline std::unique_ptr<TemporaryFolder> seeds_;
};

TEST_P(FuzzCorpora, KeepsInputsThatItsTargetTakes) {
    const std::vector<fs::path> inputs = filesIn(fuzzFolder / "corpus" / GetParam().name);
    ASSERT_FALSE(inputs.empty());
    run(GetParam(), inputs);
}

TEST_P(FuzzCorpora, BeginsWithSeedsThatItsTargetTakes) {
    const std::vector<fs::path> inputs = filesIn(*seeds_ / GetParam().name);
    ASSERT_FALSE(inputs.empty());
    run(GetParam(), inputs);
}

INSTANTIATE_TEST_SUITE_P(Targets, FuzzCorpora, testing::ValuesIn(targets),
                         [](const auto& target) { return std::string(target.param.name); });

std::vector<std::string> namesOfTargets() {
    std::vector<std::string> names;
    for (const Target& target : targets) {
        names.emplace_back(target.name);
    }
    return names;
}

TEST(FuzzTargets, AreAllHere) {
    const std::string prefix = "fuzz_";
    std::vector<std::string> names;
    for (const fs::path& file : filesIn(fuzzFolder)) {
        const std::string name = file.stem().native();
        if (file.extension() == ".cpp" && name.compare(0, prefix.size(), prefix) == 0) {
            names.push_back(name.substr(prefix.size()));
        }
    }
    EXPECT_EQ(names, namesOfTargets());
}

TEST(FuzzTargets, HaveACorpusEach) {
    std::vector<std::string> names;
    for (const fs::path& folder : filesIn(fuzzFolder / "corpus")) {
        names.push_back(folder.filename().native());
    }
    EXPECT_EQ(names, namesOfTargets());
}

} // namespace

} // namespace ovrel::test
