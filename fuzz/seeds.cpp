#include "fuzz/seeds.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;

constexpr std::array<const char*, 6> pictures = {"avif", "gif", "heif", "jpeg", "png", "webp"};

void write(const fs::path& folder, const std::string& name, const std::string& bytes) {
    fs::create_directories(folder);
    std::ofstream stream(folder / name, std::ios::binary);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream) {
        throw std::runtime_error("cannot write " + (folder / name).native());
    }
}

} // namespace

Seeds::Seeds(fs::path folder) : folder_(std::move(folder)) {}

void Seeds::add(const std::string& target, const std::string& name, const std::string& bytes) const {
    write(folder_ / target, name, bytes);
    if (std::find(pictures.begin(), pictures.end(), target) != pictures.end()) {
        write(folder_ / "image", target + "-" + name, bytes);
    }
}

void writeSeeds(const fs::path& folder) {
    const Seeds seeds(folder);
    addPictureSeeds(seeds);
    addUpdateSeeds(seeds);
}

} // namespace ovrel::test
