// Prints how a conversion compares with what cannot be avoided, each line a ratio measured side by side in one run.

#include "bench/bare_encode.h"
#include "bench/measure.h"
#include "bench/queue.h"
#include "bench/race.h"
#include "bench/rivals.h"
#include "bench/scratch_folder.h"
#include "bench/table.h"
#include "conversion/converter.h"
#include "platform/bitmap.h"
#include "platform/image_source.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace ovrel::bench {

namespace {

namespace fs = std::filesystem;

constexpr int quality = 50;

int encoderThreads() {
    return static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, 8U));
}

Measurement convertAll(const std::vector<fs::path>& photos, int speed) {
    const ScratchFolder folder;
    return measure([&](const std::function<void()>& start) {
        start();
        for (const fs::path& photo : photos) {
            Converter::convert({photo, ""}, folder.path(), quality / 100.0, EncodingMode::efficient, speed);
        }
    });
}

Bitmap decoded(const fs::path& photo) {
    const std::unique_ptr<ImageSource> source = ImageSource::open(photo);
    std::optional<Image> image = source ? source->decode(0) : std::nullopt;
    if (!image) {
        throw std::runtime_error("cannot read " + photo.native());
    }
    return Bitmap::draw(std::move(*image));
}

/// A yardstick that did other work than ours would measure nothing.
void requireSameFile(const fs::path& photo) {
    constexpr int speed = 8;
    const ScratchFolder folder;
    const fs::path result =
        Converter::convert({photo, ""}, folder.path(), quality / 100.0, EncodingMode::efficient, speed).file;
    std::ifstream stream(result, std::ios::binary);
    const std::vector<std::uint8_t> ours{std::istreambuf_iterator<char>(stream), {}};
    if (ours != bareEncode(decoded(photo), Alpha::premultiplied, quality, speed, encoderThreads())) {
        throw std::runtime_error("the bare encode of " + photo.native() + " is another file than the conversion's");
    }
}

Measurement encodeAll(const std::vector<fs::path>& photos, Alpha alpha, int speed) {
    Measurement total;
    total.succeeded = true;
    for (const fs::path& photo : photos) {
        const Measurement one = measure([&](const std::function<void()>& start) {
            const Bitmap bitmap = decoded(photo);
            start();
            bareEncode(bitmap, alpha, quality, speed, encoderThreads());
        });
        total.seconds += one.seconds;
        total.peakBytes = std::max(total.peakBytes, one.peakBytes);
        total.succeeded = total.succeeded && one.succeeded;
    }
    return total;
}

bool isReadByAvifenc(const fs::path& photo) {
    const fs::path extension = photo.extension();
    return extension == ".jpg" || extension == ".jpeg" || extension == ".png";
}

Measurement runAvifenc(const std::vector<fs::path>& photos, int speed) {
    const ScratchFolder folder;
    Measurement total;
    total.succeeded = true;
    for (const fs::path& photo : photos) {
        const Measurement one = measureProgram({"avifenc",
                                                "--speed",
                                                std::to_string(speed),
                                                "--qcolor",
                                                std::to_string(quality),
                                                "--qalpha",
                                                "100",
                                                "--yuv",
                                                "420",
                                                "--range",
                                                "full",
                                                "--cicp",
                                                "1/13/6",
                                                "--jobs",
                                                std::to_string(encoderThreads()),
                                                "--advanced",
                                                "tune=ssim",
                                                "--ignore-profile",
                                                photo.native(),
                                                (folder.path() / "out.avif").native()});
        total.seconds += one.seconds;
        total.peakBytes = std::max(total.peakBytes, one.peakBytes);
        total.succeeded = total.succeeded && one.succeeded;
    }
    return total;
}

Measurement runProgram(const fs::path& program, const std::vector<fs::path>& photos, int jobs) {
    const ScratchFolder folder;
    std::vector<std::string> command{program.native(),     "--quiet",  "--jobs",
                                     std::to_string(jobs), "--output", folder.path().native()};
    for (const fs::path& photo : photos) {
        command.push_back(photo.native());
    }
    return measureProgram(command);
}

void compareEncoding(const std::vector<fs::path>& photos) {
    constexpr std::array<std::pair<const char*, int>, 3> speeds{
        {{"Fast (8)", 8}, {"Balanced (6)", 6}, {"Thorough (4)", 4}}};
    for (const auto& [name, speed] : speeds) {
        std::vector<Contestant> contestants{
            {std::string("conversion, ") + name, [&, s = speed] { return convertAll(photos, s); }, {}},
            {"bare libavif, same file", [&, s = speed] { return encodeAll(photos, Alpha::premultiplied, s); }, {}},
            {"bare libavif, straight alpha", [&, s = speed] { return encodeAll(photos, Alpha::straight, s); }, {}},
        };
        if (isInstalled("avifenc") && std::all_of(photos.begin(), photos.end(), isReadByAvifenc)) {
            contestants.push_back({"avifenc, same settings", [&, s = speed] { return runAvifenc(photos, s); }, {}});
        }
        race(contestants);
        for (std::size_t i = 1; i < contestants.size(); ++i) {
            print(rowOf(contestants[0], contestants[i]));
        }
    }
}

void compareJobs(const fs::path& program, const std::vector<fs::path>& photos) {
    std::vector<Contestant> contestants{
        {"ovrel-cli --jobs 2", [&] { return runProgram(program, photos, 2); }, {}},
        {"ovrel-cli --jobs 1", [&] { return runProgram(program, photos, 1); }, {}},
    };
    race(contestants);
    print(rowOf(contestants[0], contestants[1]));
}

} // namespace

} // namespace ovrel::bench

int main(int count, char** arguments) {
    using namespace ovrel::bench;
    if (count < 2) {
        std::fputs("usage: ovrel-bench PHOTO…\n", stderr);
        return 2;
    }
    try {
        std::vector<std::filesystem::path> photos;
        std::transform(arguments + 1, arguments + count, std::back_inserter(photos),
                       [](const char* photo) { return std::filesystem::canonical(photo); }); // no link is converted
        std::printf("Quality 50, %d threads, photographs: %zu. Each ratio is that of the best of %d rounds that took "
                    "turns;\nbelow 1, what comes first took less.\n\n",
                    encoderThreads(), photos.size(), rounds);
        requireSameFile(photos.front());
        printHead();
        const std::filesystem::path program = std::filesystem::path(arguments[0]).parent_path() / "ovrel-cli";
        compareRivals(program, photos);
        compareEncoding(photos);
        compareJobs(program, photos);
        compareQueues();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ovrel-bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
