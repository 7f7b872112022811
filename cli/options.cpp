#include "cli/options.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

namespace ovrel::cli {

namespace {

template <typename Value>
struct Choice {
    std::string_view name;
    Value value;
};

constexpr std::array<Choice<AppLanguage>, 2> languages{{{"en", AppLanguage::english}, {"ru", AppLanguage::russian}}};
constexpr std::array<Choice<EncodingMode>, 2> modes{
    {{"efficient", EncodingMode::efficient}, {"system", EncodingMode::system}}};
constexpr std::array<Choice<int>, 3> speeds{{{"fast", 8}, {"balanced", 6}, {"thorough", 4}}};

template <typename Value, std::size_t size>
std::optional<Value> choiceNamed(const std::array<Choice<Value>, size>& choices, std::string_view name) {
    for (const Choice<Value>& choice : choices) {
        if (choice.name == name) {
            return choice.value;
        }
    }
    return std::nullopt;
}

std::optional<int> wholeNumber(std::string_view digits, int least, int greatest) {
    int number = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number);
    if (error != std::errc() || stop != end || number < least || number > greatest) {
        return std::nullopt;
    }
    return number;
}

std::optional<int> qualityOf(std::string_view value) {
    return wholeNumber(value, 1, 100);
}
std::optional<int> jobsOf(std::string_view value) {
    return wholeNumber(value, 0, 1000);
}

/// Without the usage line in English.
class OptionsFormatter : public CLI::Formatter {
public:
    OptionsFormatter() { column_width(30); }

    std::string make_usage(const CLI::App* /*app*/, std::string /*name*/) const override { return {}; }
};

/// The parser and the values that it fills. Stays in its place, since CLI11 keeps references to the values.
class Parser {
public:
    explicit Parser(AppLanguage language);
    Parser(const Parser&) = delete;
    Parser& operator=(const Parser&) = delete;

    Invocation parse(const std::vector<std::string>& arguments);

private:
    std::string word(Text which) const { return std::string(text(which, language_)); }
    CLI::Option* addValue(const std::string& names, std::string& value, const std::string& placeholder, Text help);
    void addFlag(const std::string& names, bool& value, Text help);
    Invocation answer(Invocation::Kind kind, std::string text) const;
    std::optional<std::string> takePaths();
    std::optional<std::string> missing() const;
    void takeValues();
    std::string help() const;
    std::string explain(const CLI::ArgumentMismatch& mismatch) const;

