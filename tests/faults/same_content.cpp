#include "tests/faults/same_content.h"

#include "tests/support/avif_facts.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace ovrel::test {

namespace {

AvifFacts factsOf(const std::string& content) {
    const TemporaryFolder folder;
    return avifFacts(folder.write("file.avif", content));
}

bool isSame(const Image& a, const Image& b) {
    return a.samples.size() == b.samples.size() &&
           std::memcmp(a.samples.data(), b.samples.data(), a.samples.size()) == 0;
}

} // namespace

bool haveSameContent(const std::string& found, const std::string& expected) {
    if (found == expected) {
        return true;
    }
    try {
        const AvifFacts a = factsOf(found);
        const AvifFacts b = factsOf(expected);
        return a.coding == b.coding && a.durations == b.durations && a.timescale == b.timescale &&
               a.repetitionCount == b.repetitionCount && a.profile == b.profile &&
               std::equal(a.frames.begin(), a.frames.end(), b.frames.begin(), b.frames.end(), isSame);
    } catch (const std::runtime_error&) {
        return false;
    }
}

} // namespace ovrel::test
