#include "bench/rivals.h"

#include "bench/race.h"
#include "bench/scratch_folder.h"
#include "bench/table.h"

#include <QProcess>
#include <QRegularExpression>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

namespace ovrel::bench {

namespace {

namespace fs = std::filesystem;

using Command = std::vector<std::string>;

/// A program as its users call it for one photograph.
struct Rival {
    std::string name;
    std::function<Command(const fs::path& photo, const fs::path& result)> command;
};

std::vector<Rival> installedRivals(const fs::path& program) {
    const std::string threads = std::to_string(std::max(1U, std::thread::hardware_concurrency()));
    std::vector<Rival> rivals{{"ovrel-cli, as it is", [=](const fs::path& photo, const fs::path& result) {
                                   return Command{program, "--quiet", "--output", result.parent_path(), photo};
                               }}};
    if (isInstalled("avifenc")) {
        rivals.push_back({"avifenc --qcolor 50", [=](const fs::path& photo, const fs::path& result) {
                              return Command{"avifenc", "--jobs", threads, "--qcolor", "50", photo, result};
                          }});
    }
    for (const char* name : {"magick", "convert"}) {
        if (isInstalled(name)) {
            rivals.push_back({"ImageMagick -quality 50", [=](const fs::path& photo, const fs::path& result) {
                                  return Command{name, photo, "-auto-orient", "-quality", "50", result};
                              }});
            break;
        }
    }
    if (isInstalled("ffmpeg")) {
        rivals.push_back({"ffmpeg libaom -crf 30", [](const fs::path& photo, const fs::path& result) {
                              return Command{"ffmpeg", "-i",   photo, "-c:v",      "libaom-av1", "-still-picture",
                                             "1",      "-crf", "30",  "-cpu-used", "6",          result};
                          }});
    }
    return rivals;
}

/// Structural similarity of two pictures, 1 for the same, as ffmpeg's filter of that name measures it over R, G and B;
/// nothing where ffmpeg cannot read them.
std::optional<double> likeness(const fs::path& result, const fs::path& photo) {
    QProcess ffmpeg;
    ffmpeg.setProcessChannelMode(QProcess::MergedChannels);
    ffmpeg.start(QStringLiteral("ffmpeg"),
                 {QStringLiteral("-nostdin"), QStringLiteral("-i"), QString::fromStdString(result.native()),
                  QStringLiteral("-i"), QString::fromStdString(photo.native()), QStringLiteral("-lavfi"),
                  QStringLiteral("[0]format=gbrp[a];[1]format=gbrp[b];[a][b]ssim"), QStringLiteral("-f"),
                  QStringLiteral("null"), QStringLiteral("-")});
    if (!ffmpeg.waitForFinished(-1) || ffmpeg.exitCode() != 0) {
        return std::nullopt;
    }
    static const QRegularExpression all(QStringLiteral("SSIM .* All:([0-9.]+)"));
    const QRegularExpressionMatch match = all.match(QString::fromUtf8(ffmpeg.readAll()));
    return match.hasMatch() ? std::optional(match.captured(1).toDouble()) : std::nullopt;
}

/// What the results of a program are like.
struct Outcome {
    std::uintmax_t bytes = 0;
    std::optional<double> likeness = 0.0; ///< mean over the photographs
};

fs::path resultFor(const fs::path& photo, const fs::path& folder) {
    return folder / photo.filename().replace_extension(".avif");
}

Measurement convertAll(const Rival& rival, const std::vector<fs::path>& photos, Outcome& outcome) {
    const ScratchFolder folder;
    Measurement total;
    total.succeeded = true;
    outcome = {};
    for (const fs::path& photo : photos) {
        const fs::path result = resultFor(photo, folder.path());
        const Measurement one = measureProgram(rival.command(photo, result));
        total.seconds += one.seconds;
        total.peakBytes = std::max(total.peakBytes, one.peakBytes);
        total.succeeded = total.succeeded && one.succeeded && fs::exists(result);
        if (total.succeeded) {
            outcome.bytes += fs::file_size(result);
            const std::optional<double> similar =
                isInstalled("ffmpeg") ? likeness(result, photo) : std::optional<double>();
            outcome.likeness = outcome.likeness && similar
                                   ? std::optional(*outcome.likeness + *similar / static_cast<double>(photos.size()))
                                   : std::nullopt;
        }
    }
    return total;
}

std::string inWords(const std::optional<double>& likeness) {
    return likeness ? QString::number(*likeness, 'f', 4).toStdString() : "not measured";
}

} // namespace

void compareRivals(const fs::path& program, const std::vector<fs::path>& photos) {
    const std::vector<Rival> rivals = installedRivals(program);
    std::vector<Outcome> outcomes(rivals.size());
    std::vector<Contestant> contestants;
    for (std::size_t i = 0; i < rivals.size(); ++i) {
        contestants.push_back({rivals[i].name, [&, i] { return convertAll(rivals[i], photos, outcomes[i]); }, {}});
    }
    race(contestants);
    for (std::size_t i = 1; i < rivals.size(); ++i) {
        TableRow row = rowOf(contestants[0], contestants[i]);
        row.bytes = static_cast<double>(outcomes[0].bytes) / static_cast<double>(outcomes[i].bytes);
        row.remark =
            "SSIM " + inWords(outcomes[0].likeness) + " / " + inWords(outcomes[i].likeness) + ", " + row.remark;
        print(row);
    }
}

} // namespace ovrel::bench
