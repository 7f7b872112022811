#include "cli/wording.h"

#include "model/path_text.h"
#include "model/run_texts.h"

#include <array>
#include <cmath>

namespace ovrel::cli {

namespace {

struct Row {
    Text which;
    std::string_view english;
    std::string_view russian;
};

constexpr std::array<Row, static_cast<std::size_t>(Text::count)> rows{{
    {Text::programDescription,
     "Converts JPG, PNG, WebP and GIF images to AVIF. Images that are AVIF already are copied.\n"
     "Sources are only read, and an existing file is never replaced.\n",
     "Преобразует изображения JPG, PNG, WebP и GIF в AVIF. Готовые AVIF копируются.\n"
     "Исходные файлы только читаются, существующие файлы никогда не заменяются.\n"},
    {Text::usage, "Usage: ovrel-cli [options] -o DIR PATH…\n", "Использование: ovrel-cli [параметры] -o DIR PATH…\n"},
    {Text::footer,
     "PATH is an image or a folder; the folders inside a folder appear in DIR again.\n"
     "\n"
     "Exit status: 0 all went well, 1 some images failed, 2 wrong usage,\n"
     "             3 nothing to convert, 130 stopped.\n"
     "\n"
     "Example: ovrel-cli -q 60 -o ~/avif ~/Pictures\n",
     "PATH — изображение или папка; вложенные папки повторяются в DIR.\n"
     "\n"
     "Код завершения: 0 — всё удалось, 1 — часть изображений с ошибками, 2 — неверные параметры,\n"
     "                3 — нечего преобразовывать, 130 — остановлено.\n"
     "\n"
     "Пример: ovrel-cli -q 60 -o ~/avif ~/Pictures\n"},
    {Text::groupInput, "What to convert", "Что преобразовывать"},
    {Text::groupConversion, "How to convert", "Как преобразовывать"},
    {Text::groupOutput, "What to print", "Что выводить"},
    {Text::groupHelp, "About the program", "О программе"},
    {Text::optionOutput, "Folder for the results, created when missing; required",
     "Папка для результатов, создаётся при необходимости; обязательный параметр"},
    {Text::optionNoRecursive, "Leave out the folders inside given folders", "Не заходить во вложенные папки"},
    {Text::optionFilesFrom, "Also take the paths in this file, one a line; - is standard input",
     "Взять пути и из этого файла, по одному в строке; - означает стандартный ввод"},
    {Text::optionNul, "A NUL ends each path of --files-from, not a line break",
     "Пути в --files-from разделены нулевым байтом, а не переводом строки"},
    {Text::optionSkipExisting, "Leave out a source whose first result name exists",
     "Пропускать файлы, для которых первое имя результата уже занято"},
    {Text::optionQuality, "From 1, smaller file, to 100, more detail; default 50",
     "От 1 (меньше файл) до 100 (больше деталей); по умолчанию 50"},
    {Text::optionMode, "efficient: libaom through libavif (default); system: the system's own encoder",
     "efficient: libaom через libavif (по умолчанию); system: кодировщик системы"},
    {Text::optionSpeed, "fast, balanced (default) or thorough",
     "fast (быстро), balanced (баланс, по умолчанию) или thorough (тщательно)"},
    {Text::optionJobs, "How many images at once; default 1; 0: one for each processor",
     "Сколько изображений сразу; по умолчанию 1; 0: по одному на процессор"},
    {Text::optionPreserveTimes, "Give a result the modification time of its source",
     "Сохранять у результата время изменения исходного файла"},
    {Text::optionDryRun, "Say what would be done; write nothing", "Показать, что будет сделано, ничего не записывая"},
    {Text::optionJson, "Print one JSON object a line for each image",
     "Выводить для каждого изображения строку с объектом JSON"},
    {Text::optionQuiet, "Print failures only", "Выводить только ошибки"},
    {Text::optionLanguage, "en or ru; otherwise as LC_ALL, LC_MESSAGES or LANG say",
     "en или ru; иначе как указано в LC_ALL, LC_MESSAGES или LANG"},
    {Text::optionVersion, "Print the versions of Ovrel and of its codecs", "Показать версии Ovrel и кодеков"},
    {Text::optionHelp, "Print this help", "Показать эту справку"},
    {Text::badQuality, "must be a whole number from 1 to 100", "нужно целое число от 1 до 100"},
    {Text::badMode, "must be efficient or system", "нужно efficient или system"},
    {Text::badSpeed, "must be fast, balanced or thorough", "нужно fast, balanced или thorough"},
    {Text::badJobs, "must be a whole number from 0 to 1000", "нужно целое число от 0 до 1000"},
    {Text::badLanguage, "must be en or ru", "нужно en или ru"},
    {Text::badFolder, "must name a folder", "нужно имя папки"},
    {Text::noOutput, "Choose an output folder with -o DIR", "Выберите папку сохранения: -o DIR"},
    {Text::noPaths, "Name an image or a folder to convert", "Укажите изображение или папку"},
    {Text::nulWithoutList, "-0 needs --files-from", "-0 используется вместе с --files-from"},
    {Text::tryHelp, "ovrel-cli --help explains the usage.", "Справка: ovrel-cli --help"},
    {Text::pathTooLong, "The list holds a path that is too long", "В списке есть слишком длинный путь"},
    {Text::nulInList, "The list holds NUL bytes; use -0", "В списке есть нулевые байты; используйте -0"},
    {Text::nothingToConvert, "Nothing to convert: no JPG, JPEG, WebP, PNG, GIF or AVIF files found",
     "Нечего преобразовывать: нет файлов JPG, JPEG, WebP, PNG, GIF или AVIF"},
    {Text::outputLost, "Unable to write to standard output: ", "Не удалось записать в стандартный вывод: "},
}};

constexpr bool rowsFollowTheEnumeration() {
    for (std::size_t index = 0; index < rows.size(); ++index) {
        if (rows[index].which != static_cast<Text>(index)) {
            return false;
        }
    }
    return true;
}
static_assert(rowsFollowTheEnumeration());

constexpr std::string_view choose(AppLanguage language, std::string_view english, std::string_view russian) {
    return language == AppLanguage::russian ? russian : english;
}

std::string choose(AppLanguage language, std::string_view english, std::string_view russian, std::string_view follows) {
    return std::string(choose(language, english, russian)).append(follows);
}

std::string counted(std::size_t number, std::string_view english, std::string_view russian, AppLanguage language) {
    return std::to_string(number) + " " + std::string(choose(language, english, russian));
}

/// What follows the other counts when the user asked to skip.
std::string skippedCount(const Totals& totals, AppLanguage language) {
    return totals.showSkipped ? ", " + counted(totals.skipped, "skipped", "пропущено", language) : std::string();
}

qint64 toNumber(std::size_t count) {
    return static_cast<qint64>(count);
}

std::string twoDigits(std::uint64_t number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

} // namespace

std::string_view text(Text which, AppLanguage language) {
    const Row& row = rows.at(static_cast<std::size_t>(which));
    return choose(language, row.english, row.russian);
}

std::string unknownOption(std::string_view option, AppLanguage language) {
    return choose(language, "Unknown option: ", "Неизвестный параметр: ", option);
}

std::string missingValue(std::string_view option, AppLanguage language) {
    return std::string(option) + ": " + std::string(choose(language, "a value is missing", "не указано значение"));
}

std::string unexpectedValue(std::string_view option, AppLanguage language) {
    return std::string(option) + ": " + std::string(choose(language, "takes no value", "значение не требуется"));
}

std::string misusedOption(std::string_view detail, AppLanguage language) {
    return choose(language, "Wrong usage: ", "Неверные параметры: ", detail);
}

std::string describe(const std::exception_ptr& error, AppLanguage language) {
    return language.describe(error).toStdString();
}

std::string successText(const std::filesystem::path& result, bool copied, bool multiImage, bool gif,
                        AppLanguage language) {
    const WrittenImage image{
        .fileName = textOf(result.filename()), .copied = copied, .multiFrame = multiImage, .gif = gif};
    return ovrel::successText(language, image).toStdString();
}

std::string failureText(const std::exception_ptr& error, AppLanguage language) {
    return ovrel::failureText(language, error).toStdString();
}

std::string skippedText(const std::filesystem::path& existing, AppLanguage language) {
    return choose(language, "skipped, there is already ", "пропущен, уже есть ", existing.native());
}

std::string plannedText(const std::filesystem::path& result, bool copied, AppLanguage language) {
    return copied ? choose(language, "would be copied to ", "будет скопирован в ", result.native())
                  : choose(language, "would be converted to ", "будет преобразован в ", result.native());
}

std::string summary(const Totals& totals, AppLanguage language) {
    std::string line =
        summaryText(language, totals.stopped, toNumber(totals.succeeded), toNumber(totals.failed)).toStdString();
    line += skippedCount(totals, language);
    if (totals.stopped) {
        const std::size_t completed = totals.succeeded + totals.failed + totals.skipped;
        line += ", " + remainingText(language, toNumber(totals.items - completed)).toStdString();
    }
    return line;
}

std::string plannedSummary(const Totals& totals, AppLanguage language) {
    return choose(language,
                  "Dry run: ", "Пробный запуск: ", counted(totals.succeeded, "to do", "к выполнению", language)) +
           ", " + failuresText(language, toNumber(totals.failed)).toStdString() + skippedCount(totals, language);
}

std::string activityText(bool copying, std::size_t number, std::size_t items, AppLanguage language) {
    return ovrel::activityText(language, copying, toNumber(number), toNumber(items)).toStdString();
}

std::string stoppingText(AppLanguage language) {
    return language.text(QStringLiteral("Останавливаем…")).toStdString();
}

std::string speedText(double imagesPerSecond, AppLanguage language) {
    const bool bySecond = imagesPerSecond >= 1;
    const double rate = bySecond ? imagesPerSecond : imagesPerSecond * 60;
    const std::string_view unit = bySecond ? choose(language, "/s", "/с") : choose(language, "/min", "/мин");
    const long long tenths = std::llround(rate * 10);
    if (tenths >= 100) {
        return std::to_string(std::llround(rate)).append(unit);
    }
    return (std::to_string(tenths / 10).append(choose(language, ".", ",")) + std::to_string(tenths % 10)).append(unit);
}

std::string timeLeftText(std::uint64_t seconds, AppLanguage language) {
    const std::uint64_t hours = seconds / 3600;
    const std::uint64_t minutes = seconds / 60 % 60;
    const std::string time = (hours > 0 ? std::to_string(hours) + ":" + twoDigits(minutes) : std::to_string(minutes)) +
                             ":" + twoDigits(seconds % 60);
    return language == AppLanguage::russian ? "осталось " + time : time + " left";
}

} // namespace ovrel::cli
