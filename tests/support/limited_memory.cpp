#include "tests/support/limited_memory.h"

#include "tests/support/child_process.h"
#include "tests/support/mapped_memory.h"
#include "tests/support/memory_file.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <optional>
#include <stdexcept>
#include <utility>

namespace ovrel::test {

namespace {

enum Outcome : int { shown, takenForDamaged, lacksMemory };

void limitMapped(rlim_t bytes) {
    rlimit limit{};
    if (::getrlimit(RLIMIT_AS, &limit) != 0) {
        throw std::runtime_error("no limit is known");
    }
    limit.rlim_cur = std::min(bytes, limit.rlim_max);
    if (::setrlimit(RLIMIT_AS, &limit) != 0) {
        throw std::runtime_error("memory cannot be limited");
    }
}

/// Takes, for good, what the allocator has mapped and not handed out.
void useUpFreeMemory() {
    struct Block {
        Block* before;
    };
    static Block* taken = nullptr; // nobody looks at them, but so they are really asked for
    for (std::size_t bytes = std::size_t{16} << 20; bytes >= sizeof(Block); bytes /= 2) {
        while (void* memory = std::malloc(bytes)) {
            taken = new (memory) Block{taken};
        }
    }
}

Outcome decodeWithin(std::uint64_t bytesLeft, InputFile file, const OpenSource& open) {
    const rlim_t mapped = mappedBytes(allMemory);
    limitMapped(mapped);
    useUpFreeMemory();
    limitMapped(mapped + bytesLeft);
    try {
        const std::unique_ptr<ImageSource> source = open(std::move(file));
        return source && source->decode(0) ? shown : takenForDamaged;
    } catch (const std::bad_alloc&) {
        return lacksMemory;
    }
}

} // namespace

void expectToTellLackOfMemory(const std::string& file, const OpenSource& open) {
    constexpr std::uint64_t step = std::uint64_t{128} << 10;
    constexpr std::uint64_t enough = std::uint64_t{256} << 20;
    int outcome = lacksMemory;
    for (std::uint64_t bytes = 0; bytes < enough && outcome != shown; bytes += step) {
        InputFile input = memoryFile(file);
        outcome = ChildProcess([&] { return decodeWithin(bytes, std::move(input), open); }).wait();
        EXPECT_TRUE(outcome == shown || outcome == lacksMemory) << outcome << " with " << bytes << " bytes left";
        EXPECT_TRUE(bytes > 0 || outcome == lacksMemory) << "nothing was left";
    }
    EXPECT_EQ(outcome, shown);
}

} // namespace ovrel::test
