#include "samples/pictures.h"
#include "tests/support/jpeg_writer.h"
#include "tests/support/png_writer.h"
#include "tests/support/webp_writer.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

namespace fs = std::filesystem;
using namespace ovrel;

void write(const fs::path& file, const std::string& bytes) {
    fs::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream) {
        throw std::runtime_error("cannot write " + file.native());
    }
    std::cout << file.native() << ": " << bytes.size() << " bytes\n";
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "Usage: make-samples FOLDER\n";
        return 2;
    }
    try {
        const fs::path folder = argv[1];
        test::JpegOptions photograph;
        photograph.quality = 82;
        photograph.horizontalSubsampling = 2;
        photograph.verticalSubsampling = 2;
        photograph.progressive = true;
        write(folder / "landscapes/lake.jpg", test::writeJpeg(samples::lake(), photograph));
        write(folder / "landscapes/night/aurora.webp", test::writeWebp(samples::aurora(), {}, 80.0F));
        write(folder / "graphics/badge.png", test::writePng(test::pngOf(samples::badge())));
        write(folder / "animations/balloon.gif", test::writeGif(samples::balloon()));
    } catch (const std::exception& error) {
        std::cerr << "make-samples: " << error.what() << "\n";
        return 1;
    }
    return 0;
}
