#include "cli/batch.h"
#include "cli/display_text.h"
#include "cli/options.h"
#include "cli/path_list.h"
#include "cli/plan.h"
#include "cli/report.h"
#include "cli/standard_streams.h"
#include "cli/step_work.h"
#include "cli/stop_signals.h"
#include "cli/wording.h"
#include "conversion/convert.h"
#include "conversion/converter.h"
#include "platform/codec_versions.h"
#include "platform/file_system.h"
#include "platform/temporary_file.h"

#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <exception>
#include <span>
#include <stop_token>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace ovrel;
using namespace ovrel::cli;

enum ExitStatus { allWell = 0, someFailed = 1, wrongUsage = 2, nothingToConvert = 3, stopped = 130 };

void complain(Output& err, std::string_view what) {
    err.write("ovrel-cli: " + displayable(what) + "\n");
}

ExitStatus complainOfLostOutput(const DescriptorOutput& out, Output& err, AppLanguage language) {
    complain(err, std::string(text(Text::outputLost, language)) + std::generic_category().message(out.error()));
    return someFailed;
}

ExitStatus print(const std::string& whole, DescriptorOutput& out, Output& err, AppLanguage language) {
    return out.write(whole) ? allWell : complainOfLostOutput(out, err, language);
}

std::string versions() {
    std::string lines = "Ovrel " OVREL_VERSION "\n";
    for (const CodecVersion& codec : codecVersions()) {
        lines += codec.name + " " + codec.version + "\n";
    }
    return lines;
}

/// The paths of the command line, then those of the list. One that cannot be read ends the program with its message.
std::vector<fs::path> allPaths(const Options& options) {
    std::vector<fs::path> paths = options.paths;
    if (options.filesFrom) {
        const std::vector<fs::path> listed = readPathList(*options.filesFrom, options.nulSeparated ? '\0' : '\n');
        paths.insert(paths.end(), listed.begin(), listed.end());
    }
    return paths;
}

StepFunction workFor(const Options& options, const std::stop_token& stop) {
    FileSystem& files = FileSystem::native();
    if (options.dryRun) {
        return [&files](const Step& step) { return foretell(step, files); };
    }
    return [&files, &options, stop](const Step& step) {
        const auto convert = [&options](const InputItem& item, Turn& turn) {
            return convertItem(item, options.output, options.quality / 100.0, options.mode, options.speed, {}, turn);
        };
        return carryOut(step, convert, files, options.preserveTimes, stop);
    };
}

[[noreturn]] void leaveAtOnce(bool progressLine) {
    if (progressLine) {
        DescriptorOutput(STDERR_FILENO).write("\n");
    }
    // Images in hand fail once their files are taken away, which is nothing to tell.
    silenceStandardStreams();
    removeTemporaryFiles();
    ::_exit(stopped);
}

ExitStatus run(const Options& options, AppLanguage language, DescriptorOutput& out, Output& err) {
    std::vector<fs::path> paths;
    try {
        paths = allPaths(options);
    } catch (const PathTooLong&) {
        complain(err, options.filesFrom->native() + ": " + std::string(text(Text::pathTooLong, language)));
        return wrongUsage;
    } catch (const NulInPath&) {
        complain(err, options.filesFrom->native() + ": " + std::string(text(Text::nulInList, language)));
        return wrongUsage;
    } catch (const FileError&) {
        complain(err, options.filesFrom->native() + ": " + describe(std::current_exception(), language));
        return wrongUsage;
    }

    const auto scan = [&options](std::span<const fs::path> urls) { return Converter::scan(urls, options.recursive); };
    const auto exists = [](const fs::path& path) { return FileSystem::native().exists(path); };
    const std::vector<Step> plan = makePlan(find(paths, scan), options.output, options.skipExisting, exists);
    if (plan.empty()) {
        complain(err, text(Text::nothingToConvert, language));
        return nothingToConvert;
    }

    const bool progressLine = !options.quiet && isTerminal(STDERR_FILENO);
    // Until here the signals end the program, and there is nothing to clean up.
    const StopSignals signals([progressLine] { leaveAtOnce(progressLine); });
    Report report({.language = language,
                   .json = options.json,
                   .quiet = options.quiet,
                   .progressLine = progressLine,
                   .failuresOnly = progressLine && isTerminal(STDOUT_FILENO) && !options.dryRun,
                   .dryRun = options.dryRun},
                  out, err, [] { return terminalColumns(STDERR_FILENO); });
    const unsigned jobs = options.jobs > 0 ? options.jobs : std::max(1U, std::thread::hardware_concurrency());
    Totals totals = runBatch(plan, jobs, workFor(options, signals.token()), signals.token(), report);
    totals.showSkipped = options.skipExisting;

    if (!report.summarise(totals) || out.error() != 0) {
        return complainOfLostOutput(out, err, language);
    }
    if (totals.stopped) {
        return stopped;
    }
    return totals.failed > 0 ? someFailed : allWell;
}

ExitStatus answer(const Invocation& invocation, DescriptorOutput& out, Output& err) {
    switch (invocation.kind) {
    case Invocation::Kind::help: return print(invocation.text, out, err, invocation.language);
    case Invocation::Kind::version: return print(versions(), out, err, invocation.language);
    case Invocation::Kind::wrongUsage:
        complain(err, invocation.text);
        err.write(std::string(text(Text::tryHelp, invocation.language)) + "\n");
        return wrongUsage;
    case Invocation::Kind::run: break;
    }
    return run(invocation.options, invocation.language, out, err);
}

} // namespace

int main(int argc, char** argv) {
    prepareStandardStreams();
    // Only for the width of characters on a terminal; texts are UTF-8 in every locale.
    std::setlocale(LC_CTYPE, "C.UTF-8");

    DescriptorOutput out(STDOUT_FILENO);
    DescriptorOutput err(STDERR_FILENO);
    AppLanguage language = AppLanguage::english;
    try {
        const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
        const Invocation invocation =
            parseCommandLine(arguments, [](const char* name) -> const char* { return std::getenv(name); });
        language = invocation.language;
        return answer(invocation, out, err);
    } catch (const std::exception&) {
        complain(err, describe(std::current_exception(), language));
        return someFailed;
    }
}
