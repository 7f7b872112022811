#include "cli/wording.h"

#include "conversion/conversion_error.h"
#include "platform/file_error.h"

#include <gtest/gtest.h>

namespace ovrel::cli {
namespace {

template <typename Error>
std::exception_ptr pointerTo(Error error) {
    return std::make_exception_ptr(std::move(error));
}

TEST(Wording, HasEveryTextInBothLanguages) {
    for (std::size_t index = 0; index < static_cast<std::size_t>(Text::count); ++index) {
        SCOPED_TRACE(index);
        const auto which = static_cast<Text>(index);
        EXPECT_FALSE(text(which, AppLanguage::english).empty());
        EXPECT_FALSE(text(which, AppLanguage::russian).empty());
        EXPECT_NE(text(which, AppLanguage::english), text(which, AppLanguage::russian));
    }
}

TEST(Wording, DescribesErrorsAsTheInterfaceDoes) {
    const std::exception_ptr error = pointerTo(ConversionError("Кадр 3: no", "Frame 3: no"));
    EXPECT_EQ(describe(error, AppLanguage::english), "Frame 3: no");
    EXPECT_EQ(describe(error, AppLanguage::russian), "Кадр 3: no");
}

TEST(Wording, TellsOfASuccess) {
    const struct {
        bool copied;
        bool multiImage;
        bool gif;
        std::string english;
        std::string russian;
    } rows[] = {
        {false, false, false, "✓ photo-2.avif", "✓ photo-2.avif"},
        {false, false, true, "✓ photo-2.avif", "✓ photo-2.avif"},
        {true, false, false, "✓ photo-2.avif · copied", "✓ photo-2.avif · скопирован"},
        {true, true, true, "✓ photo-2.avif · copied", "✓ photo-2.avif · скопирован"},
        {false, true, true, "✓ photo-2.avif · animated", "✓ photo-2.avif · анимация"},
        {false, true, false, "✓ photo-2.avif · first frame only", "✓ photo-2.avif · только первый кадр"},
    };
    for (const auto& row : rows) {
        const auto told = [&row](AppLanguage language) {
            return successText("out/sub/photo-2.avif", row.copied, row.multiImage, row.gif, language);
        };
        EXPECT_EQ(told(AppLanguage::english), row.english);
        EXPECT_EQ(told(AppLanguage::russian), row.russian);
    }
}

TEST(Wording, TellsOfAFailure) {
    const std::exception_ptr error = pointerTo(FileError(640, "a"));
    EXPECT_EQ(failureText(error, AppLanguage::english), "Error: There is not enough free disk space.");
    EXPECT_EQ(failureText(error, AppLanguage::russian), "Ошибка: Недостаточно свободного места на диске.");
}

TEST(Wording, TellsOfWhatIsLeftOutOrPlanned) {
    EXPECT_EQ(skippedText("out/a.avif", AppLanguage::english), "skipped, there is already out/a.avif");
    EXPECT_EQ(skippedText("out/a.avif", AppLanguage::russian), "пропущен, уже есть out/a.avif");
    EXPECT_EQ(plannedText("out/a.avif", false, AppLanguage::english), "would be converted to out/a.avif");
    EXPECT_EQ(plannedText("out/a.avif", false, AppLanguage::russian), "будет преобразован в out/a.avif");
    EXPECT_EQ(plannedText("out/a.avif", true, AppLanguage::english), "would be copied to out/a.avif");
    EXPECT_EQ(plannedText("out/a.avif", true, AppLanguage::russian), "будет скопирован в out/a.avif");
}

TEST(Wording, SumsUp) {
    const struct {
        Totals totals;
        std::string english;
        std::string russian;
    } rows[] = {
        {{.items = 4, .succeeded = 3, .failed = 1}, "Done: 3 successful, 1 failed", "Готово: 3 успешно, 1 с ошибками"},
        {{.items = 10, .succeeded = 2, .failed = 1, .stopped = true},
         "Stopped: 2 successful, 1 failed, 7 remaining",
         "Остановлено: 2 успешно, 1 с ошибками, 7 осталось"},
        {{.items = 1, .succeeded = 1, .stopped = true},
         "Stopped: 1 successful, 0 failed, 0 remaining",
         "Остановлено: 1 успешно, 0 с ошибками, 0 осталось"},
        {{.items = 6, .succeeded = 1, .skipped = 5, .showSkipped = true},
         "Done: 1 successful, 0 failed, 5 skipped",
         "Готово: 1 успешно, 0 с ошибками, 5 пропущено"},
        {{.items = 6, .succeeded = 1, .failed = 1, .skipped = 2, .showSkipped = true, .stopped = true},
         "Stopped: 1 successful, 1 failed, 2 skipped, 2 remaining",
         "Остановлено: 1 успешно, 1 с ошибками, 2 пропущено, 2 осталось"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(summary(row.totals, AppLanguage::english), row.english);
        EXPECT_EQ(summary(row.totals, AppLanguage::russian), row.russian);
    }
    const Totals planned{.items = 6, .succeeded = 4, .skipped = 2, .showSkipped = true};
    EXPECT_EQ(plannedSummary(planned, AppLanguage::english), "Dry run: 4 to do, 0 failed, 2 skipped");
    EXPECT_EQ(plannedSummary(planned, AppLanguage::russian),
              "Пробный запуск: 4 к выполнению, 0 с ошибками, 2 пропущено");
}

TEST(Wording, TellsWhatIsInHand) {
    EXPECT_EQ(activityText(false, 3, 10, AppLanguage::english), "Converting 3 of 10: ");
    EXPECT_EQ(activityText(false, 3, 10, AppLanguage::russian), "Преобразую 3 из 10: ");
    EXPECT_EQ(activityText(true, 3, 10, AppLanguage::english), "Copying 3 of 10: ");
    EXPECT_EQ(activityText(true, 3, 10, AppLanguage::russian), "Копирую 3 из 10: ");
}

TEST(Wording, GivesTheSpeedInTheUnitThatReadsBest) {
    const struct {
        double imagesPerSecond;
        std::string english;
        std::string russian;
    } rows[] = {
        {1.0, "1.0/s", "1,0/с"},     {2.54, "2.5/s", "2,5/с"},      {9.96, "10/s", "10/с"},
        {123.4, "123/s", "123/с"},   {0.5, "30/min", "30/мин"},     {0.1, "6.0/min", "6,0/мин"},
        {0.999, "60/min", "60/мин"}, {0.005, "0.3/min", "0,3/мин"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(speedText(row.imagesPerSecond, AppLanguage::english), row.english);
        EXPECT_EQ(speedText(row.imagesPerSecond, AppLanguage::russian), row.russian);
    }
}

TEST(Wording, GivesTheTimeLeft) {
    const struct {
        std::uint64_t seconds;
        std::string english;
        std::string russian;
    } rows[] = {
        {0, "0:00 left", "осталось 0:00"},          {59, "0:59 left", "осталось 0:59"},
        {60, "1:00 left", "осталось 1:00"},         {3599, "59:59 left", "осталось 59:59"},
        {3661, "1:01:01 left", "осталось 1:01:01"}, {360000, "100:00:00 left", "осталось 100:00:00"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(timeLeftText(row.seconds, AppLanguage::english), row.english);
        EXPECT_EQ(timeLeftText(row.seconds, AppLanguage::russian), row.russian);
    }
}

} // namespace
} // namespace ovrel::cli
