// Writes the seeds of the fuzz targets: make_fuzz_seeds FOLDER

#include "fuzz/seeds.h"

#include <cstdio>
#include <exception>

int main(int count, char** arguments) {
    if (count != 2) {
        std::fputs("usage: make_fuzz_seeds FOLDER\n", stderr);
        return 2;
    }
    try {
        ovrel::test::writeSeeds(arguments[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "make_fuzz_seeds: %s\n", error.what());
        return 1;
    }
    return 0;
}
