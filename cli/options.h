/// \file options.h
/// The command line of ovrel-cli.
#pragma once

#include "cli/wording.h"
#include "conversion/encoding_mode.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ovrel::cli {

/// A valid command line.
struct Options {
    std::vector<std::filesystem::path> paths;       ///< images and folders as given
    std::optional<std::filesystem::path> filesFrom; ///< a list with more of them; "-" is standard input
    bool nulSeparated = false;                      ///< a NUL ends each path of the list, otherwise a line break
    std::filesystem::path output;                   ///< not empty
    int quality = 50;                               ///< 1 … 100
    EncodingMode mode = EncodingMode::efficient;
    int speed = 6;     ///< 8, 6 or 4; libaom's scale, where more is faster
    unsigned jobs = 1; ///< images at once, at most 1000; 0 is one for each processor
    bool recursive = true;
    bool skipExisting = false;
    bool preserveTimes = false;
    bool dryRun = false;
    bool json = false;
    bool quiet = false;
};

/// What a command line asks for.
struct Invocation {
    enum class Kind { run, help, version, wrongUsage };

    Kind kind = Kind::run;
    AppLanguage language = AppLanguage::english;
    Options options;  ///< for run
    std::string text; ///< help's text or what is wrong, lines that may hold bytes of the command line
};

/// Looks up a variable of the environment; null when it is not set.
using Environment = std::function<const char*(const char* name)>;

/// The language that --language names, else the first variable that is set among LC_ALL, LC_MESSAGES and LANG: Russian
/// when it begins with "ru", English otherwise. Needs no valid command line, so that mistakes in it can be worded.
AppLanguage chosenLanguage(const std::vector<std::string>& arguments, const Environment& environment);

/// \param arguments without the program's name
Invocation parseCommandLine(const std::vector<std::string>& arguments, const Environment& environment);

} // namespace ovrel::cli
