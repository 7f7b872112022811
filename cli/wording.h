/// \file wording.h
/// Every text that users of ovrel-cli read, in both languages. UTF-8 throughout.
#pragma once

#include "cli/totals.h"
#include "model/app_language.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>

namespace ovrel::cli {

/// Texts without variable parts.
enum class Text {
    programDescription,
    usage,
    footer,
    groupInput,
    groupConversion,
    groupOutput,
    groupHelp,
    optionOutput,
    optionNoRecursive,
    optionFilesFrom,
    optionNul,
    optionSkipExisting,
    optionQuality,
    optionMode,
    optionSpeed,
    optionJobs,
    optionPreserveTimes,
    optionDryRun,
    optionJson,
    optionQuiet,
    optionLanguage,
    optionVersion,
    optionHelp,
    badQuality,
    badMode,
    badSpeed,
    badJobs,
    badLanguage,
    badFolder,
    noOutput,
    noPaths,
    nulWithoutList,
    tryHelp,
    pathTooLong,
    nulInList,
    nothingToConvert,
    outputLost,
    count, ///< not a text: how many there are
};

std::string_view text(Text which, AppLanguage language);

/// What went wrong on the command line.
std::string unknownOption(std::string_view option, AppLanguage language);
std::string missingValue(std::string_view option, AppLanguage language);
std::string unexpectedValue(std::string_view option, AppLanguage language);
std::string misusedOption(std::string_view detail, AppLanguage language);

/// The message of an error, as the interface words it.
/// \param error not null
std::string describe(const std::exception_ptr& error, AppLanguage language);

/// What became of one image, to stand behind its name.
std::string successText(const std::filesystem::path& result, bool copied, bool multiImage, bool gif,
                        AppLanguage language);
std::string failureText(const std::exception_ptr& error, AppLanguage language);
std::string skippedText(const std::filesystem::path& existing, AppLanguage language);
std::string plannedText(const std::filesystem::path& result, bool copied, AppLanguage language);

std::string summary(const Totals& totals, AppLanguage language);

/// The summary of a dry run, in which nothing has been converted or copied yet.
std::string plannedSummary(const Totals& totals, AppLanguage language);

/// "Converting 3 of 10: ", to stand before the name of the image in hand.
std::string activityText(bool copying, std::size_t number, std::size_t items, AppLanguage language);

/// Says that the images in hand are the last.
std::string stoppingText(AppLanguage language);

/// Images a second, or a minute where that reads better.
/// \param imagesPerSecond above 0
std::string speedText(double imagesPerSecond, AppLanguage language);

/// Minutes and seconds, with hours when there are any.
std::string timeLeftText(std::uint64_t seconds, AppLanguage language);

} // namespace ovrel::cli
