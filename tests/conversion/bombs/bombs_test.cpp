#include "tests/conversion/bombs/bomb.h"
#include "tests/conversion/bombs/limited_conversion.h"
#include "tests/support/sanitizers.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>

namespace ovrel::test {

void PrintTo(const Bomb& bomb, std::ostream* stream) {
    *stream << bomb.name;
}

namespace {

namespace fs = std::filesystem;

struct Texts {
    std::string english;
    std::string russian;
};

Texts textsOf(Ending ending) {
    switch (ending) {
    case Ending::converted:
    case Ending::copied: return {};
    case Ending::damaged:
        return {"The image is damaged or unsupported", "Изображение повреждено или не поддерживается"};
    case Ending::lacksMemory: return {"Not enough memory to process the image", "Недостаточно памяти для изображения"};
    case Ending::lacksMemoryForFrame: return {"Unable to prepare GIF frame 1", "Не удалось подготовить кадр GIF 1"};
    }
    return {"no such ending", ""};
}

/// Whether `ending` comes of the limit on memory, so that without one a picture may be of any size.
bool needsMemoryLimit(Ending ending) {
    return ending == Ending::lacksMemory || ending == Ending::lacksMemoryForFrame;
}

class Bombs : public testing::TestWithParam<Bomb> {};

TEST_P(Bombs, EndWithinTenSecondsAndOneGibibyteWithAMessage) {
    const Bomb& bomb = GetParam();
    if (needsMemoryLimit(bomb.ending) && !canLimitMemory) {
        GTEST_SKIP() << "a sanitizer lets no limit on memory be set";
    }
    const TemporaryFolder folder;
    const fs::path file = folder.write(bomb.file, bomb.bytes());
    if (bomb.zeroBytesBehind != 0) {
        fs::resize_file(file, fs::file_size(file) + bomb.zeroBytesBehind);
    }
    const TemporaryFolder output;
    const LimitedOutcome outcome = convertWithinLimits(file, output.path());
    EXPECT_EQ(outcome.status, 0) << "128 and a signal's number; that of spent time is SIGXCPU, or SIGKILL";
    const Texts expected = textsOf(bomb.ending);
    EXPECT_EQ(outcome.english, expected.english);
    EXPECT_EQ(outcome.russian, expected.russian);
    const bool hasResult = bomb.ending == Ending::converted || bomb.ending == Ending::copied;
    EXPECT_THAT(output.listing(), testing::SizeIs(hasResult ? 1 : 0));
    if (canLimitMemory) {
        EXPECT_LE(outcome.peakBytes, mostMemoryBytes);
    }
}

std::string nameOf(const testing::TestParamInfo<Bomb>& row) {
    return row.param.name;
}

INSTANTIATE_TEST_SUITE_P(Jpeg, Bombs, testing::ValuesIn(jpegBombs()), nameOf);
INSTANTIATE_TEST_SUITE_P(Png, Bombs, testing::ValuesIn(pngBombs()), nameOf);
INSTANTIATE_TEST_SUITE_P(Gif, Bombs, testing::ValuesIn(gifBombs()), nameOf);
INSTANTIATE_TEST_SUITE_P(Webp, Bombs, testing::ValuesIn(webpBombs()), nameOf);
INSTANTIATE_TEST_SUITE_P(Avif, Bombs, testing::ValuesIn(avifBombs()), nameOf);
INSTANTIATE_TEST_SUITE_P(Heif, Bombs, testing::ValuesIn(heifBombs()), nameOf);
INSTANTIATE_TEST_SUITE_P(Profile, Bombs, testing::ValuesIn(profileBombs()), nameOf);

} // namespace

} // namespace ovrel::test
