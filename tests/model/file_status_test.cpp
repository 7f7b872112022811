#include "conversion/conversion_error.h"
#include "model/file_status.h"
#include "platform/file_error.h"

#include <gtest/gtest.h>

namespace ovrel::test {

namespace {

const QString name = QStringLiteral("photo-2.avif");

TEST(FileStatus, IsWordedInBothLanguages) {
    struct Row {
        FileStatus status;
        const char* russian;
        const char* english;
    };
    const Row rows[] = {
        {FileStatus::processing(true), "Копирование…", "Copying…"},
        {FileStatus::processing(false), "Преобразование…", "Converting…"},
        {FileStatus::success({name, false, false, false}), "✓ photo-2.avif", "✓ photo-2.avif"},
        {FileStatus::success({name, false, false, true}), "✓ photo-2.avif", "✓ photo-2.avif"},
        {FileStatus::success({name, true, false, false}), "✓ photo-2.avif · скопирован", "✓ photo-2.avif · copied"},
        {FileStatus::success({name, true, true, true}), "✓ photo-2.avif · скопирован", "✓ photo-2.avif · copied"},
        {FileStatus::success({name, false, true, true}), "✓ photo-2.avif · анимация", "✓ photo-2.avif · animated"},
        {FileStatus::success({name, false, true, false}), "✓ photo-2.avif · только первый кадр",
         "✓ photo-2.avif · first frame only"},
        {FileStatus::failure(std::make_exception_ptr(ConversionError("Беда", "Trouble"))), "Ошибка: Беда",
         "Error: Trouble"},
        {FileStatus::failure(std::make_exception_ptr(FileError(FileError::writeOutOfSpace, "/out"))),
         "Ошибка: Недостаточно свободного места на диске.", "Error: There is not enough free disk space."},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.status.text(AppLanguage::russian).toStdString(), row.russian);
        EXPECT_EQ(row.status.text(AppLanguage::english).toStdString(), row.english);
    }
}

TEST(FileStatus, KnowsWhetherTheItemSucceededOrFailed) {
    const FileStatus processing = FileStatus::processing(false);
    EXPECT_FALSE(processing.succeeded());
    EXPECT_FALSE(processing.failed());
    const FileStatus success = FileStatus::success({name, false, false, false});
    EXPECT_TRUE(success.succeeded());
    EXPECT_FALSE(success.failed());
    const FileStatus failure = FileStatus::failure(std::make_exception_ptr(ConversionError("Беда")));
    EXPECT_FALSE(failure.succeeded());
    EXPECT_TRUE(failure.failed());
}

} // namespace

} // namespace ovrel::test
