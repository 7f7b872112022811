// Prints facts of picture files for check_corpus.py.
//   ovrel-picture-facts avif FILE                        width height alpha repetitions durations…
//   ovrel-picture-facts difference PICTURE INDEX PNG     mean absolute difference of R, G, B, A and the largest one

#include "platform/bitmap.h"
#include "platform/image_source.h"
#include "tests/support/avif_facts.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace ovrel::test {

namespace {

Image inSrgb(const std::filesystem::path& file, std::size_t index) {
    const std::unique_ptr<ImageSource> source = ImageSource::open(file);
    std::optional<Image> image = source ? source->decode(index) : std::nullopt;
    if (!image) {
        throw std::runtime_error("cannot decode " + file.native());
    }
    return convertedToSrgb(std::move(*image));
}

void printAvif(const std::filesystem::path& file) {
    const AvifFacts facts = avifFacts(file);
    std::printf("%u %u %d %d", facts.width, facts.height, facts.hasAlpha ? 1 : 0, facts.repetitionCount);
    for (const std::uint64_t duration : facts.durations) {
        std::printf(" %llu", static_cast<unsigned long long>(duration));
    }
    std::printf("\n");
}

void printDifference(const std::filesystem::path& file, std::size_t index, const std::filesystem::path& reference) {
    const Image found = inSrgb(file, index);
    const Image expected = inSrgb(reference, 0);
    if (found.width != expected.width || found.height != expected.height) {
        throw std::runtime_error("sizes differ");
    }
    std::array<double, 4> sums{};
    int largest = 0;
    const std::size_t pixels = std::size_t{found.width} * found.height;
    for (std::size_t i = 0; i < pixels; ++i) {
        const std::uint8_t* a = found.samples.data() + i * 4;
        const std::uint8_t* b = expected.samples.data() + i * 4;
        const bool invisible = a[3] == 0 && b[3] == 0;
        for (std::size_t channel = 0; channel < 4 && !invisible; ++channel) {
            const int difference = std::abs(a[channel] - b[channel]);
            sums[channel] += difference;
            largest = std::max(largest, difference);
        }
    }
    for (const double sum : sums) {
        std::printf("%.4f ", sum / static_cast<double>(pixels));
    }
    std::printf("%d\n", largest);
}

} // namespace

} // namespace ovrel::test

int main(int count, char** arguments) {
    using namespace ovrel::test;
    try {
        if (count == 3 && std::string_view(arguments[1]) == "avif") {
            printAvif(arguments[2]);
            return 0;
        }
        if (count == 5 && std::string_view(arguments[1]) == "difference") {
            printDifference(arguments[2], std::stoul(arguments[3]), arguments[4]);
            return 0;
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    std::fputs("usage: ovrel-picture-facts avif FILE | difference PICTURE INDEX PNG\n", stderr);
    return 2;
}