    CLI::App app_;
    AppLanguage language_;
    Options options_;
    std::string output_;
    std::string filesFrom_;
    std::string quality_ = "50";
    std::string mode_ = "efficient";
    std::string speed_ = "balanced";
    std::string jobs_ = "1";
    std::string languageName_;
    bool flat_ = false;
};

Parser::Parser(AppLanguage language) : language_(language) {
    app_.formatter(std::make_shared<OptionsFormatter>());
    // CLI11 takes a positional argument in square brackets apart, so paths are what remains after the options.
    app_.allow_extras();

    const auto acceptIf = [this](auto parsed, Text complaint) {
        return [parsed, message = word(complaint)](const std::string& value) {
            return parsed(value) ? std::string() : message;
        };
    };

    app_.option_defaults()->group(word(Text::groupInput));
    addValue("-o,--output", output_, "DIR", Text::optionOutput)
        ->check(acceptIf([](const std::string& value) { return !value.empty(); }, Text::badFolder));
    addFlag("--no-recursive", flat_, Text::optionNoRecursive);
    addValue("--files-from", filesFrom_, "FILE", Text::optionFilesFrom);
    addFlag("-0,--null", options_.nulSeparated, Text::optionNul);
    addFlag("--skip-existing", options_.skipExisting, Text::optionSkipExisting);

    app_.option_defaults()->group(word(Text::groupConversion));
    addValue("-q,--quality", quality_, "N", Text::optionQuality)->check(acceptIf(qualityOf, Text::badQuality));
    addValue("-m,--mode", mode_, "MODE", Text::optionMode)
        ->check(acceptIf([](const std::string& value) { return choiceNamed(modes, value); }, Text::badMode));
    addValue("-s,--speed", speed_, "SPEED", Text::optionSpeed)
        ->check(acceptIf([](const std::string& value) { return choiceNamed(speeds, value); }, Text::badSpeed));
    addValue("-j,--jobs", jobs_, "N", Text::optionJobs)->check(acceptIf(jobsOf, Text::badJobs));
    addFlag("--preserve-times", options_.preserveTimes, Text::optionPreserveTimes);
    addFlag("-n,--dry-run", options_.dryRun, Text::optionDryRun);

    app_.option_defaults()->group(word(Text::groupOutput));
    addFlag("--json", options_.json, Text::optionJson);
    addFlag("--quiet", options_.quiet, Text::optionQuiet);
    addValue("--language", languageName_, "LANG", Text::optionLanguage)
        ->check(acceptIf([](const std::string& value) { return choiceNamed(languages, value); }, Text::badLanguage));

    app_.option_defaults()->group(word(Text::groupHelp));
    app_.set_version_flag("--version", std::string(), word(Text::optionVersion));
    app_.set_help_flag("-h,--help", word(Text::optionHelp));
}

CLI::Option* Parser::addValue(const std::string& names, std::string& value, const std::string& placeholder, Text help) {
    return app_.add_option(names, value, word(help))->option_text(placeholder)->take_last();
}

void Parser::addFlag(const std::string& names, bool& value, Text help) {
    app_.add_flag(names, value, word(help))->disable_flag_override();
}

Invocation Parser::parse(const std::vector<std::string>& arguments) {
    using Kind = Invocation::Kind;
    try {
        // CLI11 takes them in reverse order.
        app_.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        return answer(Kind::help, help());
    } catch (const CLI::CallForVersion&) {
        return answer(Kind::version, {});
    } catch (const CLI::ValidationError& error) {
        return answer(Kind::wrongUsage, error.what());
    } catch (const CLI::ArgumentMismatch& error) {
        return answer(Kind::wrongUsage, explain(error));
    } catch (const CLI::ParseError& error) {
        return answer(Kind::wrongUsage, misusedOption(error.what(), language_));
    }
    if (std::optional<std::string> complaint = takePaths()) {
        return answer(Kind::wrongUsage, *std::move(complaint));
    }
    if (std::optional<std::string> complaint = missing()) {
        return answer(Kind::wrongUsage, *std::move(complaint));
    }
    takeValues();
    return {.kind = Kind::run, .language = language_, .options = std::move(options_), .text = {}};
}

Invocation Parser::answer(Invocation::Kind kind, std::string text) const {
    return {.kind = kind, .language = language_, .options = {}, .text = std::move(text)};
}

/// \return what is wrong, if anything
std::optional<std::string> Parser::takePaths() {
    bool onlyPaths = false;
    for (const std::string& argument : app_.remaining()) {
        if (!onlyPaths && argument == "--") {
            onlyPaths = true;
        } else if (!onlyPaths && argument.size() > 1 && argument.front() == '-') {
            return unknownOption(argument, language_);
        } else {
            options_.paths.emplace_back(argument);
        }
    }
    if (app_.count("--files-from") > 0) {
        options_.filesFrom = filesFrom_;
    }
    return std::nullopt;
}

/// \return what the command line lacks, if anything
std::optional<std::string> Parser::missing() const {
    if (options_.nulSeparated && !options_.filesFrom) {
        return word(Text::nulWithoutList);
    }
    if (output_.empty()) {
        return word(Text::noOutput);
    }
    if (options_.paths.empty() && !options_.filesFrom) {
        return word(Text::noPaths);
    }
    return std::nullopt;
}

/// The texts have passed the checks of their options.
void Parser::takeValues() {
    options_.output = output_;
    options_.quality = qualityOf(quality_).value();
    options_.mode = choiceNamed(modes, mode_).value();
    options_.speed = choiceNamed(speeds, speed_).value();
    options_.jobs = static_cast<unsigned>(jobsOf(jobs_).value());
    options_.recursive = !flat_;
}

/// Versions of CLI11 wrap paragraphs and part groups in different ways; they are given the options alone.
std::string Parser::help() const {
    return word(Text::programDescription) + "\n" + word(Text::usage) +
           CLI::detail::find_and_replace(app_.help(), "\n\n\n", "\n\n") + word(Text::footer);
}

/// CLI11's message is English; all that is taken from it is the option that it begins with, with or without dashes.
std::string Parser::explain(const CLI::ArgumentMismatch& mismatch) const {
    const std::string message = mismatch.what();
    const std::string first = message.substr(0, message.find_first_of(": "));
    for (const std::string& name : {first, "--" + first}) {
        if (const CLI::Option* const option = app_.get_option_no_throw(name)) {
            return option->get_expected_max() == 0 ? unexpectedValue(name, language_) : missingValue(name, language_);
        }
    }
    return misusedOption(message, language_);
}

} // namespace

AppLanguage chosenLanguage(const std::vector<std::string>& arguments, const Environment& environment) {
    constexpr std::string_view option = "--language";
    std::optional<AppLanguage> named;
    for (std::size_t index = 0; index < arguments.size() && arguments[index] != "--"; ++index) {
        const std::string_view argument = arguments[index];
        std::string_view value;
        if (argument == option && index + 1 < arguments.size()) {
            value = arguments[index + 1];
        } else if (argument.starts_with(option) && argument.substr(option.size()).starts_with('=')) {
            value = argument.substr(option.size() + 1);
        }
        if (const std::optional<AppLanguage> language = choiceNamed(languages, value)) {
            named = language;
        }
    }
    if (named) {
        return *named;
    }
    // POSIX.1-2017, Base Definitions, section 8.2: the first that is set and not empty counts.
    for (const char* const variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* const value = environment(variable);
        if (value != nullptr && *value != '\0') {
            return std::string_view(value).starts_with("ru") ? AppLanguage::russian : AppLanguage::english;
        }
    }
    return AppLanguage::english;
}

Invocation parseCommandLine(const std::vector<std::string>& arguments, const Environment& environment) {
    return Parser(chosenLanguage(arguments, environment)).parse(arguments);
}

} // namespace ovrel::cli
