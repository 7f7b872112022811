#include "cli/options.h"

#include <gmock/gmock.h>

#include <map>

namespace ovrel::cli {

// Options are compared as a whole in a table of command lines.
static bool operator==(const Options& one, const Options& other) {
    return one.paths == other.paths && one.filesFrom == other.filesFrom && one.nulSeparated == other.nulSeparated &&
           one.output == other.output && one.quality == other.quality && one.mode == other.mode &&
           one.speed == other.speed && one.jobs == other.jobs && one.recursive == other.recursive &&
           one.skipExisting == other.skipExisting && one.preserveTimes == other.preserveTimes &&
           one.dryRun == other.dryRun && one.json == other.json && one.quiet == other.quiet;
}

namespace {

using Arguments = std::vector<std::string>;

Environment environmentOf(const std::map<std::string, std::string>& variables) {
    return [&variables](const char* name) -> const char* {
        const auto variable = variables.find(name);
        return variable == variables.end() ? nullptr : variable->second.c_str();
    };
}

Invocation parsed(const Arguments& arguments) {
    return parseCommandLine(arguments, environmentOf({}));
}

std::string joined(const Arguments& arguments) {
    std::string line;
    for (const std::string& argument : arguments) {
        line += argument + " ";
    }
    return line;
}

/// The options of `-o out photo.jpg`, changed.
Options usual(const std::function<void(Options&)>& change = [](Options&) {}) {
    Options options;
    options.output = "out";
    options.paths = {"photo.jpg"};
    change(options);
    return options;
}

TEST(CommandLine, GivesItsOptions) {
    const struct {
        Arguments arguments;
        Options options;
    } rows[] = {
        {{"-o", "out", "photo.jpg"}, usual()},
        {{"photo.jpg", "-oout"}, usual()},
        {{"--output=out", "photo.jpg"}, usual()},
        {{"-o", "elsewhere", "-o", "out", "photo.jpg"}, usual()},
        {{"-o", "out", "--", "photo.jpg"}, usual()},
        {{"-o", "-out", "photo.jpg"}, usual([](Options& o) { o.output = "-out"; })},
        {{"-o", "out", "a", "b", "a"}, usual([](Options& o) {
             o.paths = {"a", "b", "a"};
         })},
        {{"-o", "out", "[a,b]"}, usual([](Options& o) { o.paths = {"[a,b]"}; })},
        {{"-o", "out", "-"}, usual([](Options& o) { o.paths = {"-"}; })},
        {{"-o", "out", "--", "-q", "--", "--json"}, usual([](Options& o) {
             o.paths = {"-q", "--", "--json"};
         })},
        {{"-o", "out", "caf\xE9.png", "a\nb.png"}, usual([](Options& o) {
             o.paths = {"caf\xE9.png", "a\nb.png"};
         })},
        {{"-o", "[out]", "photo.jpg"}, usual([](Options& o) { o.output = "[out]"; })},
        {{"-o", "out", "photo.jpg", "-q", "1"}, usual([](Options& o) { o.quality = 1; })},
        {{"-o", "out", "photo.jpg", "--quality", "100"}, usual([](Options& o) { o.quality = 100; })},
        {{"-o", "out", "photo.jpg", "-m", "system"}, usual([](Options& o) { o.mode = EncodingMode::system; })},
        {{"-o", "out", "photo.jpg", "--mode=efficient"}, usual()},
        {{"-o", "out", "photo.jpg", "-s", "fast"}, usual([](Options& o) { o.speed = 8; })},
        {{"-o", "out", "photo.jpg", "-s", "balanced"}, usual()},
        {{"-o", "out", "photo.jpg", "--speed", "thorough"}, usual([](Options& o) { o.speed = 4; })},
        {{"-o", "out", "photo.jpg", "--no-recursive"}, usual([](Options& o) { o.recursive = false; })},
        {{"-o", "out", "photo.jpg", "-j", "0"}, usual([](Options& o) { o.jobs = 0; })},
        {{"-o", "out", "photo.jpg", "--jobs", "1000"}, usual([](Options& o) { o.jobs = 1000; })},
        {{"-o", "out", "photo.jpg", "--json"}, usual([](Options& o) { o.json = true; })},
        {{"-o", "out", "photo.jpg", "-n"}, usual([](Options& o) { o.dryRun = true; })},
        {{"-o", "out", "photo.jpg", "--dry-run"}, usual([](Options& o) { o.dryRun = true; })},
        {{"-o", "out", "photo.jpg", "--preserve-times"}, usual([](Options& o) { o.preserveTimes = true; })},
        {{"-o", "out", "photo.jpg", "--skip-existing"}, usual([](Options& o) { o.skipExisting = true; })},
        {{"-o", "out", "photo.jpg", "--quiet"}, usual([](Options& o) { o.quiet = true; })},
        {{"-o", "out", "photo.jpg", "--files-from", "-"}, usual([](Options& o) { o.filesFrom = "-"; })},
        {{"-o", "out", "--files-from", "list", "-0"}, usual([](Options& o) {
             o.paths = {};
             o.filesFrom = "list";
             o.nulSeparated = true;
         })},
        {{"-n0o", "out", "--files-from=list"}, usual([](Options& o) {
             o.paths = {};
             o.filesFrom = "list";
             o.nulSeparated = true;
             o.dryRun = true;
         })},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(joined(row.arguments));
        const Invocation invocation = parsed(row.arguments);
        EXPECT_EQ(invocation.kind, Invocation::Kind::run) << invocation.text;
        EXPECT_TRUE(invocation.options == row.options);
    }
}

TEST(CommandLine, SaysWhatIsWrongInBothLanguages) {
    const struct {
        Arguments arguments;
        std::string english;
        std::string russian;
    } rows[] = {
        {{}, "Choose an output folder with -o DIR", "Выберите папку сохранения: -o DIR"},
        {{"photo.jpg"}, "Choose an output folder with -o DIR", "Выберите папку сохранения: -o DIR"},
        {{"-o", "out"}, "Name an image or a folder to convert", "Укажите изображение или папку"},
        {{"-o", "", "a"}, "--output: must name a folder", "--output: нужно имя папки"},
        {{"a", "-o"}, "--output: a value is missing", "--output: не указано значение"},
        {{"-o", "out", "a", "-q"}, "--quality: a value is missing", "--quality: не указано значение"},
        {{"-o", "out", "a", "-q", "0"},
         "--quality: must be a whole number from 1 to 100",
         "--quality: нужно целое число от 1 до 100"},
        {{"-o", "out", "a", "-q", "101"},
         "--quality: must be a whole number from 1 to 100",
         "--quality: нужно целое число от 1 до 100"},
        {{"-o", "out", "a", "-q", "50.5"},
         "--quality: must be a whole number from 1 to 100",
         "--quality: нужно целое число от 1 до 100"},
        {{"-o", "out", "a", "-q", "99999999999"},
         "--quality: must be a whole number from 1 to 100",
         "--quality: нужно целое число от 1 до 100"},
        {{"-o", "out", "a", "-m", "System"},
         "--mode: must be efficient or system",
         "--mode: нужно efficient или system"},
        {{"-o", "out", "a", "-s", "6"},
         "--speed: must be fast, balanced or thorough",
         "--speed: нужно fast, balanced или thorough"},
        {{"-o", "out", "a", "-j", "-1"},
         "--jobs: must be a whole number from 0 to 1000",
         "--jobs: нужно целое число от 0 до 1000"},
        {{"-o", "out", "a", "-j", "1001"},
         "--jobs: must be a whole number from 0 to 1000",
         "--jobs: нужно целое число от 0 до 1000"},
        {{"-o", "out", "a", "--language", "de"}, "--language: must be en or ru", "--language: нужно en или ru"},
        {{"-o", "out", "a", "-0"}, "-0 needs --files-from", "-0 используется вместе с --files-from"},
        {{"-o", "out", "a", "--json=yes"}, "--json: takes no value", "--json: значение не требуется"},
        {{"-o", "out", "a", "--fast"}, "Unknown option: --fast", "Неизвестный параметр: --fast"},
        {{"-o", "out", "a", "-nx"}, "Unknown option: -x", "Неизвестный параметр: -x"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(joined(row.arguments));
        const Invocation english = parseCommandLine(row.arguments, environmentOf({}));
        EXPECT_EQ(english.kind, Invocation::Kind::wrongUsage);
        EXPECT_EQ(english.text, row.english);
        const std::map<std::string, std::string> variables{{"LANG", "ru_RU.UTF-8"}};
        const Invocation russian = parseCommandLine(row.arguments, environmentOf(variables));
        EXPECT_EQ(russian.kind, Invocation::Kind::wrongUsage);
        EXPECT_EQ(russian.text, row.russian);
    }
}

TEST(CommandLine, AsksForHelpOrVersionsWhateverElseIsMissing) {
    EXPECT_EQ(parsed({"--help"}).kind, Invocation::Kind::help);
    EXPECT_EQ(parsed({"-h"}).kind, Invocation::Kind::help);
    EXPECT_EQ(parsed({"--version"}).kind, Invocation::Kind::version);
}

TEST(Help, NamesEveryOptionInBothLanguages) {
    for (const char* const language : {"en", "ru"}) {
        const std::string help = parsed({"--help", "--language", language}).text;
        for (const char* const option : {"-o,",
                                         "--output DIR",
                                         "-q,",
                                         "--quality N",
                                         "-m,",
                                         "--mode MODE",
                                         "-s,",
                                         "--speed SPEED",
                                         "--no-recursive",
                                         "-j,",
                                         "--jobs N",
                                         "--language LANG",
                                         "--json",
                                         "-n,",
                                         "--dry-run",
                                         "--files-from FILE",
                                         "-0,",
                                         "--null",
                                         "--preserve-times",
                                         "--skip-existing",
                                         "--quiet",
                                         "--version",
                                         "-h,",
                                         "--help"}) {
            EXPECT_THAT(help, testing::HasSubstr(option)) << language;
        }
        EXPECT_THAT(help, testing::Not(testing::HasSubstr("\n\n\n"))) << language;
    }
    EXPECT_THAT(parsed({"--help"}).text, testing::HasSubstr("Usage: ovrel-cli [options] -o DIR PATH…\n"));
    EXPECT_THAT(parsed({"--help", "--language=ru"}).text,
                testing::HasSubstr("Использование: ovrel-cli [параметры] -o DIR PATH…\n"));
}

TEST(LanguageChoice, FollowsTheOptionThenTheEnvironment) {
    const struct {
        Arguments arguments;
        std::map<std::string, std::string> variables;
        AppLanguage language;
    } rows[] = {
        {{}, {}, AppLanguage::english},
        {{}, {{"LANG", "ru_RU.UTF-8"}}, AppLanguage::russian},
        {{}, {{"LANG", "ru"}}, AppLanguage::russian},
        {{}, {{"LANG", "de_DE.UTF-8"}}, AppLanguage::english},
        {{}, {{"LANG", "C"}}, AppLanguage::english},
        {{}, {{"LC_MESSAGES", "en_GB.UTF-8"}, {"LANG", "ru_RU.UTF-8"}}, AppLanguage::english},
        {{}, {{"LC_ALL", "ru_RU.UTF-8"}, {"LC_MESSAGES", "en_GB.UTF-8"}, {"LANG", "C"}}, AppLanguage::russian},
        {{}, {{"LC_ALL", ""}, {"LC_MESSAGES", ""}, {"LANG", "ru_RU.UTF-8"}}, AppLanguage::russian},
        {{"--language", "en"}, {{"LANG", "ru_RU.UTF-8"}}, AppLanguage::english},
        {{"--language=ru"}, {{"LANG", "C"}}, AppLanguage::russian},
        {{"--language", "ru", "--language", "en"}, {}, AppLanguage::english},
        {{"--language", "de"}, {{"LANG", "ru_RU.UTF-8"}}, AppLanguage::russian},
        {{"--language"}, {}, AppLanguage::english},
        {{"--", "--language", "ru"}, {}, AppLanguage::english},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(joined(row.arguments));
        EXPECT_EQ(chosenLanguage(row.arguments, environmentOf(row.variables)), row.language);
    }
}

} // namespace
} // namespace ovrel::cli
